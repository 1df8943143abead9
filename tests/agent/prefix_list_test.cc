#include "agent/prefix_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Dovel::Prefix;

struct Listener : IpSnmp::PrefixList::NotifieeConst {
  using NotifieeConst::NotifieeConst;
  using NotifieeConst::onPrefix;
  void onPrefix(Prefix const& prefix) override { heard.push_back(prefix.stringValue()); }
  std::vector<std::string> heard;
};

TEST(PrefixListTest, isASetThatTellsOfItsMembers) {
  auto const list = Mav::makeObject<IpSnmp::PrefixList>(Dovel::IntfId("eth1"));
  Prefix const a("10.0.0.0/8");
  Prefix const b("10.0.0.0/9");
  auto listener = std::make_unique<Listener>(list);
  list->prefixIs(a, true);
  list->prefixIs(a, true);
  list->prefixIs(b, true);
  list->prefixIs(b, false);
  EXPECT_EQ(list->prefixes(), 2U);
  EXPECT_FALSE(list->prefixDel(Prefix("11.0.0.0/8")));
  EXPECT_FALSE(list->prefixDel(b));
  EXPECT_TRUE(list->prefixDel(a));
  EXPECT_EQ(list->prefixes(), 0U);
  list->prefixIs(a, true);
  list->prefixDelAll();
  EXPECT_THAT(listener->heard,
              testing::ElementsAre("10.0.0.0/8", "10.0.0.0/9", "10.0.0.0/9", "10.0.0.0/9",
                                   "10.0.0.0/8", "10.0.0.0/8", "10.0.0.0/8"));
  listener.reset();
  list->prefixIs(a, true);
  list->prefixDelAll();
  EXPECT_FALSE(list->prefixIterator());
}

}  // namespace
