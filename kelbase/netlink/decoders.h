#pragma once
// How the messages of each kind of kernel object (rtnetlink(7)) are read into the plain structs of
// the model. A decoder is a struct of constants and two functions, from which ModelSource makes a
// source:
//
//   name                      "links"
//   groups                    the multicast groups, an array
//   newType, delType          RTM_NEW..., RTM_DEL...
//   requests()                what to ask for all objects
//   read(message)             the object; nothing when the message is not about this kind
//
// Every attribute that is used is checked first: BadMessage otherwise. Routes, of which there may
// be a million, are read by functions of their own (route_message.h).

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include <linux/nexthop.h>
#include <linux/rtnetlink.h>

#include "kelbase/model/address.h"
#include "kelbase/model/forwarding.h"
#include "kelbase/model/links.h"
#include "kelbase/model/neighbour.h"
#include "kelbase/model/route.h"
#include "kelbase/netlink/netlink_message.h"
#include "kelbase/netlink/netlink_request.h"

namespace Kelbase {

/// The kernel writes links in rtnl_fill_ifinfo (net/core/rtnetlink.c). They are the one kind that
/// others are hung on by index. A link's end is the kernel's last word on it: what hung on it has
/// gone before, with messages of its own or in silence (SilentChanges).
struct LinkDecoder {
  static constexpr std::string_view name = "links";
  static constexpr std::array groups{unsigned{RTNLGRP_LINK}};
  static constexpr std::uint16_t newType = RTM_NEWLINK;
  static constexpr std::uint16_t delType = RTM_DELLINK;
  static std::vector<NetlinkRequest> requests();
  /// Of RTM_DELLINK the index alone. Nothing for a bridge's word about one of its ports.
  static std::optional<Link> read(NetlinkMessage const& message);
};

/// Settings of the pseudo-interface "all" (linux/netconf.h). The kernel writes them in
/// inet_netconf_fill_devconf (net/ipv4/devinet.c) and inet6_netconf_fill_devconf
/// (net/ipv6/addrconf.c). A link that is renamed has its own deleted and told again under the same
/// index, which says nothing of "all".
struct ForwardingDecoder {
  static constexpr std::string_view name = "forwarding";
  static constexpr std::array groups{unsigned{RTNLGRP_IPV4_NETCONF},
                                     unsigned{RTNLGRP_IPV6_NETCONF}};
  static constexpr std::uint16_t newType = RTM_NEWNETCONF;
  static constexpr std::uint16_t delType = RTM_DELNETCONF;
  static std::vector<NetlinkRequest> requests();
  /// Nothing for a single interface, another setting or another family.
  static std::optional<ForwardingFlag> read(NetlinkMessage const& message);
};

/// The kernel writes IPv4 addresses in inet_fill_ifaddr (net/ipv4/devinet.c). One is known by link,
/// address, length and peer: a removal tells all four.
struct Address4Decoder {
  static constexpr std::string_view name = Address4::kinds;
  static constexpr std::array groups{unsigned{RTNLGRP_IPV4_IFADDR}};
  static constexpr std::uint16_t newType = RTM_NEWADDR;
  static constexpr std::uint16_t delType = RTM_DELADDR;
  /// Of the version's own addresses, here and below: a dump of AF_UNSPEC would list all, once for
  /// each of the two.
  static std::vector<NetlinkRequest> requests();
  /// Nothing for the other version, here and below.
  static std::optional<Address4> read(NetlinkMessage const& message);
};

/// Written in inet6_fill_ifaddr (net/ipv6/addrconf.c). Lifetimes, and that an address is deprecated
/// or a duplicate, come with further RTM_NEWADDR of the same key.
struct Address6Decoder {
  static constexpr std::string_view name = Address6::kinds;
  static constexpr std::array groups{unsigned{RTNLGRP_IPV6_IFADDR}};
  static constexpr std::uint16_t newType = RTM_NEWADDR;
  static constexpr std::uint16_t delType = RTM_DELADDR;
  static std::vector<NetlinkRequest> requests();
  static std::optional<Address6> read(NetlinkMessage const& message);
};

/// The kernel writes neighbours in neigh_fill_info (net/core/neighbour.c). One decoder for both
/// versions of IP: the kernel's group and dump are of all families, and so is the published table.
struct NeighbourDecoder {
  static constexpr std::string_view name = Neighbour::kinds;
  static constexpr std::array groups{unsigned{RTNLGRP_NEIGH}};
  static constexpr std::uint16_t newType = RTM_NEWNEIGH;
  static constexpr std::uint16_t delType = RTM_DELNEIGH;
  static std::vector<NetlinkRequest> requests();
  /// Nothing for what a bridge forwards by (AF_BRIDGE), and for addresses that this host answers
  /// for (NTF_PROXY): the group tells of all of them.
  static std::optional<Neighbour> read(NetlinkMessage const& message);
};

/// The kernel writes nexthop objects in nh_fill_node (net/ipv4/nexthop.c). It tells a group anew
/// when a member that an administrator removes leaves it, after the member's own removal. What goes
/// with a link goes without a word.
struct NexthopDecoder {
  static constexpr std::string_view name = "nexthop objects";
  static constexpr std::array groups{unsigned{RTNLGRP_NEXTHOP}};
  static constexpr std::uint16_t newType = RTM_NEWNEXTHOP;
  static constexpr std::uint16_t delType = RTM_DELNEXTHOP;
  /// Kernels before 5.3 have none.
  static std::vector<NetlinkRequest> requests();
  /// Of either version of IP: there is one space of ids, and an IPv4 route may lead to an IPv6
  /// neighbour (RFC 8950).
  static std::optional<ListedNexthop> read(NetlinkMessage const& message);
};

}  // namespace Kelbase
