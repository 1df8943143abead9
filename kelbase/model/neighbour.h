#pragma once
// A neighbour of a link, as the kernel tells it: a host on the link, by its IPv4 or IPv6 address,
// and its address on the link, as far as the kernel knows it.
//
// Filled by NeighbourSource or from a file; NeighbourView and the narrower OnLinksView of
// Neighbour4Row publish it. One thread.

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "kelbase/model/on_links.h"
#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/ip_addr.h"
#include "platform/dovel/link_addr.h"

namespace Kelbase {

struct Neighbour {
  static constexpr std::string_view kind = "neighbour";
  static constexpr std::string_view kinds = "neighbours";
  using Key = std::variant<Dovel::IpAddr, Dovel::Ip6Addr>;  // IPv4 before IPv6

  /// Where the kernel stands with it: NUD_... (linux/neighbour.h). In the two that are left out it
  /// is as good as not there: NUD_NONE, and NUD_NOARP, whose link address is computed.
  enum class Reach { incomplete, reachable, stale, delay, probe, failed, permanent };

  struct State {
    Dovel::LinkAddr linkAddress;  // none while it is not known
    Reach reach = Reach::incomplete;
    bool isOwn = false;           // its address is one of this machine's
    std::uint64_t updatedAt = 0;  // hundredths of a second of CLOCK_BOOTTIME; 0: not known
    bool operator==(State const&) const = default;

    /// The kernel has a link address, and sends to it (net/core/neighbour.c, NUD_VALID).
    bool isResolved() const { return reach != Reach::incomplete && reach != Reach::failed; }
  };

  std::int32_t link = 0;
  Key key;
  State state;
  bool isThere = true;  // false in one of those two
  std::string address() const {
    return std::visit([](auto const& addr) { return addr.stringValue(); }, key);
  }
};

/// When one was updated is computed anew from the kernel's word at each message, and a little apart
/// each time: what is less than `slack` apart is the same time.
class Neighbours : public OnLinks<Neighbour> {
 public:
  // Without it a look, every two seconds, would find most of them changed and write them again.
  static constexpr std::uint64_t slack = 100;  // hundredths of a second

  using OnLinks::OnLinks;

  /// As OnLinks::is(); of one that is not there, del().
  bool is(Neighbour neighbour) {
    if (!neighbour.isThere) return del(neighbour);
    auto const* known = find(neighbour.link, neighbour.key);
    if (known && isNear(known->updatedAt, neighbour.state.updatedAt)) {
      neighbour.state.updatedAt = known->updatedAt;
    }
    return OnLinks::is(neighbour);
  }
  /// It is known from earlier when this neighbour was updated last; without effect when that is
  /// another time. Told by NeighbourView, of what an earlier publisher has written.
  void updatedAtIs(std::int32_t link, Neighbour::Key const& key, std::uint64_t time) {
    auto const* known = find(link, key);
    if (!known || !isNear(known->updatedAt, time)) return;
    Neighbour neighbour{link, key, *known, true};
    neighbour.state.updatedAt = time;
    OnLinks::is(neighbour);
  }

 private:
  static bool isNear(std::uint64_t a, std::uint64_t b) { return (a > b ? a - b : b - a) < slack; }
};

}  // namespace Kelbase
