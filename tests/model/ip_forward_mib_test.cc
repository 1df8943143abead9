#include "model/ip_forward_mib.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
  std::vector<std::string> heard;
};

TEST(IpForwardMib, rowsAreAnnouncedAndStayAsTheyWereMade) {
  auto const mib = ipForwardMibFactory("ipforwardmib");
  Listener const listener{mib};
  auto const ask = [&](std::uint32_t ifIndex, std::uint32_t metric, std::uint8_t preference,
                       RouteType protocol) {
    return mib->ipCidrRouteTableIs(route(1), ifIndex, RouteMetric(metric),
                                   RoutePreference(preference), protocol);
  };
  auto const row = ask(3, 20, 110, routeTypeOspf);
  EXPECT_EQ(*ask(3, 20, 110, routeTypeOspf), *row);
  auto const refused = [](std::string const& name, std::string const& asked,
                          std::string const& had) {
    return testing::ThrowsMessage<Mav::NameInUseException>(
        "Reinstantiating the pointer interface where constructor parameter attribute " + name +
        " has a different value of " + asked + " than the current value of " + had +
        " not allowed");
  };
  // The first one that differs is named.
  EXPECT_THAT([&] { ask(4, 21, 111, routeTypeRip); }, refused("_ifIndex", "4", "3"));
  EXPECT_THAT([&] { ask(3, 21, 111, routeTypeRip); }, refused("_metric", "21", "20"));
  EXPECT_THAT([&] { ask(3, 20, 65, routeTypeRip); }, refused("_preference", "65", "110"));
  EXPECT_THAT([&] { ask(3, 20, 110, routeTypeRip); },
              refused("_protocol", "routeTypeRip", "routeTypeOspf"));
  EXPECT_EQ(*mib->ipCidrRouteTable(route(1)), *row);
  EXPECT_EQ(row->key(), route(1));
  mib->ipCidrRouteTableIs(route(2), 3, RouteMetric(), RoutePreference(), routeTypeRip);
  EXPECT_EQ(mib->ipCidrRouteTables(), 2U);
  mib->ipCidrRouteTableDel(route(1));
  mib->ipCidrRouteTableDelAll();
  EXPECT_THAT(listener.heard, ElementsAre("+1", "+2", "-1", "-2"));
}

}  // namespace
}  // namespace IpSnmp
