#include "model/ip_mib.h"

#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Dovel::IpAddr;
using testing::ElementsAre;

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
  mib->memberDel("ipSwFwdStats", Ip::ipVersionUnknown);
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

TEST_F(IpMibTest, aRowThatExistsIsGivenAgainOrRefusedInSilence) {
  fill();
  auto const entry = mib->ipAddressTable(inet("10.0.0.1"));
  auto const addr = mib->ipAddrTable(IpAddr("10.0.0.1"));
  ArpTableIndex const neighbour{5, IpAddr("10.0.0.2")};
  auto const arp = mib->arpTable(neighbour);
  heard.clear();
  EXPECT_EQ(mib->ipAddressTableIs(inet("10.0.0.1")), entry);
  EXPECT_EQ(mib->ipAddrTableIs(entry), addr);
  EXPECT_EQ(mib->arpTableIs(neighbour, eth0), arp);

  auto const refused = [](std::string const& name, auto const& asked, auto const& current) {
    return testing::ThrowsMessage<Mav::NameInUseException>(
        "Reinstantiating the pointer interface where constructor parameter attribute " + name +
        " has a different value of " + shown(asked) + " than the current value of " +
        shown(current) + " not allowed");
  };
  auto const twin = Mav::makeObject<IpAddressEntry>(inet("10.0.0.1"));
  EXPECT_THAT([&] { mib->ipAddrTableIs(twin); }, refused("_masterEntry", twin, entry));
  auto const eth1 = Mav::makeObject<Arp::ArpIntfStatus>("eth1");
  EXPECT_THAT([&] { mib->arpTableIs(neighbour, eth1); }, refused("_arpIntfStatus", eth1, eth0));
  EXPECT_EQ(mib->ipAddrTable(IpAddr("10.0.0.1")), addr);
  EXPECT_EQ(mib->arpTable(neighbour)->arpIntfStatus(), eth0);
  EXPECT_EQ(rangeError([&] { return mib->ipAddrTableIs(nullptr); }), "null ValidPtr");
  EXPECT_THAT(heard, ElementsAre());
}

TEST_F(IpMibTest, aPrefixRowIsReplacedAndAnnouncedWhenItIsAnotherObject) {
  auto const row = prefix(3);
  auto const twin = prefix(3);
  mib->ipAddressPrefixTableIs(row);
  mib->ipAddressPrefixTableIs(row);
  IpMib::IpAddressPrefixTableIteratorConst const walk = mib->ipAddressPrefixTableIterator();
  mib->ipAddressPrefixTableIs(twin);
  mib->ipAddressPrefixTableIs(prefix(1));
  EXPECT_THAT(heard, ElementsAre("ipAddressPrefixTable 3", "ipAddressPrefixTable 3",
                                 "ipAddressPrefixTable 1"));
  EXPECT_EQ(mib->ipAddressPrefixTable(row->key()), twin);
  EXPECT_EQ(walk.value(), row);
  EXPECT_EQ(rangeError([&] { mib->ipAddressPrefixTableIs(nullptr); }),
            "null _ipAddressPrefixTable parameter to mutator for "
            "IpSnmp::IpMib::ipAddressPrefixTable not allowed\"");
}

}  // namespace
}  // namespace IpSnmp
