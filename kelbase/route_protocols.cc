#include "kelbase/route_protocols.h"

#include <array>

#include <linux/rtnetlink.h>

namespace Kelbase {
namespace {

using namespace Routing::Fib;
using Preference = Routing::RoutePreference;

constexpr Preference unranked{255};

constexpr std::array protocols{
    RouteProtocol{RTPROT_KERNEL, routeTypeConnected, Preference(0)},
    RouteProtocol{RTPROT_BOOT, routeTypeStatic, Preference(1)},
    RouteProtocol{RTPROT_STATIC, routeTypeStatic, Preference(1)},
    RouteProtocol{RTPROT_BGP, routeTypeBgp, Preference(20)},
    RouteProtocol{RTPROT_EIGRP, routeTypeEigrp, Preference(90)},
    RouteProtocol{RTPROT_BABEL, routeTypeBabel, Preference(100)},
    RouteProtocol{RTPROT_OSPF, routeTypeOspf, Preference(110)},
    RouteProtocol{RTPROT_ISIS, routeTypeIsIs, Preference(115)},
    RouteProtocol{RTPROT_RIP, routeTypeRip, Preference(120)},
    RouteProtocol{RTPROT_DHCP, routeTypeDhcp, Preference(254)},
};

constexpr std::array<RouteProtocol, 256> byNumber() {
  std::array<RouteProtocol, 256> result{};
  for (std::size_t i = 0; i < result.size(); ++i) {
    result[i] = {static_cast<std::uint8_t>(i), routeTypeOther, unranked};
  }
  for (auto const& row : protocols) result[row.protocol] = row;
  return result;
}

constexpr auto table = byNumber();

}  // namespace

RouteProtocol routeProtocol(std::uint8_t protocol) { return table.at(protocol); }

}  // namespace Kelbase
