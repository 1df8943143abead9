#include "platform/mav/announced_map.h"

#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/platform/mav/counter_entity.h"

namespace {

using Mav::Ptr;
using Test::CounterEntity;
using testing::ElementsAre;

/// Notes "+key" or "-key" by what the collection holds when it is told.
class Listener : public CounterEntity::NotifieeConst {
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
  Listener listener{entity};
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

}  // namespace
