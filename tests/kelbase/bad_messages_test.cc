// Messages that are not as the kernel sends them: each is refused by a text that says what is wrong
// with it, and nothing changes.

#include <gmock/gmock.h>

#include "tests/kelbase/route_source_fixture.h"

namespace Kelbase {
namespace {

using Dovel::IpAddr;

class BadMessagesTest : public RouteSourceFixture {
 protected:
  struct Row {
    NetlinkBuilder builder;
    char const* error;
  };
  void expectRefused(std::vector<Row> const& rows) {
    auto const before = summaries();
    for (auto const& row : rows) {
      EXPECT_THAT([&] { tell(row.builder); }, testing::ThrowsMessage<BadMessage>(row.error));
    }
    EXPECT_EQ(summaries(), before);
  }
  std::string summaries() const {
    std::string all;
    for (auto const& source : sources_) all += source->summary() + ", ";
    return all;
  }
};

TEST_F(BadMessagesTest, OfLinksAddressesAndNeighbours) {
  std::uint32_t const one = 1;
  auto const netconf = [] {
    return netconfMessage(RTM_NEWNETCONF, AF_INET).value(NETCONFA_FORWARDING, 1);
  };
  auto const neighbour = [] { return neighbourMessage(RTM_NEWNEIGH, 2, NUD_STALE); };
  expectRefused({
      {linkMessage(RTM_NEWLINK, 0).text(IFLA_IFNAME, "x"),
       "RTM_NEWLINK: interface index 0, expected 1 or more"},
      {netconf(), "RTM_NEWNETCONF: NETCONFA_IFINDEX is missing"},
      {addressMessage(RTM_NEWADDR, AF_INET, 0, 8),
       "RTM_NEWADDR: interface index 0, expected 1 or more"},
      {addressMessage(RTM_NEWADDR, AF_INET, 2, 8),
       "RTM_NEWADDR: 0.0.0.0 is no interface's address"},
      {addressMessage(RTM_NEWADDR, AF_INET6, 2, 64), "RTM_NEWADDR: IFA_ADDRESS is missing"},
      {addressMessage(RTM_NEWADDR, AF_INET, 2, 33).value(IFA_LOCAL, one),
       "RTM_NEWADDR: prefix length 33, expected 0 to 32"},
      {neighbour(), "RTM_NEWNEIGH: NDA_DST is missing"},
      {neighbour().value(NDA_DST, std::uint64_t{1}), "RTM_NEWNEIGH: NDA_DST: 8 bytes, expected 4"},
      {neighbourMessage(RTM_DELNEIGH, 0, NUD_STALE),
       "RTM_DELNEIGH: interface index 0, expected 1 or more"},
      {neighbour().cutTo(8), "RTM_NEWNEIGH: header of 8 bytes, expected at least 12"},
  });
}

TEST_F(BadMessagesTest, OfRoutesAndNexthopObjects) {
  auto const route = [] { return routeMessage(RTM_NEWROUTE, "10.1.0.0/16"); };
  rtmsg header{};
  header.rtm_family = AF_INET;
  header.rtm_table = RT_TABLE_MAIN;
  header.rtm_dst_len = 33;
  expectRefused({
      {route().value(RTA_OIF, std::int64_t{3}), "RTM_NEWROUTE: RTA_OIF: 8 bytes, expected 4"},
      {route().value(RTA_DST, IpAddr("10.1.0.1").octets()),
       "RTM_NEWROUTE: RTA_DST: 10.1.0.1/16 has host bits set"},
      {route().value(RTA_OIF, -1), "RTM_NEWROUTE: interface index -1, expected 0 or more"},
      {route().value(RTA_MULTIPATH, rtnexthop{sizeof(rtnexthop), 0, 0, -3}),
       "RTM_NEWROUTE: interface index -3, expected 0 or more"},
      {route().value(RTA_MULTIPATH, std::int64_t{99}),
       "RTM_NEWROUTE: RTA_MULTIPATH: 8 bytes at its end are no next hop"},
      {NetlinkBuilder(RTM_NEWROUTE, header), "RTM_NEWROUTE: prefix length 33, expected 0 to 32"},
      {nexthopMessage(RTM_NEWNEXTHOP, 0), "RTM_NEWNEXTHOP: NHA_ID: 0 is no id"},
      {NetlinkBuilder(RTM_DELNEXTHOP, nhmsg{}), "RTM_DELNEXTHOP: NHA_ID is missing"},
      {nexthopMessage(RTM_NEWNEXTHOP, 7).value(NHA_GROUP, std::array<char, 12>{}),
       "RTM_NEWNEXTHOP: NHA_GROUP: 12 bytes, expected a multiple of 8"},
  });
}

}  // namespace
}  // namespace Kelbase
