#include "handlers/ip_conversions.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <absl/container/inlined_vector.h>

#include "handlers/trace.h"
#include "model/protocol_map.h"
#include "platform/snmp/convert.h"
#include "platform/snmp/decode.h"

namespace IpSnmp {

namespace {

std::int32_t asnInteger(int value, unsigned char* buffer, std::int32_t size) {
  return Snmp::SnmpConvert<int, Snmp::S32ToAsnIntegerF>(value, buffer, size);
}

/// IANAipRouteProtocol (IANA-RTPROTO-MIB), of which the protocol map, that of ipCidrRouteProto,
/// knows fewer. Any other type is other(1).
constexpr std::pair<Routing::Fib::RouteType, int> inetProtocols[] = {
    // local(2): of the kernel itself, as the routes of an interface's own prefixes.
    {Routing::Fib::routeTypeConnected, ipRouteProtocolLocal},
    // netmgmt(3): static routes (IANA-RTPROTO-MIB).
    {Routing::Fib::routeTypeStatic, ipRouteProtocolNetmgmt},
    {Routing::Fib::routeTypeRedirect, ipRouteProtocolIcmp},
    {Routing::Fib::routeTypeRip, ipRouteProtocolRip},
    {Routing::Fib::routeTypeIsIs, ipRouteProtocolIsIs},
    {Routing::Fib::routeTypeOspf, ipRouteProtocolOspf},
    {Routing::Fib::routeTypeOspfInterArea, ipRouteProtocolOspf},
    {Routing::Fib::routeTypeOspfExternal1, ipRouteProtocolOspf},
    {Routing::Fib::routeTypeOspfExternal2, ipRouteProtocolOspf},
    {Routing::Fib::routeTypeOspfNssaExternal1, ipRouteProtocolOspf},
    {Routing::Fib::routeTypeOspfNssaExternal2, ipRouteProtocolOspf},
    {Routing::Fib::routeTypeBgp, ipRouteProtocolBgp},
    {Routing::Fib::routeTypeInternalBgp, ipRouteProtocolBgp},
    {Routing::Fib::routeTypeEigrp, ipRouteProtocolCiscoEigrp},
    {Routing::Fib::routeTypeDhcp, 19}};  // newer than IpRouteProtocol

}  // namespace

std::int32_t IpRoutingToAsnInteger(bool routing, unsigned char* buffer, std::int32_t size) {
  // No TruthValue, though it has the same numbers: forwarding(1), notForwarding(2).
  return asnInteger(routing ? 1 : 2, buffer, size);
}

std::int32_t ArpEntryStaticToAsnInteger(Arp::ArpEntryStatus const& entry, unsigned char* buffer,
                                        std::int32_t size) {
  // Never invalid(2): a neighbour that cannot be used has no row.
  return asnInteger(entry.isStatic() ? 4 : 3, buffer, size);
}

std::int32_t RouteMetricToAsnInteger(Routing::RouteMetric const& metric, unsigned char* buffer,
                                     std::int32_t size) {
  return asnInteger(static_cast<std::int32_t>(metric.value()), buffer, size);
}

std::int32_t RouteTypeToAsnInteger(Routing::Fib::RouteType const& routeType, unsigned char* buffer,
                                   std::int32_t size) {
  auto protocol = protocolMap().protocol(routeType).value_or(ipRouteProtocolOther);
  // ipCidrRouteProto begins with other(1).
  if (protocol == 0) protocol = ipRouteProtocolOther;
  MAV_TRACE(snmpTraceHandle(), 6, "protoMap converted " << routeType << " to " << protocol);
  return asnInteger(protocol, buffer, size);
}

std::int32_t RouteTypeToInetProtocol(Routing::Fib::RouteType const& routeType,
                                     unsigned char* buffer, std::int32_t size) {
  auto const* const found =
      std::ranges::find(inetProtocols, routeType, &std::pair<Routing::Fib::RouteType, int>::first);
  bool const isKnown = found != std::end(inetProtocols);
  return asnInteger(isKnown ? found->second : ipRouteProtocolOther, buffer, size);
}

std::int32_t IpAddressPrefixEntryToAsnOid(Mav::Ptr<IpAddressPrefixEntry const> const& entry,
                                          unsigned char* buffer, std::int32_t size) {
  auto const& key = Mav::validPtr(entry)->key();
  // A row is named by its first column that can be read (RFC 2579, RowPointer):
  // ipAddressPrefixOrigin(5). Room for a prefix of IPv6.
  absl::InlinedVector<std::uint32_t, 32> words{1, 3, 6, 1, 2, 1, 4, 32, 1, 5};
  // The row's index: an octet string has its length before it (RFC 2578 section 7.7).
  words.push_back(key.ifIndex());
  words.push_back(static_cast<std::uint32_t>(key.version()));
  words.push_back(static_cast<std::uint32_t>(key.bytes().size()));
  words.insert(words.end(), key.bytes().begin(), key.bytes().end());
  words.push_back(key.length());
  return std::max(0, Snmp::writeBytes(words.data(), words.size() * sizeof words[0], buffer, size));
}

std::int32_t AsnIntegerToIpVersion(void* value) { return Snmp::AsnIntegerToS32(value); }

}  // namespace IpSnmp
