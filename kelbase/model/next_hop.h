#pragma once
// A next hop as the kernel tells it: a neighbour, by its address, and the link that leads to it, by
// its index. The tables name the link (Pondo::Fib::Via).

#include <cstdint>

#include "platform/dovel/ip_addr.h"

namespace Kelbase {

struct NextHop {
  Dovel::IpAddr nextHop;     // 0.0.0.0: none, on the link; or an IPv6 one (RFC 8950)
  std::int32_t ifIndex = 0;  // 0: none

  bool operator==(NextHop const&) const = default;

  template <class H>
  friend H AbslHashValue(H h, NextHop const& hop) {
    return H::combine(std::move(h), hop.nextHop, hop.ifIndex);
  }
};

}  // namespace Kelbase
