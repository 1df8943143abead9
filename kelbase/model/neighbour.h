#pragma once
// An IPv4 neighbour of a link, as the kernel tells it: a host on the link, and its Ethernet
// address.

#include <cstdint>
#include <string_view>

#include "kelbase/model/on_links.h"
#include "platform/dovel/eth_addr.h"
#include "platform/dovel/ip_addr.h"

namespace Kelbase {

struct Neighbour4 {
  static constexpr std::string_view kind = "IPv4 neighbour";
  static constexpr std::string_view kinds = "IPv4 neighbours";
  using Key = Dovel::IpAddr;
  struct State {
    Dovel::EthAddr linkAddress;
    bool isStatic = false;  // NUD_PERMANENT: an administrator's
    bool operator==(State const&) const = default;
  };

  std::int32_t link = 0;
  Key key;
  State state;
  bool isResolved = false;  // its Ethernet address was learned, or configured, and is used
  Dovel::IpAddr const& address() const { return key; }
};

/// Those that are resolved: of the others the kernel knows only that somebody asked for them. How
/// fresh it holds an address (reachable, stale, probed ...) is not kept; those states come and go
/// with the traffic, and change nothing here.
class Neighbours4 : public OnLinks<Neighbour4> {
 public:
  using OnLinks::OnLinks;
  bool is(Neighbour4 const& neighbour) {
    return neighbour.isResolved ? OnLinks::is(neighbour) : del(neighbour);
  }
};

}  // namespace Kelbase
