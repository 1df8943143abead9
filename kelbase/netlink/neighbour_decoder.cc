#include "kelbase/netlink/neighbour_decoder.h"

#include <fmt/format.h>
#include <linux/neighbour.h>
#include <sys/socket.h>

#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

constexpr std::array neighbourRules{
    AttributeRule{NDA_DST, "NDA_DST", exactly(sizeof(Dovel::IpAddr::Octets)), required},
    AttributeRule{NDA_LLADDR, "NDA_LLADDR", atLeast(0)},  // as long as the link's kind has them
};

/// In these the kernel has a link address, and sends to it (net/core/neighbour.c, NUD_VALID). The
/// one left out is NUD_NOARP: addresses that are computed, as on loopback and of multicast groups.
constexpr unsigned resolvedStates =
    NUD_REACHABLE | NUD_STALE | NUD_DELAY | NUD_PROBE | NUD_PERMANENT;

}  // namespace

std::vector<NetlinkRequest> NeighbourDecoder::requests() {
  ndmsg header{};
  header.ndm_family = AF_INET;
  NetlinkRequest request(RTM_GETNEIGH, NLM_F_DUMP, header);
  return {request.unsupportedIsEmpty()};
}

std::optional<Neighbour4> NeighbourDecoder::read(NetlinkMessage const& message) {
  auto const info = message.header<ndmsg>();
  if (info.ndm_family != AF_INET || (info.ndm_flags & NTF_PROXY) != 0) return std::nullopt;
  if (info.ndm_ifindex < 1) {
    throw BadMessage(fmt::format("{}: interface index {}, expected 1 or more", message.name(),
                                 info.ndm_ifindex));
  }
  Attributes const attributes(message.name(), message.attributes<ndmsg>(), neighbourRules);
  Neighbour4 neighbour;
  neighbour.link = info.ndm_ifindex;
  neighbour.key = *attributes.address<Dovel::IpAddr>(NDA_DST);
  auto const linkAddress = attributes.bytes(NDA_LLADDR);
  neighbour.isResolved = (info.ndm_state & resolvedStates) != 0 && linkAddress &&
                         linkAddress->size() == sizeof(Dovel::EthAddr::Octets);
  if (!neighbour.isResolved) return neighbour;
  neighbour.state.linkAddress =
      Dovel::EthAddr(*attributes.value<Dovel::EthAddr::Octets>(NDA_LLADDR));
  neighbour.state.isStatic = (info.ndm_state & NUD_PERMANENT) != 0;
  return neighbour;
}

}  // namespace Kelbase
