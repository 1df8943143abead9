#include <algorithm>

#include <linux/neighbour.h>
#include <sys/socket.h>

#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/netlink_attributes.h"
#include "platform/mav/time.h"

namespace Kelbase {
namespace {

using Reach = Neighbour::Reach;

/// NDA_LLADDR has no octets on a link without addresses, such as a tun device. The kernel may write
/// a longer nda_cacheinfo than is known here.
template <class Addr>
constexpr std::array neighbourRules{
    AttributeRule{NDA_DST, "NDA_DST", exactly(sizeof(typename Addr::Octets)), required},
    AttributeRule{NDA_LLADDR, "NDA_LLADDR", {0, Dovel::LinkAddr::sizeMax}},
    AttributeRule{NDA_CACHEINFO, "NDA_CACHEINFO", atLeast(sizeof(nda_cacheinfo))},
};

/// The kernel has it in one state at a time.
std::optional<Reach> reachOf(unsigned state) {
  constexpr std::array<std::pair<unsigned, Reach>, 7> reaches{{
      {NUD_INCOMPLETE, Reach::incomplete},
      {NUD_REACHABLE, Reach::reachable},
      {NUD_STALE, Reach::stale},
      {NUD_DELAY, Reach::delay},
      {NUD_PROBE, Reach::probe},
      {NUD_FAILED, Reach::failed},
      {NUD_PERMANENT, Reach::permanent},
  }};
  auto const found = std::ranges::find_if(
      reaches, [state](auto const& reach) { return (state & reach.first) != 0; });
  return found == reaches.end() ? std::nullopt : std::optional(found->second);
}

/// ndm_updated: hundredths of a second (USER_HZ) since then. Told as an age, and kept as a time: an
/// age would be another at every message.
std::uint64_t updatedAt(nda_cacheinfo const& info) {
  auto const now = static_cast<std::uint64_t>(Mav::bootTime() * 100.0);
  return now > info.ndm_updated ? now - info.ndm_updated : 0;
}

template <class Addr>
Neighbour readOf(NetlinkMessage const& message, ndmsg const& info) {
  Neighbour neighbour;
  neighbour.link = checkedIndex(message, info.ndm_ifindex, 1);
  Attributes const attributes(message, message.attributes<ndmsg>(), neighbourRules<Addr>);
  neighbour.key = *attributes.template address<Addr>(NDA_DST);
  auto const reach = reachOf(info.ndm_state);
  // The kernel tells of multicast addresses too, as NUD_NOARP: some of each link, which `ip
  // neighbour` does not show either.
  neighbour.isThere = reach.has_value();
  neighbour.state.reach = reach.value_or(Reach::incomplete);
  neighbour.state.isOwn = info.ndm_type == RTN_LOCAL;
  if (auto const octets = attributes.bytes(NDA_LLADDR)) {
    neighbour.state.linkAddress =
        Dovel::LinkAddr({reinterpret_cast<std::uint8_t const*>(octets->data()), octets->size()});
  }
  if (auto const cache = attributes.template value<nda_cacheinfo>(NDA_CACHEINFO)) {
    neighbour.state.updatedAt = updatedAt(*cache);
  }
  return neighbour;
}

}  // namespace

std::vector<NetlinkRequest> NeighbourDecoder::requests() {
  // One dump for both versions of IP; a kernel that lacks one lists those of the other.
  ndmsg header{};
  header.ndm_family = AF_UNSPEC;
  return {NetlinkRequest(RTM_GETNEIGH, NLM_F_DUMP, header)};
}

std::optional<Neighbour> NeighbourDecoder::read(NetlinkMessage const& message) {
  auto const info = message.header<ndmsg>();
  bool const isV4 = info.ndm_family == AF_INET;
  if (!isV4 && info.ndm_family != AF_INET6) return std::nullopt;
  // An address that this machine answers for is no neighbour (ip-neighbour(8), proxy).
  if ((info.ndm_flags & NTF_PROXY) != 0) return std::nullopt;
  return isV4 ? readOf<Dovel::IpAddr>(message, info) : readOf<Dovel::Ip6Addr>(message, info);
}

}  // namespace Kelbase
