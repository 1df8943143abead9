#include "model/ip_mib.h"

#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/ip_forward_mib.h"
#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Dovel::IpAddr;

InetAddress inet(char const* addr) { return InetAddress::fromIpAddr(IpAddr(addr)); }

Mav::Ptr<IpAddressPrefixEntry const> prefix(std::uint32_t ifIndex) {
  return Mav::makeObject<IpAddressPrefixEntry const>(
      IpAddressPrefixKey(ifIndex, Ip::ipVersion4, Snmp::String("\n\0\0\0"), 8));
}

/// Notes the handler and the key of every announcement, and then does `action`.
class Listener : public IpMib::NotifieeConst {
 public:
  using NotifieeConst::NotifieeConst;
  using NotifieeConst::onArpTable;
  using NotifieeConst::onIpAddressPrefixTable;
  using NotifieeConst::onIpAddressTable;
  using NotifieeConst::onIpAddrTable;
  using NotifieeConst::onIpSwFwdStats;
  void onIpAddressTable(InetAddress const& key) override {
    note("ipAddressTable " + IpAddressEntry(key).ipAdEntAddr().stringValue());
  }
  void onIpAddressPrefixTable(IpAddressPrefixKey const& key) override {
    note("ipAddressPrefixTable " + shown(key.ifIndex()));
  }
  void onIpAddrTable(IpAddr const& key) override { note("ipAddrTable " + key.stringValue()); }
  void onArpTable(ArpTableIndex const& key) override { note("arpTable " + shown(key.ifIndex())); }
  void onIpSwFwdStats(Ip::IpVersion const& key) override { note("ipSwFwdStats " + shown(key)); }
  void onException(Mav::AttributeId attribute, std::exception_ptr exception) override {
    heard.push_back(std::to_string(attribute) + " is " +
                    std::string(notifier()->attributeString(attribute)) + ": " +
                    Mav::exceptionText(exception));
  }

  std::vector<std::string> heard;
  std::function<void()> action;

 private:
  void note(std::string const& what) {
    heard.push_back(what);
    if (action) action();
  }
};

class IpMibTest : public testing::Test {
 protected:
  /// One row in every collection.
  void fill() {
    auto const entry = mib->ipAddressTableIs(inet("10.0.0.1"));
    mib->ipAddressPrefixTableIs(prefix(3));
    mib->ipAddrTableIs(entry);
    mib->arpTableIs({5, IpAddr("10.0.0.2")}, eth0);
    mib->ipSwFwdStatsIs(Ip::ipVersionUnknown);
  }

  Mav::Ptr<IpMib> mib = ipMibFactory("ipmib");
  Mav::Ptr<Arp::ArpIntfStatus const> eth0 = Mav::makeObject<Arp::ArpIntfStatus>("eth0");
  Listener listener{mib};
  std::vector<std::string>& heard = listener.heard;
};

TEST_F(IpMibTest, eachCollectionAnnouncesToItsOwnHandlerAndTellsItsNumberWhenThatThrows) {
  listener.action = [] { throw std::runtime_error("no"); };
  fill();
  mib->ipAddressTableDel(inet("10.0.0.1"));
  mib->ipAddressPrefixTableDel(prefix(3)->key());
  mib->ipAddrTableDel(IpAddr("10.0.0.1"));
  mib->arpTableDel({5, IpAddr("10.0.0.2")});
  mib->ipSwFwdStatsDel(Ip::ipVersionUnknown);
  std::vector<std::string> const once{"ipAddressTable 10.0.0.1",
                                      "258 is ipAddressTable: no",
                                      "ipAddressPrefixTable 3",
                                      "259 is ipAddressPrefixTable: no",
                                      "ipAddrTable 10.0.0.1",
                                      "260 is ipAddrTable: no",
                                      "arpTable 5",
                                      "261 is arpTable: no",
                                      "ipSwFwdStats ipVersionUnknown",
                                      "262 is ipSwFwdStats: no"};
  auto twice = once;
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(heard, twice);
  EXPECT_EQ(mib->arpTable({5, IpAddr("10.0.0.2")}), nullptr);
  EXPECT_NE(mib->ipSwFwdStats(Ip::ipVersion6), nullptr);  // the factory's
}

TEST(IpAddressEntry, whatTheMasterTellsIsRefusedWithoutOneAndWithoutItsPrefix) {
  auto const entry =
      Mav::makeObject<IpAddressEntry>(InetAddress::fromIpAddr(Dovel::IpAddr("10.1.2.3")));
  IpAddrEntry const old(entry);
  EXPECT_EQ(rangeError([&] { return entry->ifIndex(); }), "null ValidPtr");
  EXPECT_EQ(rangeError([&] { return entry->prefixEntry(); }), "null ValidPtr");
  EXPECT_EQ(rangeError([&] { return entry->addressStatus(); }), "null ValidPtr");

  entry->intfIs(IntfData({addressSourceStatus, Dovel::IntfId("eth0")}, nullptr));
  EXPECT_EQ(old.ipAdEntIfIndex(), 0u);
  EXPECT_EQ(rangeError([&] { return old.ipAdEntNetMask(); }), "null ValidPtr");

  IpAddressEntry const cut(InetAddress(Ip::ipVersion4, Snmp::String("abc")));
  EXPECT_EQ(rangeError([&] { return cut.ipAdEntAddr(); }),
            "an address of 3 octets has no IPv4 address");
}

IpCidrRouteTableIndex route(std::uint8_t dest) {
  return {IpAddr(IpAddr::Octets{dest, 0, 0, 0}), IpAddr::netmask(8), 0, IpAddr("192.0.2.1")};
}

TEST(IpForwardMib, rowsStayAsTheyWereMade) {
  using namespace Routing::Fib;
  auto const mib = ipForwardMibFactory("ipforwardmib");
  auto const ask = [&](std::uint32_t ifIndex, std::uint32_t metric, std::uint8_t preference,
                       Routing::Fib::RouteType protocol) {
    return mib->ipCidrRouteTableIs(route(1), ifIndex, Routing::RouteMetric(metric),
                                   Routing::RoutePreference(preference), protocol);
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
  EXPECT_THAT([&] { ask(3, 20, 110, routeTypeRip); },
              refused("_protocol", "routeTypeRip", "routeTypeOspf"));
  EXPECT_EQ(*mib->ipCidrRouteTable(route(1)), *row);
  EXPECT_EQ(row->key(), route(1));
  mib->ipCidrRouteTableIs(route(2), 3, Routing::RouteMetric(), Routing::RoutePreference(),
                          routeTypeRip);
  EXPECT_EQ(mib->ipCidrRouteTables(), 2U);
  mib->ipCidrRouteTableDel(route(1));
  EXPECT_EQ(mib->ipCidrRouteTable(route(1)), nullptr);
  mib->ipCidrRouteTableDelAll();
  EXPECT_EQ(mib->ipCidrRouteTables(), 0U);
}

}  // namespace
}  // namespace IpSnmp
