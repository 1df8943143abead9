#include "platform/mav/clock.h"

#include <cmath>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Mav::asap;
using Mav::never;
using testing::ElementsAre;

class Reactor : public Mav::Clock::NotifieeConst {
 public:
  using NotifieeConst::NotifieeConst;
  std::function<void()> action;
  int calls = 0;
  std::vector<std::string> exceptions;

  void onTime() override {
    ++calls;
    if (action) action();
  }
  void onException(Mav::AttributeId attribute, std::exception_ptr exception) override {
    exceptions.push_back(std::string(notifier()->attributeString(attribute)) + ": " +
                         Mav::exceptionText(exception));
  }
};

class ClockTest : public testing::Test {
 protected:
  /// Calls of a reactor in one turn.
  int turn(Reactor const& of) {
    int const before = of.calls;
    clock->deliver();
    return of.calls - before;
  }

  Mav::SimulatedTime time{1000.0};
  Mav::Ptr<Mav::Clock> clock = Mav::makeObject<Mav::Clock>();
  Reactor reactor{clock};
};

TEST_F(ClockTest, callsAReactorFromItsTimeOnInEveryTurnUntilItMovesOn) {
  EXPECT_EQ(turn(reactor), 0) << "not armed at first";
  reactor.timeMinIs(1005.0);
  EXPECT_EQ(clock->timeNext(), 1005.0);
  time.advance(4.9);
  EXPECT_EQ(turn(reactor), 0);
  time.advance(0.1);
  EXPECT_EQ(turn(reactor), 1);
  EXPECT_EQ(turn(reactor), 1);
  reactor.timeMinIs(never);
  EXPECT_EQ(turn(reactor), 0);
  EXPECT_EQ(clock->timeNext(), never);
}

TEST_F(ClockTest, reactorsMayMakeAndDestroyEachOtherInsideATurn) {
  std::unique_ptr<Reactor> made;
  auto other = std::make_unique<Reactor>(clock);
  other->timeMinIs(asap);
  reactor.action = [&] {
    reactor.timeMinIs(never);
    other.reset();
    made = std::make_unique<Reactor>(clock);
    made->timeMinIs(asap);
  };
  reactor.timeMinIs(asap);
  clock->deliver();
  EXPECT_EQ(made->calls, 0) << "it waits for the next turn";
  EXPECT_EQ(turn(*made), 1);
}

TEST_F(ClockTest, oneThatThrewRestsWhileTheOthersRun) {
  Reactor other(clock);
  other.timeMinIs(asap);
  reactor.timeMinIs(asap);
  reactor.action = [] { throw std::runtime_error("trouble"); };
  clock->deliver();
  EXPECT_THAT(reactor.exceptions, ElementsAre("time: trouble"));
  other.timeMinIs(never);
  EXPECT_EQ(clock->timeNext(), 1000.0 + Mav::Clock::retryDelay);
  EXPECT_EQ(turn(reactor), 0);
  reactor.timeMinIs(1.0);
  EXPECT_EQ(turn(reactor), 0) << "a new time does not end the rest";
  time.advance(Mav::Clock::retryDelay);
  reactor.action = nullptr;
  EXPECT_EQ(turn(reactor), 1);
  EXPECT_EQ(turn(reactor), 1);
}

TEST_F(ClockTest, tellsWheneverTheNextTimeMayHaveChanged) {
  std::vector<double> told;
  clock->onTimeNextIs([&] { told.push_back(clock->timeNext()); });
  reactor.timeMinIs(1005.0);
  reactor.timeMinIs(1005.0);
  reactor.hasNotificationActiveIs(false);
  reactor.hasNotificationActiveIs(true);
  reactor.notifierIs(nullptr);
  reactor.notifierIs(clock);
  EXPECT_THAT(told, ElementsAre(1005.0, never, 1005.0, never, 1005.0));
  clock->onTimeNextIs(nullptr);
  time.advance(5.0);
  reactor.hasNotificationActiveIs(false);
  EXPECT_EQ(turn(reactor), 0);
  EXPECT_THROW(reactor.timeMinIs(std::nan("")), Mav::RangeException);
}

TEST_F(ClockTest, timersAreOneShotAndMayDestroyThemselves) {
  std::unique_ptr<Mav::Timer> timer;
  int calls = 0;
  timer = std::make_unique<Mav::Timer>(clock, [&, text = std::string("kept by the action, long")] {
    if (++calls == 2) timer.reset();
    EXPECT_EQ(text, "kept by the action, long");
  });
  timer->timeMinIs(asap);
  clock->deliver();
  clock->deliver();
  EXPECT_EQ(calls, 1);
  timer->timeMinIs(asap);
  clock->deliver();
  EXPECT_EQ(calls, 2);
}

TEST_F(ClockTest, aTimerWhoseActionThrowsIsDueAgain) {
  int calls = 0;
  std::unique_ptr<Mav::Timer> timer;
  timer = std::make_unique<Mav::Timer>(clock, [&] {
    if (++calls == 2) timer.reset();
    throw std::runtime_error("trouble");
  });
  timer->timeMinIs(asap);
  clock->deliver();
  EXPECT_EQ(clock->timeNext(), 1000.0 + Mav::Clock::retryDelay);
  time.advance(Mav::Clock::retryDelay);
  clock->deliver();
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(clock->timeNext(), never);
}

}  // namespace
