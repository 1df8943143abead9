// The joint collection of both families: its order is that of the instances.

#include "model/inet_cidr_routes.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "model/ip_forward_mib.h"

namespace IpSnmp {
namespace {

using Instance = std::vector<std::uint32_t>;

/// RFC 4292, RFC 4001 and RFC 2578 section 7.7, by hand.
Instance instanceOf(InetCidrRouteTableIndex const& key) {
  Instance instance;
  auto const add = [&](TypedInetAddress const& address) {
    instance.push_back(address.type());
    instance.push_back(static_cast<std::uint32_t>(address.octets().size()));
    instance.insert(instance.end(), address.octets().begin(), address.octets().end());
  };
  add(key.dest());
  instance.insert(instance.end(), {key.pfxLen(), 2, 0, 0});
  add(key.nextHop());
  return instance;
}

class InetCidrRoutesTest : public testing::Test {
 protected:
  unsigned draw(unsigned end) {
    return std::uniform_int_distribution<unsigned>(0, end - 1)(random_);
  }

  Dovel::Prefix prefix4() {
    unsigned const length = draw(33);
    return {Dovel::IpAddr(0x0a000000U + draw(4) * 0x40).masked(length), length};
  }
  Dovel::Ip6Prefix prefix6() {
    bool const isLinkLocal = draw(3) == 0;
    unsigned const length = isLinkLocal ? 10 + draw(119) : draw(129);
    Dovel::Ip6Addr::Octets octets{0x20, 0x01, 0x0d, 0xb8};
    if (isLinkLocal) octets = {0xfe, 0x80};
    octets[15] = static_cast<std::uint8_t>(draw(4) * 0x40);
    auto const address = Dovel::Ip6Addr(octets).masked(length);
    return {address, length, Dovel::Ip6Prefix::isZoned(address, length) ? 1 + draw(300) : 0};
  }
  Inet6RouteHop hop6() {
    Dovel::Ip6Addr::Octets octets{};
    if (draw(3) > 0) octets = {0xfe, 0x80};
    if (draw(3) > 0) octets[15] = static_cast<std::uint8_t>(1 + draw(3));
    return {Dovel::Ip6Addr(octets), 1 + draw(300), inetCidrRouteTypeRemote};
  }

  void change4() {
    auto const prefix = prefix4();
    std::vector<IpForwardMib::RowHop> hops;
    if (draw(3) == 0) hops.push_back({{}, 7, draw(2) == 0});
    for (unsigned n = draw(3); n > 0; --n) hops.push_back({Dovel::IpAddr(1000 - n), n});
    mib_->ipCidrRoutesAre(prefix, hops, {}, {}, Routing::Fib::routeTypeBgp);
    routes_.refusalDel(prefix);
    if (hops.empty() && draw(2) == 0) routes_.refusalIs(prefix, {});
  }
  void change6() {
    std::vector<Inet6RouteHop> hops;
    for (unsigned n = draw(4); n > 0; --n) hops.push_back(hop6());
    std::sort(hops.begin(), hops.end());
    auto const isSame = [](auto const& a, auto const& b) { return a.isSameInstance(b); };
    hops.erase(std::unique(hops.begin(), hops.end(), isSame), hops.end());
    routes_.routesAre(prefix6(), hops, Routing::RouteMetric(1024));
  }

  Mav::Ptr<IpForwardMib> const mib_ = ipForwardMibFactory("ipforwardmib");
  InetCidrRoutes& routes_ = mib_->inetCidrRoutes();
  std::mt19937 random_{1};
};

TEST_F(InetCidrRoutesTest, aWalkIsInTheOrderOfInstances) {
  for (int round = 0; round < 60; ++round) {
    for (int n = 0; n < 100; ++n) draw(2) == 0 ? change4() : change6();
    std::vector<Instance> walked;
    for (auto row = routes_.first(); row; ++row) {
      walked.push_back(instanceOf(row.key()));
      EXPECT_EQ(routes_.at(row.key()).key(), row.key());
    }
    ASSERT_TRUE(std::is_sorted(walked.begin(), walked.end()));
    ASSERT_EQ(std::adjacent_find(walked.begin(), walked.end()), walked.end());
    ASSERT_EQ(walked.size(), routes_.size());
    for (int n = 0; n < 20; ++n) {
      auto sought = walked.empty() ? Instance{} : walked[draw(unsigned(walked.size()))];
      if (!sought.empty()) sought[draw(unsigned(sought.size()))] += draw(3) - 1;
      auto const order = [&](auto const& key) { return instanceOf(key) <=> sought; };
      auto const expect = [&](auto const& found, auto const& place) {
        ASSERT_EQ(bool(found), place != walked.end());
        EXPECT_TRUE(!found || instanceOf(found.key()) == *place);
      };
      expect(routes_.firstAfter(order), std::upper_bound(walked.begin(), walked.end(), sought));
      expect(routes_.firstAtOrAfter(order), std::lower_bound(walked.begin(), walked.end(), sought));
    }
  }
  EXPECT_GT(routes_.size(), 100U);
}

}  // namespace
}  // namespace IpSnmp
