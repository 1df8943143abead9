#include "model/ip_forward_mib.h"

#include <bit>

#include "platform/mav/constructor_parameter.h"

namespace IpSnmp {

namespace {

IpCidrRouteTableIndex firstKey(Dovel::Prefix const& prefix) {
  return {prefix.address(), prefix.mask(), 0, {}};
}

bool isOfSamePrefix(IpCidrRouteTableIndex const& a, IpCidrRouteTableIndex const& b) {
  return a.dest() == b.dest() && a.mask() == b.mask();
}

bool isSame(IpCidrRouteTableEntry const& a, IpCidrRouteTableEntry const& b) {
  return a.ifIndex() == b.ifIndex() && a.metric() == b.metric() &&
         a.preference() == b.preference() && a.protocol() == b.protocol();
}

/// One row, where `place` has come to among the rows of its prefix; those before it go.
void put(IpForwardMib::IpCidrRouteTableMap::Cursor& place, IpCidrRouteTableEntry const& row) {
  auto const& key = row.key();
  while (place && isOfSamePrefix(place.key(), key) && place.key() < key) place.erase();
  if (!place || place.key() != key) {
    place.insert(key, Mav::makeObject<IpCidrRouteTableEntry>(row));
    return;
  }
  // A row that somebody else holds is seen to be another than the new one, even if it is equal.
  if (place.value()->use_count() != 1 || !isSame(*place.value(), row)) {
    place.replace(Mav::makeObject<IpCidrRouteTableEntry>(row));
  }
  place.step();
}

}  // namespace

Mav::Ptr<IpCidrRouteTableEntry> IpForwardMib::ipCidrRouteTableIs(
    IpCidrRouteTableIndex const& key, std::uint32_t ifIndex, Routing::RouteMetric const& metric,
    Routing::RoutePreference const& preference, Routing::Fib::RouteType protocol) {
  return ipCidrRouteTable_.is(
      key,
      [&] {
        return Mav::makeObject<IpCidrRouteTableEntry>(key, ifIndex, metric, preference, protocol);
      },
      [&](IpCidrRouteTableEntry const& existing) {
        Mav::checkConstructorParameter("_ifIndex", ifIndex, existing.ifIndex());
        Mav::checkConstructorParameter("_metric", metric, existing.metric());
        Mav::checkConstructorParameter("_preference", preference, existing.preference());
        Mav::checkConstructorParameter("_protocol", protocol, existing.protocol());
      });
}

void IpForwardMib::ipCidrRoutesAre(Dovel::Prefix const& prefix, std::span<Hop const> hops,
                                   Routing::RouteMetric const& metric,
                                   Routing::RoutePreference const& preference,
                                   Routing::Fib::RouteType protocol) {
  auto const first = firstKey(prefix);
  auto const key = [&](Hop const& hop) {
    return IpCidrRouteTableIndex(first.dest(), first.mask(), first.tos(), hop.nextHop);
  };
  if (isHeard()) {
    for (auto row = ipCidrRouteTableMap().atOrAfter(first); row && isOfSamePrefix(row.key(), first);
         ++row) {
      ipCidrRouteTableDel(row.key());
    }
    for (auto const& hop : hops) {
      ipCidrRouteTableIs(key(hop), hop.ifIndex, metric, preference, protocol);
    }
    return;
  }
  place_.seek(first);
  for (auto const& hop : hops) {
    put(place_, IpCidrRouteTableEntry(key(hop), hop.ifIndex, metric, preference, protocol));
  }
  while (place_ && isOfSamePrefix(place_.key(), first)) place_.erase();
}

std::optional<Dovel::Prefix> IpForwardMib::ipCidrRoutePrefix(Dovel::Prefix const& from) const {
  auto const row = ipCidrRouteTableMap().firstAtOrAfter(
      [first = firstKey(from)](IpCidrRouteTableIndex const& key) { return key <=> first; });
  if (!row) return std::nullopt;
  auto const& key = row.key();
  return Dovel::Prefix(key.dest(), static_cast<unsigned>(std::popcount(key.mask().value())));
}

Mav::AttributeTable const& IpForwardMib::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::collectionAttribute<nullptr, &IpForwardMib::ipCidrRouteTableDel>("ipCidrRouteTable")};
  return table;
}

Mav::Ptr<IpForwardMib> ipForwardMibFactory(Mav::Name name) {
  return Mav::makeObject<IpForwardMib>(std::move(name));
}

}  // namespace IpSnmp
