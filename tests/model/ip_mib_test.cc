#include "model/ip_mib.h"

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/model/error_text.h"

namespace IpSnmp {
namespace {

using Dovel::IpAddr;
using Mav::NameInUseException;
using testing::ElementsAre;

InetAddress inet(char const* addr) { return InetAddress::fromIpAddr(IpAddr(addr)); }

Mav::Ptr<IpAddressPrefixEntry const> prefix(std::uint32_t ifIndex) {
  return Mav::makeObject<IpAddressPrefixEntry const>(
      IpAddressPrefixKey(ifIndex, Ip::ipVersion4, Snmp::String("\n\0\0\0"), 8));
}

template <class Key>
std::string text(Key const& key) {
  std::ostringstream out;
  out << key;
  return out.str();
}

/// Notes the handler and the key of every announcement, and then does `action`.
class Listener : public IpMib::NotifieeConst {
 public:
  Listener(Mav::Ptr<IpMib const> mib, std::vector<std::string>& log, std::string name = "")
      : NotifieeConst(std::move(mib)), heard(log), name_(std::move(name)) {}

  using NotifieeConst::onArpTable;
  using NotifieeConst::onIpAddressPrefixTable;
  using NotifieeConst::onIpAddressTable;
  using NotifieeConst::onIpAddrTable;
  using NotifieeConst::onIpSwFwdStats;
  void onIpAddressTable(InetAddress const& key) override {
    note("ipAddressTable " +
         IpAddr(IpAddr::Octets{key.bytes()[0], key.bytes()[1], key.bytes()[2], key.bytes()[3]})
             .stringValue());
  }
  void onIpAddressPrefixTable(IpAddressPrefixKey const& key) override {
    note("ipAddressPrefixTable " + text(key.ifIndex()));
  }
  void onIpAddrTable(IpAddr const& key) override { note("ipAddrTable " + key.stringValue()); }
  void onArpTable(ArpTableIndex const& key) override { note("arpTable " + text(key.ifIndex())); }
  void onIpSwFwdStats(Ip::IpVersion const& key) override { note("ipSwFwdStats " + text(key)); }
  void onIsNondestructing() override { note("isNondestructing"); }
  void onException(Mav::AttributeId attribute, std::exception_ptr exception) override {
    heard.push_back(name_ + "threw " + std::to_string(attribute) + " " +
                    Mav::exceptionText(exception));
  }

  std::vector<std::string>& heard;
  std::function<void()> action;

