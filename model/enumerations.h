#pragma once
// The enumerations of the cached tables. Their numbers go on the wire as they are (but for
// AddressSource, which is internal).

#include "platform/mav/enumeration.h"

namespace IpSnmp {

/// Who told of an address. What is in operation sorts before what is only configured.
/// The order decides what is served: of several presences of an address the first (IntfDataKey).
MAV_ENUM(AddressSource, (addressSourceStatus, 0), (addressSourceConfig, 1))

/// IpAddressStatusTC of RFC 4293, as far as it is told.
/// A tentative address is inaccessible, a deprecated one preferred: which of these it is does not
/// come as far as the entities.
MAV_ENUM(AddressStatus, (addressStatusPreferred, 1), (addressStatusInaccessible, 4))

/// ipAddressType of RFC 4293.
MAV_ENUM(AddressType, (addressTypeUnicast, 1), (addressTypeAnycast, 2), (addressTypeBroadcast, 3))

/// inetCidrRouteType of RFC 4292: local(3) is a route over the link itself, remote(4) one by way
/// of a neighbour; reject(2) tells the sender, blackhole(5) drops in silence. other(1) is what a
/// row says before it is filled.
MAV_ENUM(InetCidrRouteType, (inetCidrRouteTypeOther, 1), (inetCidrRouteTypeReject, 2),
         (inetCidrRouteTypeLocal, 3), (inetCidrRouteTypeRemote, 4), (inetCidrRouteTypeBlackhole, 5))

/// ipNetToPhysicalType of RFC 4293. local(5) is an address of the machine itself; a row that says
/// invalid(2) is not to be used.
// clang-format off
MAV_ENUM(NetToPhysicalType,
         (netToPhysicalTypeOther, 1),
         (netToPhysicalTypeInvalid, 2),
         (netToPhysicalTypeDynamic, 3),
         (netToPhysicalTypeStatic, 4),
         (netToPhysicalTypeLocal, 5))

/// ipNetToPhysicalState of RFC 4293: the states of Neighbour Unreachability Detection (RFC 4861),
/// which Linux keeps for IPv4 as well.
MAV_ENUM(NetToPhysicalState,
         (netToPhysicalStateReachable, 1),
         (netToPhysicalStateStale, 2),
         (netToPhysicalStateDelay, 3),
         (netToPhysicalStateProbe, 4),
         (netToPhysicalStateInvalid, 5),
         (netToPhysicalStateUnknown, 6),
         (netToPhysicalStateIncomplete, 7))
// clang-format on

/// IANAipRouteProtocol, as ipCidrRouteProto (RFC 4292) has it.
// clang-format off
MAV_ENUM(IpRouteProtocol,
         (ipRouteProtocolOther, 1),
         (ipRouteProtocolLocal, 2),
         (ipRouteProtocolNetmgmt, 3),
         (ipRouteProtocolIcmp, 4),
         (ipRouteProtocolEgp, 5),
         (ipRouteProtocolGgp, 6),
         (ipRouteProtocolHello, 7),
         (ipRouteProtocolRip, 8),
         (ipRouteProtocolIsIs, 9),
         (ipRouteProtocolEsIs, 10),
         (ipRouteProtocolCiscoIgrp, 11),
         (ipRouteProtocolBbnSpfIgp, 12),
         (ipRouteProtocolOspf, 13),
         (ipRouteProtocolBgp, 14),
         (ipRouteProtocolIdpr, 15),
         (ipRouteProtocolCiscoEigrp, 16),
         (ipRouteProtocolDvmrp, 17))
// clang-format on

}  // namespace IpSnmp
