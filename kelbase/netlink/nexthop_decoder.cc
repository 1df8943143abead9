#include <cstring>

#include <fmt/format.h>
#include <sys/socket.h>

#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

constexpr std::array nexthopRules{
    AttributeRule{NHA_ID, "NHA_ID", exactly(sizeof(std::uint32_t)), required},
    AttributeRule{NHA_GROUP, "NHA_GROUP", atLeast(sizeof(nexthop_grp))},
    AttributeRule{NHA_BLACKHOLE, "NHA_BLACKHOLE", exactly(0)},
    AttributeRule{NHA_OIF, "NHA_OIF", exactly(sizeof(std::uint32_t))},
    // The header tells of which version it is: read() asks for the size of an IPv6 one.
    AttributeRule{NHA_GATEWAY, "NHA_GATEWAY", atLeast(sizeof(Dovel::IpAddr::Octets))},
};

void readMembers(NetlinkMessage const& message, Bytes group, ListedNexthop& nexthop) {
  if (group.size() % sizeof(nexthop_grp) != 0) {
    message.fail(fmt::format("NHA_GROUP: {} bytes, expected a multiple of {}", group.size(),
                             sizeof(nexthop_grp)));
  }
  for (; !group.empty(); group = group.subspan(sizeof(nexthop_grp))) {
    nexthop_grp member;
    std::memcpy(&member, group.data(), sizeof member);
    // Its weight is passed over: no table has a place for it.
    nexthop.members.push_back(member.id);
  }
}

}  // namespace

std::vector<NetlinkRequest> NexthopDecoder::requests() {
  NetlinkRequest request(RTM_GETNEXTHOP, NLM_F_DUMP, nhmsg{});
  return {request.unsupportedIsEmpty()};
}

std::optional<ListedNexthop> NexthopDecoder::read(NetlinkMessage const& message) {
  auto const header = message.header<nhmsg>();
  Attributes const attributes(message, message.attributes<nhmsg>(), nexthopRules);
  ListedNexthop nexthop;
  nexthop.id = *attributes.value<std::uint32_t>(NHA_ID);
  // 0 stands for "no object" throughout the model.
  if (nexthop.id == 0) message.fail("NHA_ID: 0 is no id");
  if (auto const group = attributes.bytes(NHA_GROUP)) readMembers(message, *group, nexthop);
  nexthop.isBlackhole = attributes.has(NHA_BLACKHOLE);
  nexthop.hop.ifIndex =
      checkedIndex(message, attributes.value<std::int32_t>(NHA_OIF).value_or(0), 0);
  auto const gateway = attributes.bytes(NHA_GATEWAY);
  // A group has none, nor has a blackhole, nor a next hop on the link itself.
  if (gateway && header.nh_family == AF_INET) {
    nexthop.hop.nextHop = *attributes.address<Dovel::IpAddr>(NHA_GATEWAY);
  } else if (gateway && header.nh_family == AF_INET6) {
    if (gateway->size() != sizeof(Dovel::Ip6Addr::Octets)) {
      message.fail(fmt::format("NHA_GATEWAY: {} bytes, expected {}", gateway->size(),
                               sizeof(Dovel::Ip6Addr::Octets)));
    }
    nexthop.hop.nextHop6 = *attributes.address<Dovel::Ip6Addr>(NHA_GATEWAY);
  }
  return nexthop;
}

}  // namespace Kelbase
