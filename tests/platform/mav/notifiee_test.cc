#include "platform/mav/notifiee.h"

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/mav/clock.h"
#include "platform/mav/directory.h"
#include "platform/mav/memory_failure.h"
#include "tests/platform/mav/counter_entity.h"
#include "tests/support/log_lines.h"
#include "tests/support/strep_checks.h"

namespace {

using Mav::Ptr;
using Test::CounterEntity;
using testing::ElementsAre;
using testing::HasSubstr;

/// Writes its name into a common story, then does what the case wants.
class Listener : public CounterEntity::NotifieeConst {
 public:
  Listener(Ptr<CounterEntity const> entity, std::vector<std::string>& story, std::string name)
      : NotifieeConst(std::move(entity)), story_(story), name_(std::move(name)) {}

  std::function<void()> action;

  void onValue() override {
    story_.push_back(name_);
    if (action) action();
  }
  void onException(Mav::AttributeId attribute, std::exception_ptr exception) override {
    story_.push_back(name_ + " threw " + Mav::exceptionText(exception) + " in " +
                     std::string(notifier()->attributeString(attribute)));
    if (throwsAgain) throw std::runtime_error("again");
  }
  bool throwsAgain = false;

 private:
  std::vector<std::string>& story_;
  std::string const name_;
};

class NotifieeTest : public testing::Test {
 protected:
  std::unique_ptr<Listener> listen(std::string name) {
    return std::make_unique<Listener>(entity, story, std::move(name));
  }
  /// The story of one change.
  std::vector<std::string> change() {
    story.clear();
    entity->valueIs(entity->value() + 1);
    return story;
  }

  std::vector<std::string> story;
  Ptr<CounterEntity> entity = Mav::makeObject<CounterEntity>();
  std::unique_ptr<Listener> a = listen("a");
  std::unique_ptr<Listener> b = listen("b");
  std::unique_ptr<Listener> c = listen("c");
};

TEST_F(NotifieeTest, throwingOneIsHandedItsExceptionAndTheOthersRun) {
  a->action = [] { throw std::runtime_error("trouble"); };
  b->action = [] { throw 5; };
  EXPECT_THAT(change(), ElementsAre("a", "a threw trouble in value", "b",
                                    "b threw not a std::exception in value", "c"));
}

TEST_F(NotifieeTest, memoryThatRunsOutInAHandlerIsNoted) {
  int noted = 0;
  Mav::memoryFailureHookIs([&] { ++noted; });
  a->action = [] { throw std::bad_alloc(); };
  b->action = [] { throw std::runtime_error("trouble"); };
  change();
  Mav::memoryFailureHookIs({});
  EXPECT_EQ(noted, 1);
}

TEST_F(NotifieeTest, exceptionsThatNobodyTakesAreTraced) {
  LogLines lines;
  a->throwsAgain = true;
  a->action = [] { throw std::runtime_error("first"); };
  b->action = [&] {
    b.reset();
    throw std::runtime_error("orphan");
  };
  EXPECT_THAT(change(), ElementsAre("a", "a threw first in value", "b", "c"));
  EXPECT_THAT(lines.take(),
              ElementsAre(HasSubstr("exception in handler of attribute 258: again"),
                          HasSubstr("exception in handler of attribute 258: orphan")));
}

TEST_F(NotifieeTest, handlersMayDestroyThemselvesAndOthers) {
  a->action = [&] { b.reset(); };
  c->action = [&] {
    auto const self = std::move(c);
    a.reset();
  };
  EXPECT_THAT(change(), ElementsAre("a", "c"));
  EXPECT_THAT(change(), ElementsAre());
}

TEST_F(NotifieeTest, oneAddedInsideHearsTheNextChange) {
  std::unique_ptr<Listener> d;
  b->action = [&] {
    if (!d) d = listen("d");
  };
  EXPECT_THAT(change(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(change(), ElementsAre("a", "b", "c", "d"));
}

TEST_F(NotifieeTest, inactiveAndMovedOnesHearNothing) {
  a->hasNotificationActiveIs(false);
  b->notifierIs(Mav::makeObject<CounterEntity>());
  EXPECT_THAT(change(), ElementsAre("c"));
  a->hasNotificationActiveIs(true);
  b->notifierIs(entity);
  EXPECT_THAT(change(), ElementsAre("a", "c", "b"));
}

/// Notes "+key" or "-key" by what the collection holds when it is told.
class PartListener : public CounterEntity::NotifieeConst {
 public:
  using NotifieeConst::NotifieeConst;
  void onPart(int const& key) override {
    heard.push_back((notifier()->part(key) ? "+" : "-") + std::to_string(key));
    if (action) action(key);
  }
  std::vector<std::string> heard;
  std::function<void(int)> action;
};

class AnnouncedMapTest : public testing::Test {
 protected:
  Ptr<CounterEntity> entity = Mav::makeObject<CounterEntity>();
  PartListener listener{entity};
};

TEST_F(AnnouncedMapTest, delAllAnnouncesEachAndBearsChangesFromInside) {
  for (int key : {1, 2, 3, 4}) entity->partIs(key, 1);
  listener.heard.clear();
  listener.action = [&](int key) {
    if (key == 2) entity->partDel(3);
    if (key == 4) entity->partIs(0, 1);
  };
  entity->partDelAll();
  EXPECT_THAT(listener.heard, ElementsAre("-1", "-2", "-3", "-4", "+0"));
}

TEST_F(AnnouncedMapTest, aHandlerThatUndoesAChangeLeavesTheCallerItsMember) {
  listener.action = [&](int key) {
    if (entity->part(key)) entity->partDel(key);
  };
  EXPECT_EQ(entity->partIs(5, 9)->weight(), 9);
  EXPECT_THAT(listener.heard, ElementsAre("+5", "-5"));
  EXPECT_EQ(entity->part(5), nullptr);
}

TEST(Directory, mountsByPathWithATypeTest) {
  Mav::Directory directory;
  auto const entity = Mav::makeObject<CounterEntity>();
  directory.mount("Kelbase/counter", entity);
  directory.mount("Kelbase/counter", entity);
  EXPECT_EQ(directory.entityAs<CounterEntity>("Kelbase/counter"), entity);
  EXPECT_EQ(directory.entityAs<Mav::Clock>("Kelbase/counter"), nullptr);
  EXPECT_EQ(directory.entity("Kelbase"), nullptr);
  EXPECT_THROW(directory.mount("Kelbase/counter", Mav::makeObject<CounterEntity>()),
               Mav::NameInUseException);
  EXPECT_EQ(rangeError([&] { directory.mount("null", nullptr); }), "null ValidPtr");
  directory.unmount("Kelbase/counter");
  directory.unmount("Kelbase/counter");
  EXPECT_EQ(directory.entity("Kelbase/counter"), nullptr);
  EXPECT_EQ(entity->use_count(), 1U);
}

}  // namespace
