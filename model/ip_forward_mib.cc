#include "model/ip_forward_mib.h"

#include <array>

#include "platform/mav/constructor_parameter.h"

namespace IpSnmp {

namespace {

IpCidrRouteTableIndex firstKey(Dovel::Prefix const& prefix) {
  // No next hop is less than 0.0.0.0: all rows of the prefix stand from here on.
  return {prefix.address(), prefix.mask(), 0, {}};
}

bool isOfSamePrefix(IpCidrRouteTableIndex const& a, IpCidrRouteTableIndex const& b) {
  return a.dest() == b.dest() && a.mask() == b.mask();
}

/// One row, where `place` has come to among the rows of its prefix; those before it go.
void put(IpForwardMib::IpCidrRouteTableMap::Cursor& place, IpCidrRouteTableIndex const& key,
         IpCidrRouteTableRow const& row) {
  while (place && isOfSamePrefix(place.key(), key) && place.key() < key) place.erase();
  if (!place || place.key() != key) return place.insert(key, row);
  place.replace(row);
  place.step();
}

}  // namespace

Mav::Ptr<IpCidrRouteTableEntry const> IpForwardMib::ipCidrRouteTable(
    IpCidrRouteTableIndex const& key) const {
  // Rows are kept by value, for a million of them; an entry is made for whoever asks for one.
  auto const* const row = ipCidrRouteTableMap().find(key);
  return row ? Mav::makeObject<IpCidrRouteTableEntry>(key, *row) : nullptr;
}

Mav::Ptr<IpCidrRouteTableEntry> IpForwardMib::ipCidrRouteTableIs(
    IpCidrRouteTableIndex const& key, std::uint32_t ifIndex, Routing::RouteMetric const& metric,
    Routing::RoutePreference const& preference, Routing::Fib::RouteType protocol) {
  IpCidrRouteTableRow const row(ifIndex, metric, preference, protocol);
  // A row is fixed for life: to change one, it is deleted and made again.
  if (auto const* const existing = ipCidrRouteTableMap().find(key)) {
    Mav::checkConstructorParameter("_ifIndex", ifIndex, existing->ifIndex());
    Mav::checkConstructorParameter("_metric", metric, existing->metric());
    Mav::checkConstructorParameter("_preference", preference, existing->preference());
    Mav::checkConstructorParameter("_protocol", protocol, existing->protocol());
  } else {
    ipCidrRouteTable_.put(key, row);
  }
  return Mav::makeObject<IpCidrRouteTableEntry>(key, row);
}

void IpForwardMib::ipCidrRoutesAre(Dovel::Prefix const& prefix, std::span<RowHop const> hops,
                                   Routing::RouteMetric const& metric,
                                   Routing::RoutePreference const& preference,
                                   Routing::Fib::RouteType protocol) {
  auto const first = firstKey(prefix);
  auto const key = [&](RowHop const& hop) {
    return IpCidrRouteTableIndex(first.dest(), first.mask(), first.tos(), hop.nextHop);
  };
  auto const row = [&](RowHop const& hop) {
    return IpCidrRouteTableRow(hop.ifIndex, metric, preference, protocol, hop.hasNextHop6);
  };
  // Who listens hears of each row that goes, and of each that comes. While nobody does, rows that
  // stay are not touched.
  if (isHeard()) {
    // The iterator finds its next row although its own has gone (Mav::OrderedMap).
    for (auto old = ipCidrRouteTableMap().atOrAfter(first); old && isOfSamePrefix(old.key(), first);
         ++old) {
      ipCidrRouteTableDel(old.key());
    }
    for (auto const& hop : hops) ipCidrRouteTable_.put(key(hop), row(hop));
    return;
  }
  // One walk along the rows and the hops, both in the order of next hops. A row that stays the same
  // is overwritten in its place: an iterator of a walk that stands on it takes its next step
  // without a search.
  place_.seek(first);
  for (auto const& hop : hops) put(place_, key(hop), row(hop));
  while (place_ && isOfSamePrefix(place_.key(), first)) place_.erase();
}

std::optional<Dovel::Prefix> IpForwardMib::ipCidrRoutePrefix(PrefixOrder order) const {
  // One search for each prefix of a comparison, whether it has one row or 128.
  auto const row = ipCidrRouteTableMap().firstAtOrAfter(
      [&](IpCidrRouteTableIndex const& key) { return order(key.dest(), key.length()); });
  if (!row) return std::nullopt;
  return Dovel::Prefix(row.key().dest(), row.key().length());
}

std::span<std::string_view const> IpForwardMib::attributeNames() const {
  static constexpr std::array<std::string_view, 1> names{"ipCidrRouteTable"};
  return names;
}

Mav::Ptr<IpForwardMib> ipForwardMibFactory(Mav::Name name) {
  return Mav::makeObject<IpForwardMib>(std::move(name));
}

}  // namespace IpSnmp
