#include "model/inet_cidr_routes.h"

namespace IpSnmp {

namespace {

InetCidrRouteRow rowOf(IpCidrRouteTableIndex const& key, IpCidrRouteTableRow const& row) {
  // The next hop may be an IPv6 one (RTA_VIA), which the index of these rows has no place for.
  bool const isRemote = row.hasNextHop6() || !key.nextHop().isUnspecified();
  return {row.ifIndex(), row.metric(), isRemote ? inetCidrRouteTypeRemote : inetCidrRouteTypeLocal,
          row.protocol()};
}

/// Of a hop and a refusal, whose prefixes differ.
bool isBefore(IpCidrRouteTableIndex const& hop, Dovel::Prefix const& refused) {
  if (hop.dest() != refused.address()) return hop.dest() < refused.address();
  return hop.length() < refused.length();
}

}  // namespace

InetCidrRouteTableIndex InetCidrRoutes::keyOf(IpCidrRouteTableIndex const& hop) {
  // A route over the link itself has a next hop of type unknown(0), without octets (RFC 4292,
  // inetCidrRouteNextHopType).
  bool const hasNextHop = !hop.nextHop().isUnspecified();
  return {TypedInetAddress(hop.dest()), hop.length(),
          hasNextHop ? TypedInetAddress(hop.nextHop()) : TypedInetAddress()};
}

auto InetCidrRoutes::first() const -> IteratorConst {
  // The constructor settles on the lesser one of both, or else on the first of IPv6.
  return {*this, hops_.first(), refusals_.first()};
}

auto InetCidrRoutes::at(Key const& key) const -> IteratorConst {
  // By its place among the rows: a key does not tell which of the three collections has it.
  auto found = firstAtOrAfter([&key](Key const& other) { return other <=> key; });
  return found && found.key() == key ? found : IteratorConst();
}

std::optional<Dovel::Prefix> InetCidrRoutes::refusal(PrefixOrder order) const {
  auto const found = refusals_.firstAtOrAfter(
      [&](Dovel::Prefix const& prefix) { return order(prefix.address(), prefix.length()); });
  return found ? std::optional(found.key()) : std::nullopt;
}

std::optional<Dovel::Ip6Prefix> InetCidrRoutes::route(Prefix6Order order) const {
  auto const found = routes6_.firstAtOrAfter(
      [&](Inet6RouteKey const& key) { return order(key.address(), key.length(), key.zone()); });
  return found ? std::optional(found.key().prefix()) : std::nullopt;
}

void InetCidrRoutes::routesAre(Dovel::Ip6Prefix const& prefix, std::span<Inet6RouteHop const> hops,
                               Routing::RouteMetric const& metric) {
  // Old rows and new hops are in the same order: one walk along both erases, replaces and inserts.
  place_.seek({prefix, {}, 0});
  for (auto const& hop : hops) {
    Inet6RouteKey const key(prefix, hop.nextHop, hop.ifIndex);
    while (place_ && place_.key().isOf(prefix) && place_.key() < key) place_.erase();
    Inet6RouteRow const row(metric, hop.type, hop.protocol);
    if (place_ && place_.key() == key) {
      place_.replace(row);
      place_.step();
    } else {
      place_.insert(key, row);
    }
  }
  while (place_ && place_.key().isOf(prefix)) place_.erase();
}

std::uint32_t InetCidrRoutes::IteratorConst::age() const {
  // The route is looked for now, by the prefix of the row: it may be another route by now, or none.
  auto const* const ages = routes_ ? routes_->ages_ : nullptr;
  if (!ages) return 0;
  switch (source_) {
    case Source::hop:
      return ages->age(Dovel::Prefix(hop_.key().dest(), hop_.key().length()));
    case Source::refusal:
      return ages->age(refusal_.key());
    case Source::route6:
      return ages->age(route6_.key().prefix());
    case Source::none:
      break;
  }
  return 0;
}

auto InetCidrRoutes::IteratorConst::operator++() -> IteratorConst& {
  switch (source_) {
    case Source::hop:
      ++hop_;
      settle4();
      break;
    case Source::refusal:
      ++refusal_;
      settle4();
      break;
    case Source::route6:
      ++route6_;
      settle6();
      break;
    case Source::none:
      break;
  }
  return *this;
}

void InetCidrRoutes::IteratorConst::settle4() {
  // Both iterators stand on their next row; that of the other collection waits.
  if (hop_ && (!refusal_ || isBefore(hop_.key(), refusal_.key()))) {
    source_ = Source::hop;
    key_ = keyOf(hop_.key());
    row_ = rowOf(hop_.key(), hop_.value());
  } else if (refusal_) {
    source_ = Source::refusal;
    key_ = keyOf(refusal_.key());
    row_ = refusal_.value();
  } else {
    // The index begins with the type of address: ipv4(1) is before ipv6(2) (RFC 4001).
    route6_ = routes_->routes6_.first();
    settle6();
  }
}

void InetCidrRoutes::IteratorConst::settle6() {
  source_ = route6_ ? Source::route6 : Source::none;
  if (!route6_) return;
  auto const& row = route6_.value();
  key_ = keyOf(route6_.key());
  row_ = {route6_.key().ifIndex(), row.metric(), row.type(), row.protocol()};
}

}  // namespace IpSnmp
