#include "model/arp_table_entry.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Arp::ArpEntryStatus;
using Dovel::EthAddr;
using Dovel::IpAddr;

TEST(ArpTableEntry, readsItsNeighbourWhereItLivesAndThatIsAnnouncedWhenItDiffers) {
  struct Listener : Arp::ArpIntfStatus::NotifieeConst {
    using NotifieeConst::NotifieeConst;
    using NotifieeConst::onArpEntry;
    void onArpEntry(IpAddr const& addr) override {
      heard.push_back((!notifier()->arpEntry(addr) ? "-" : "+") + addr.stringValue());
    }
    std::vector<std::string> heard;
  };
  auto const eth0 = Mav::makeObject<Arp::ArpIntfStatus>("eth0");
  Listener const listener{eth0};
  IpAddr const router("10.0.0.1");
  EthAddr const mac("02:00:5e:10:00:01");
  ArpTableEntry const row({7, router}, eth0);
  EXPECT_EQ(row.physAddress(), EthAddr());
  eth0->arpEntryIs(ArpEntryStatus(router, mac, false));
  eth0->arpEntryIs(ArpEntryStatus(router, mac, false));
  EXPECT_EQ(row.physAddress(), mac);
  eth0->arpEntryIs(ArpEntryStatus(router, mac, true));
  eth0->arpEntryIs(ArpEntryStatus(IpAddr("9.0.0.1"), mac, true));
  eth0->arpEntryDelAll();
  EXPECT_EQ(row.arpEntry(), ArpEntryStatus());
  EXPECT_THAT(listener.heard,
              testing::ElementsAre("+10.0.0.1", "+10.0.0.1", "+9.0.0.1", "-9.0.0.1", "-10.0.0.1"));

  ArpTableEntry const lost({7, router}, nullptr);
  EXPECT_EQ(rangeError([&] { return lost.arpEntry(); }), "null ValidPtr");
}

}  // namespace
}  // namespace IpSnmp
