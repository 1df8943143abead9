#include "platform/mav/activity.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/mav/trace_handle.h"
#include "tests/support/failing_allocations.h"
#include "tests/support/log_lines.h"

namespace {

using Mav::Activity;
using Mav::asap;
using Mav::never;
using testing::ElementsAre;

/// A descriptor that is readable while it is set.
struct Event {
  Event() = default;
  Event(Event const&) = delete;
  ~Event() { close(fd); }
  void set() const { eventfd_write(fd, 1); }
  void clear() const {
    eventfd_t count = 0;
    EXPECT_EQ(eventfd_read(fd, &count), 0);
  }
  int const fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
};

class ActivityTest : public testing::Test {
 protected:
  /// Whether a foreign loop would be told to call deliver().
  bool hasWork() const {
    pollfd entry{activity.fd(), POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
  }
  Activity::Watch note(Event const& event, std::string name) {
    return activity.watch(event.fd, EPOLLIN, [this, &event, name](std::uint32_t) {
      event.clear();
      calls.push_back(name);
    });
  }

  Activity activity;
  std::vector<std::string> calls;
  Event one;
  Event two;
};

TEST_F(ActivityTest, descriptorIsReadableExactlyWhenThereIsSomethingToDo) {
  auto const watch = note(one, "one");
  EXPECT_THROW((void)note(one, "twice"), Mav::Exception);
  EXPECT_THROW((void)activity.watch(-1, EPOLLIN, [](auto) {}), Mav::Exception);
  EXPECT_FALSE(hasWork());
  one.set();
  EXPECT_TRUE(hasWork());
  activity.deliver();
  EXPECT_THAT(calls, ElementsAre("one"));
  EXPECT_FALSE(hasWork());

  Mav::Timer timer(activity.clock(), [&] { calls.push_back("timer"); });
  timer.timeMinIs(asap);
  EXPECT_TRUE(hasWork());
  timer.timeMinIs(never);
  EXPECT_FALSE(hasWork());
  timer.timeMinIs(asap);
  activity.deliver();
  EXPECT_THAT(calls, ElementsAre("one", "timer"));
  EXPECT_FALSE(hasWork());
  timer.timeMinIs(Mav::now() + 3600);
  EXPECT_FALSE(hasWork());
  timer.timeMinIs(1.0);  // long past
  pollfd entry{activity.fd(), POLLIN, 0};
  EXPECT_EQ(poll(&entry, 1, 10'000), 1);
}

TEST_F(ActivityTest, reactorThatKeepsAskingYieldsToDescriptorsEachTurn) {
  auto const watch = note(one, "one");
  Mav::Timer* again = nullptr;
  Mav::Timer pass(activity.clock(), [&] {
    calls.push_back("pass");
    one.set();
    again->timeMinIs(asap);
  });
  again = &pass;
  pass.timeMinIs(asap);
  activity.deliver();
  EXPECT_THAT(calls, ElementsAre("pass"));
  EXPECT_TRUE(hasWork());
  activity.deliver();
  EXPECT_THAT(calls, ElementsAre("pass", "one", "pass"));
}

TEST_F(ActivityTest, eventsThatWereFetchedDoNotReachDroppedOrNewerWatches) {
  Activity::Watch first;
  Activity::Watch second;
  Activity::Watch newer;
  auto const dropBoth = [&](Event const& other) {
    calls.emplace_back("first");
    first = {};
    second = {};
    newer = note(other, "newer");
  };
  first = activity.watch(one.fd, EPOLLIN, [&](auto) { dropBoth(two); });
  second = activity.watch(two.fd, EPOLLIN, [&](auto) { dropBoth(one); });
  one.set();
  two.set();
  activity.deliver();
  EXPECT_THAT(calls, ElementsAre("first")) << "the other was fetched in the same turn";
  activity.deliver();
  EXPECT_THAT(calls, ElementsAre("first", "newer"));
}

TEST_F(ActivityTest, droppingAWatchWhoseDescriptorIsInUseAgainLeavesTheNewOne) {
  auto old = note(one, "old");
  ASSERT_EQ(dup2(two.fd, one.fd), one.fd);
  auto const watch = note(one, "new");
  old = {};
  two.set();
  activity.deliver();
  EXPECT_THAT(calls, ElementsAre("new"));
}

TEST_F(ActivityTest, handlerThatThrowsIsLoggedAndRestsWhileTheOthersRun) {
  Mav::SimulatedTime time;
  LogLines lines;
  auto const bad =
      activity.watch(one.fd, EPOLLIN, [](auto) { throw std::runtime_error("trouble"); });
  auto const good = note(two, "good");
  one.set();
  two.set();
  activity.deliver();
  EXPECT_THAT(calls, ElementsAre("good"));
  activity.deliver();
  auto const text =
      "activity: handler of descriptor " + std::to_string(one.fd) + " failed: trouble";
  EXPECT_THAT(lines.take(), ElementsAre(text));
  EXPECT_FALSE(hasWork()) << "a lasting fault does not spin the loop";
  time.advance(Mav::Clock::retryDelay);
  activity.deliver();
  EXPECT_TRUE(hasWork());
  activity.deliver();
  EXPECT_THAT(lines.take(), ElementsAre(text));
}

TEST_F(ActivityTest, endsOfATurnComeOnceAfterAllElseWhateverThrew) {
  Mav::traceSinkIs([this](Mav::Severity, std::string_view text) { calls.emplace_back(text); });
  Activity::TurnEnd first(activity, [&] { calls.emplace_back("first"); });
  Activity::TurnEnd second(activity, [&] {
    calls.emplace_back("second");
    activity.deliver();
    throw std::runtime_error("no end");
  });
  Mav::Timer timer(activity.clock(), [&] {
    first.ask();
    second.ask();
    first.ask();
    activity.deliver();  // nested: no turn of its own
    calls.emplace_back("timer");
    throw std::runtime_error("no timer");
  });
  Mav::Timer later(activity.clock(), [&] { calls.emplace_back("later"); });
  timer.timeMinIs(asap);
  later.timeMinIs(asap);
  activity.deliver();
  Mav::traceSinkIs({});
  ASSERT_EQ(calls.size(), 6U);
  calls.erase(calls.begin() + 1);  // the timer's exception
  EXPECT_THAT(calls, ElementsAre("timer", "later", "first", "second",
                                 "activity: end of a turn failed: no end"));
  EXPECT_FALSE(hasWork());
}

TEST_F(ActivityTest, whatFindsNoMemoryLeavesNothingBehind) {
  int ended = 0;
  Activity::TurnEnd end(activity, [&] { ++ended; });
  {
    FailingAllocation const failing(1);
    EXPECT_THROW(end.ask(), std::bad_alloc);
  }
  end.ask();
  activity.deliver();
  EXPECT_EQ(ended, 1);
  one.set();
  unsigned nth = 0;
  for (bool failed = true; failed;) {
    FailingAllocation const failing(++nth);
    try {
      auto const watch = note(one, "one");
      failed = false;
    } catch (std::bad_alloc const&) {
      EXPECT_FALSE(hasWork()) << "allocation " << nth;
    }
  }
  EXPECT_GT(nth, 3U);
}

TEST_F(ActivityTest, clockOutlivesItsActivity) {
  Mav::Ptr<Mav::Clock const> clock;
  {
    Activity shortLived;
    clock = shortLived.clock();
  }
  Mav::Timer timer(clock, [&] { calls.push_back("late"); });
  timer.timeMinIs(asap);
  clock->deliver();
  EXPECT_THAT(calls, ElementsAre("late"));
}

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
