#include "model/ip_forward_mib.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/model/error_text.h"

namespace IpSnmp {
namespace {

using Dovel::IpAddr;
using Routing::RouteMetric;
using Routing::RoutePreference;
using namespace Routing::Fib;
using testing::ElementsAre;

IpCidrRouteTableIndex route(std::uint8_t dest) {
  return {IpAddr(IpAddr::Octets{dest, 0, 0, 0}), IpAddr::netmask(8), 0, IpAddr("192.0.2.1")};
}

/// Notes "+DEST" or "-DEST" by what the table holds when it is told.
struct Listener : IpForwardMib::NotifieeConst {
  using NotifieeConst::NotifieeConst;
  using NotifieeConst::onIpCidrRouteTable;
  void onIpCidrRouteTable(IpCidrRouteTableIndex const& key) override {
    heard.push_back((notifier()->ipCidrRouteTable(key) ? "+" : "-") +
                    std::to_string(key.dest().octets()[0]));
  }
  void onIsNondestructing() override { heard.emplace_back("isNondestructing"); }
  std::vector<std::string> heard;
};

class IpForwardMibTest : public testing::Test {
 protected:
  Mav::Ptr<IpCidrRouteTableEntry> add(std::uint8_t dest) { return ask(dest, 3, 20, 110); }
  Mav::Ptr<IpCidrRouteTableEntry> ask(std::uint8_t dest, std::uint32_t ifIndex,
                                      std::uint32_t metric, std::uint8_t preference,
                                      RouteType protocol = routeTypeOspf) {
    return mib->ipCidrRouteTableIs(route(dest), ifIndex, RouteMetric(metric),
                                   RoutePreference(preference), protocol);
  }
  void del(std::uint8_t dest) { mib->ipCidrRouteTableDel(route(dest)); }
  std::string refusal(std::uint32_t ifIndex, std::uint32_t metric, std::uint8_t preference,
                      RouteType protocol) {
    return errorText<Mav::NameInUseException>(
        [&] { ask(1, ifIndex, metric, preference, protocol); });
  }

  Mav::Ptr<IpForwardMib> mib = ipForwardMibFactory("ipforwardmib");
  Listener listener{mib};
};

TEST_F(IpForwardMibTest, rowsAreMadeOnceCountedAndAnnounced) {
  EXPECT_EQ(mib->ipCidrRouteTables(), 0u);
  auto const row = add(1);
  EXPECT_EQ(add(1), row);
  add(2);
  EXPECT_EQ(mib->ipCidrRouteTables(), 2u);
  EXPECT_EQ(mib->ipCidrRouteTable(route(1)), row);
  EXPECT_EQ(row->key(), route(1));
  EXPECT_EQ(row->ifIndex(), 3u);
  EXPECT_EQ(row->metric(), RouteMetric(20));
  EXPECT_EQ(row->preference(), RoutePreference(110));
  EXPECT_EQ(row->protocol(), routeTypeOspf);
  del(9);
  del(1);
  EXPECT_EQ(mib->ipCidrRouteTable(route(1)), nullptr);
  add(3);
  mib->ipCidrRouteTableDelAll();
  EXPECT_EQ(mib->ipCidrRouteTables(), 0u);
  EXPECT_THAT(listener.heard, ElementsAre("+1", "+2", "-1", "+3", "-2", "-3"));
}

TEST_F(IpForwardMibTest, theFirstParameterThatDiffersIsNamedAndTheRowStays) {
  auto const row = add(1);
  auto const text = [](std::string const& name, std::string const& asked, std::string const& had) {
    return "Reinstantiating the pointer interface where constructor parameter attribute " + name +
           " has a different value of " + asked + " than the current value of " + had +
           " not allowed";
  };
  EXPECT_EQ(refusal(4, 21, 111, routeTypeRip), text("_ifIndex", "4", "3"));
  EXPECT_EQ(refusal(3, 21, 111, routeTypeRip), text("_metric", "21", "20"));
  EXPECT_EQ(refusal(3, 20, 65, routeTypeRip), text("_preference", "65", "110"));
  EXPECT_EQ(refusal(3, 20, 110, routeTypeRip), text("_protocol", "routeTypeRip", "routeTypeOspf"));
  EXPECT_EQ(mib->ipCidrRouteTable(route(1)), row);
  EXPECT_EQ(row->metric(), RouteMetric(20));
  EXPECT_THAT(listener.heard, ElementsAre("+1"));
}

TEST_F(IpForwardMibTest, aWalkBearsWhatComesAndGoes) {
  for (int dest = 10; dest <= 50; dest += 10) add(static_cast<std::uint8_t>(dest));
  std::vector<int> seen;
  for (auto row = std::as_const(*mib).ipCidrRouteTableIterator(); row; ++row) {
    int const dest = row.key().dest().octets()[0];
    seen.push_back(dest);
    if (dest == 20) {
      del(20);  // the row that the walk is on: still readable
      EXPECT_EQ(row->key(), route(20));
      del(30);
      add(35);
      add(15);
    }
    if (dest == 50) add(60);
  }
  EXPECT_THAT(seen, ElementsAre(10, 20, 35, 40, 50, 60));
  auto const after = mib->ipCidrRouteTableMap().atOrAfter(route(36));
  EXPECT_EQ(after.key(), route(40));
  EXPECT_FALSE(mib->ipCidrRouteTableMap().at(route(36)));
}

TEST_F(IpForwardMibTest, attributesAreNumbered) {
  EXPECT_EQ(mib->attributeString(258), "ipCidrRouteTable");
  EXPECT_EQ(mib->attributeString(259), "unknown");
  EXPECT_EQ(mib->attributeString(0), "unknown");
  mib->isNondestructingIs(true);
  EXPECT_THAT(listener.heard, ElementsAre("isNondestructing"));
}

}  // namespace
}  // namespace IpSnmp
