#include "model/arp_table_entry.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/state/arp_neighbor_dir.h"
#include "tests/model/error_text.h"
#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Arp::ArpEntryStatus;
using Dovel::EthAddr;
using Dovel::IpAddr;
using testing::ElementsAre;

IpAddr const router("10.0.0.1");
EthAddr const mac("02:00:5e:10:00:01");

TEST(ArpEntryStatus, printsAndParses) {
  ArpEntryStatus const fixed(router, mac, true);
  EXPECT_EQ(shown(fixed),
            "Value('Arp::ArpEntryStatus', ** {'addr': '10.0.0.1', 'ethAddr': "
            "'02:00:5e:10:00:01', 'isStatic': True})");
  expectStrepRoundTrip(fixed);
  expectStrepRoundTrip(ArpEntryStatus());
  EXPECT_TRUE(!ArpEntryStatus());
  EXPECT_FALSE(!ArpEntryStatus(IpAddr(), EthAddr(), true));
  std::string const head = "Value('Arp::ArpEntryStatus', ** {'isStatic': ";
  EXPECT_EQ(strepError<ArpEntryStatus>(head + "1})"),
            "expected \"False\" at column " + std::to_string(head.size()));
}

TEST(ArpTableEntry, readsItsNeighbourWhereItLives) {
  auto const eth0 = Mav::makeObject<Arp::ArpIntfStatus>("eth0");
  ArpTableEntry const row({7, router}, eth0);
  EXPECT_EQ(row.physAddress(), EthAddr());

  ArpEntryStatus const learned(router, mac, false);
  eth0->arpEntryIs(ArpEntryStatus(IpAddr("10.0.0.2"), EthAddr("02:00:00:00:00:02"), true));
  eth0->arpEntryIs(learned);
  EXPECT_EQ(row.arpEntry(), learned);
  EXPECT_EQ(row.physAddress(), mac);

  eth0->arpEntryDel(router);
  EXPECT_EQ(row.arpEntry(), ArpEntryStatus());
  EXPECT_EQ(row.physAddress(), EthAddr());

  ArpTableEntry const lost({7, router}, nullptr);
  EXPECT_EQ(errorText<Mav::RangeException>([&] { lost.arpEntry(); }), "null ValidPtr");
}

TEST(NeighborDir, tellsOfInterfacesAndTheseOfNeighbours) {
  struct Intf : Arp::ArpIntfStatus::NotifieeConst {
    using NotifieeConst::NotifieeConst;
    using NotifieeConst::onArpEntry;
    void onArpEntry(IpAddr const& addr) override {
      heard.push_back((!notifier()->arpEntry(addr) ? "-" : "+") + addr.stringValue());
    }
    std::vector<std::string> heard;
  };
  struct Dir : Arp::NeighborDir::NotifieeConst {
    using NotifieeConst::NotifieeConst;
    using NotifieeConst::onArpIntfStatus;
    void onArpIntfStatus(Mav::Name const& name) override {
      heard.push_back((notifier()->arpIntfStatus(name) ? "+" : "-") + name);
    }
    std::vector<std::string> heard;
  };
  auto const neighbors = Mav::makeObject<Arp::NeighborDir>();
  Dir dir{neighbors};
  auto const eth0 = neighbors->arpIntfStatusIs("eth0");
  Intf intf{eth0};
  ArpEntryStatus const dynamic(router, mac, false);
  eth0->arpEntryIs(dynamic);
  eth0->arpEntryIs(dynamic);
  eth0->arpEntryIs(ArpEntryStatus(router, mac, true));
  eth0->arpEntryIs(ArpEntryStatus(IpAddr("9.0.0.1"), mac, true));
  EXPECT_EQ(neighbors->arpIntfStatusIs("eth0"), eth0);
  eth0->arpEntryDelAll();
  neighbors->arpIntfStatusDel("eth1");
  neighbors->arpIntfStatusDel("eth0");
  EXPECT_THAT(intf.heard,
              ElementsAre("+10.0.0.1", "+10.0.0.1", "+9.0.0.1", "-9.0.0.1", "-10.0.0.1"));
  EXPECT_THAT(dir.heard, ElementsAre("+eth0", "-eth0"));
}

}  // namespace
}  // namespace IpSnmp
