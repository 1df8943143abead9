// Which rows of arpTable there are, whatever comes first: the neighbour, its ARP status, the
// interface.

#include "agent/arp_table_sm.h"

#include "agent/arp_reactors.h"
#include "tests/agent/device_fixture.h"

namespace {

using testing::ElementsAre;

class ArpTableSmTest : public DeviceFixture {
 protected:
  void neighbour(char const* intf, char const* addr) {
    status_->arpIntfStatusIs(intf)->arpEntryIs({Dovel::IpAddr(addr), {}, false});
  }
  void linkGone(std::string_view name) { dir_->intfStatusDel(id(name)); }

  /// "IFINDEX ADDRESS".
  Texts rows() const {
    Texts texts;
    for (auto row = ipMib_->arpTableIterator(); row; ++row) {
      texts.push_back(std::to_string(row.key().ifIndex()) + ' ' + row.key().ipAddr().stringValue());
    }
    return texts;
  }

  Mav::Ptr<IpSnmp::IpMib> const ipMib_ = Mav::makeObject<IpSnmp::IpMib>("ipmib");
  Mav::Ptr<Arp::NeighborDir> const status_ = Mav::makeObject<Arp::NeighborDir>();
  Mav::Ptr<IpSnmp::ArpTableSm> sm_ =
      Mav::makeObject<IpSnmp::ArpTableSm>(nullptr, dir_, ipMib_, status_);
};

TEST_F(ArpTableSmTest, AnArpStatusThatGoesTakesAllRowsOfItsIndexAndNoOthers) {
  link("a", 6);
  link("b", 7);
  link("c", 7);
  link("d", 8);
  for (auto const* intf : {"a", "b", "d"}) neighbour(intf, "10.0.0.1");
  neighbour("c", "10.0.0.2");
  neighbour("no-index", "10.0.0.3");
  status_->arpIntfStatusDel("b");
  status_->arpIntfStatusDel("no-index");
  EXPECT_THAT(rows(), ElementsAre("6 10.0.0.1", "8 10.0.0.1"));
  EXPECT_FALSE(sm_->arpIntfStatus("b"));
}

TEST_F(ArpTableSmTest, RowsStayWhenTheirInterfaceGoesOrHasAnotherIndex) {
  link("a", 6);
  neighbour("a", "10.0.0.1");
  linkGone("a");
  neighbour("a", "10.0.0.2");
  EXPECT_EQ(sm_->arpIntfStatus("a")->intfStatus(), nullptr);
  EXPECT_THAT(rows(), ElementsAre("6 10.0.0.1", "6 10.0.0.2"));
  link("a", 7);
  EXPECT_THAT(rows(), ElementsAre("6 10.0.0.1", "6 10.0.0.2", "7 10.0.0.1", "7 10.0.0.2"));
  status_->arpIntfStatusDelAll();
  EXPECT_THAT(rows(), ElementsAre("6 10.0.0.1", "6 10.0.0.2"));
}

}  // namespace