 private:
  void note(std::string const& what) {
    heard.push_back(name_ + what);
    if (action) action();
  }
  std::string const name_;
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
  std::vector<std::string> heard;
  Listener listener{mib, heard};
};

TEST_F(IpMibTest, theFactoryBringsTheCountersOfBothVersions) {
  EXPECT_EQ(mib->name(), "ipmib");
  EXPECT_EQ(mib->ipSwFwdStatsMap().size(), 2u);
  for (auto version : {Ip::ipVersion4, Ip::ipVersion6}) {
    ASSERT_NE(mib->ipSwFwdStats(version), nullptr);
    EXPECT_EQ(mib->ipSwFwdStats(version)->ipVersion(), version);
  }
}

TEST_F(IpMibTest, eachCollectionAnnouncesToItsOwnHandler) {
  fill();
  mib->ipAddressTableDel(inet("10.0.0.1"));
  mib->ipAddressPrefixTableDel(prefix(3)->key());
  mib->ipAddrTableDel(IpAddr("10.0.0.1"));
  mib->arpTableDel({5, IpAddr("10.0.0.2")});
  mib->memberDel("ipSwFwdStats", Ip::ipVersionUnknown);
  std::vector<std::string> const once{"ipAddressTable 10.0.0.1", "ipAddressPrefixTable 3",
                                      "ipAddrTable 10.0.0.1", "arpTable 5",
                                      "ipSwFwdStats ipVersionUnknown"};
  auto twice = once;
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(heard, twice);

  heard.clear();
  mib->ipAddressTableDel(inet("10.0.0.1"));  // all are gone
  mib->arpTableDelAll();
  EXPECT_THAT(heard, ElementsAre());
  mib->isNondestructingIs(true);
  EXPECT_THAT(heard, ElementsAre("isNondestructing"));
}

TEST_F(IpMibTest, aThrowingHandlerIsToldTheNumberAndTheOthersStillHear) {
  std::vector<std::string> others;
  Listener second(mib, others);
  listener.action = [] { throw std::runtime_error("no"); };
  fill();
  EXPECT_THAT(heard,
              ElementsAre("ipAddressTable 10.0.0.1", "threw 258 no", "ipAddressPrefixTable 3",
                          "threw 259 no", "ipAddrTable 10.0.0.1", "threw 260 no", "arpTable 5",
                          "threw 261 no", "ipSwFwdStats ipVersionUnknown", "threw 262 no"));
  EXPECT_EQ(others.size(), 5u);
  EXPECT_NE(mib->arpTable({5, IpAddr("10.0.0.2")}), nullptr);
  std::vector<std::string_view> names;
  for (Mav::AttributeId id = 258; id <= 263; ++id) names.push_back(mib->attributeString(id));
  EXPECT_THAT(names, ElementsAre("ipAddressTable", "ipAddressPrefixTable", "ipAddrTable",
                                 "arpTable", "ipSwFwdStats", "unknown"));
}

TEST_F(IpMibTest, theListOfAnAnnouncementIsThatOfItsStart) {
  listener.notifierIs(nullptr);
  Listener first(mib, heard, "first: ");
  Listener second(mib, heard, "second: ");
  Listener third(nullptr, heard, "third: ");
  first.action = [&] {
    third.notifierIs(mib);
    first.notifierIs(nullptr);
  };
  mib->ipAddressTableIs(inet("10.0.0.1"));
  EXPECT_THAT(heard,
              ElementsAre("first: ipAddressTable 10.0.0.1", "second: ipAddressTable 10.0.0.1"));
  heard.clear();
  mib->ipAddressTableDelAll();
  EXPECT_THAT(heard,
              ElementsAre("second: ipAddressTable 10.0.0.1", "third: ipAddressTable 10.0.0.1"));
}

TEST_F(IpMibTest, aRowThatExistsIsGivenAgainInSilence) {
  fill();
  auto const entry = mib->ipAddressTable(inet("10.0.0.1"));
  auto const addr = mib->ipAddrTable(IpAddr("10.0.0.1"));
  auto const arp = mib->arpTable({5, IpAddr("10.0.0.2")});
  heard.clear();
  EXPECT_EQ(mib->ipAddressTableIs(inet("10.0.0.1")), entry);
  EXPECT_EQ(mib->ipAddrTableIs(entry), addr);
  EXPECT_EQ(mib->arpTableIs({5, IpAddr("10.0.0.2")}, eth0), arp);
  EXPECT_THAT(heard, ElementsAre());
}

TEST_F(IpMibTest, anotherConstructorParameterIsRefusedAndTheRowStays) {
  fill();
  auto const addr = mib->ipAddrTable(IpAddr("10.0.0.1"));
  auto const twin = Mav::makeObject<IpAddressEntry>(inet("10.0.0.1"));
  std::string const head =
      "Reinstantiating the pointer interface where constructor parameter attribute ";
  auto const body = [](auto const& asked, auto const& current) {
    return " has a different value of " + text(asked) + " than the current value of " +
           text(current) + " not allowed";
  };
  heard.clear();
  EXPECT_EQ(errorText<NameInUseException>([&] { mib->ipAddrTableIs(twin); }),
            head + "_masterEntry" + body(twin, addr->masterEntry()));
  auto const eth1 = Mav::makeObject<Arp::ArpIntfStatus>("eth1");
  EXPECT_EQ(errorText<NameInUseException>([&] {
              mib->arpTableIs({5, IpAddr("10.0.0.2")}, eth1);
            }),
            head + "_arpIntfStatus" + body(eth1, eth0));
  EXPECT_EQ(mib->ipAddrTable(IpAddr("10.0.0.1")), addr);
  EXPECT_EQ(mib->arpTable({5, IpAddr("10.0.0.2")})->arpIntfStatus(), eth0);
  EXPECT_EQ(errorText<Mav::RangeException>([&] { mib->ipAddrTableIs(nullptr); }), "null ValidPtr");
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
  EXPECT_EQ(mib->ipAddressPrefixTableIterator().key().ifIndex(), 1u);
  EXPECT_EQ(errorText<Mav::RangeException>([&] { mib->ipAddressPrefixTableIs(nullptr); }),
            "null _ipAddressPrefixTable parameter to mutator for "
            "IpSnmp::IpMib::ipAddressPrefixTable not allowed\"");
}

TEST_F(IpMibTest, changesWithinARowAreNotAnnounced) {
  auto const entry = mib->ipAddressTableIs(inet("10.0.0.1"));
  heard.clear();
  entry->intfIs(IntfData({addressSourceStatus, Dovel::IntfId("eth0")}, prefix(3)));
  entry->intfDelAll();
  EXPECT_THAT(heard, ElementsAre());
}

}  // namespace
}  // namespace IpSnmp
