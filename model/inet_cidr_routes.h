#pragma once
// The rows of inetCidrRouteTable (RFC 4292), of both families. The route state machines write it,
// the handler of the table reads it, all on the agent's thread.
//
//   hops (ipCidrRouteTable) ─┬─► by prefix: ipv4(1) ─┐
//   refusals ────────────────┘                       ├─► the rows, in the order of instances
//   routes6 ────────────────────► ipv6(2), ipv6z(4) ─┘
//
// Those of IPv4 are a view of the rows of ipCidrRouteTable, which are kept once, merged with the
// routes that refuse, which that table does not have. Behind them, as their InetAddressTypes are,
// stand those of IPv6: ipv6(2), then ipv6z(4). A quarter of a million of these are held, by value,
// in 47 octets each. No notifications.
//
// An iterator lives within a request: it survives changes as those of Mav::OrderedMap do, but may
// then show once more a row that has gone.

#include <optional>
#include <span>

#include <absl/functional/function_ref.h>

#include "model/inet6_route_row.h"
#include "model/inet_cidr_route_table_index.h"
#include "model/ip_cidr_route_table_entry.h"
#include "platform/dovel/prefix.h"
#include "platform/mav/ordered_map_cursor.h"

namespace IpSnmp {

/// How a prefix, told by its parts, stands to a place in the order of prefixes, which need not be
/// one.
using PrefixOrder = absl::FunctionRef<std::strong_ordering(Dovel::IpAddr const&, unsigned length)>;
using Prefix6Order = absl::FunctionRef<std::strong_ordering(Dovel::Ip6Addr const&, unsigned length,
                                                            std::uint32_t zone)>;

/// When routes changed, as far as the publisher saw it. Implemented over the shared tables
/// (plugin/route_ages.h).
class RouteAges {
 public:
  virtual ~RouteAges() = default;
  /// Seconds; 0 when that is not known, or cannot be read now. Never blocks. Called from inside a
  /// request, on the agent's thread.
  virtual std::uint32_t age(Dovel::Prefix const& prefix) const = 0;
  virtual std::uint32_t age(Dovel::Ip6Prefix const& prefix) const = 0;
};

class InetCidrRoutes {
 public:
  // One collection for each kind of row. A prefix of IPv4 has rows in one of the first two, never
  // in both: it forwards, or it refuses (IpRouteTableSm).
  using HopMap = Mav::OrderedMap<IpCidrRouteTableIndex, IpCidrRouteTableRow>;
  using RefusalMap = Mav::OrderedMap<Dovel::Prefix, InetCidrRouteRow>;
  using Inet6Map = Mav::OrderedMap<Inet6RouteKey, Inet6RouteRow>;
  using Key = InetCidrRouteTableIndex;
  class IteratorConst;

  /// `hops` are the rows of ipCidrRouteTable; they must outlive this.
  explicit InetCidrRoutes(HopMap const& hops) : hops_(hops) {}

  /// The number of rows: inetCidrRouteNumber.
  std::size_t size() const { return hops_.size() + refusals_.size() + routes6_.size(); }

  /// On the first row of all; at the end when there is none. The iterator must not outlive this.
  IteratorConst first() const;
  /// On the row of `key`; at the end when there is none.
  IteratorConst at(Key const& key) const;
  /// As those of Mav::OrderedMap: a descent in each collection of IPv4, and one among the rows of
  /// IPv6 where IPv4 has none behind the place.
  template <class Order>
  IteratorConst firstAfter(Order const& order) const;
  template <class Order>
  IteratorConst firstAtOrAfter(Order const& order) const;

  /// The IPv4 route of this prefix refuses; its row is this. Rows that the prefix has among `hops`
  /// are not touched: the state machine deletes them in the same pass.
  void refusalIs(Dovel::Prefix const& prefix, InetCidrRouteRow const& row) {
    refusals_.put(prefix, row);
  }
  void refusalDel(Dovel::Prefix const& prefix) {
    // Every route that carries traffic comes by here, and few machines have one that refuses.
    if (!refusals_.empty()) refusals_.erase(prefix);
  }
  /// The first prefix from a place on that refuses. By it, and by route(), a comparison
  /// finds rows whose route has gone unnoticed.
  std::optional<Dovel::Prefix> refusal(PrefixOrder order) const;

  /// The IPv6 prefix has these rows from now on, and no other. `rows` are in the order of
  /// Inet6RouteHop, and differ in it. Prefixes that come in their order cost no descent.
  void routesAre(Dovel::Ip6Prefix const& prefix, std::span<Inet6RouteHop const> hops,
                 Routing::RouteMetric const& metric);
  /// The first prefix from a place on that has rows.
  std::optional<Dovel::Ip6Prefix> route(Prefix6Order order) const;

  /// Null: no age is known. `ages` must outlive its use: it is asked when a manager reads the
  /// column, and for that row alone.
  void agesAre(RouteAges const* ages) { ages_ = ages; }

 private:
  /// The order of the collection's own keys, given that of `Key`.
  template <class Order>
  static auto byKey(Order const& order) {
    return [&order](auto const& own) { return order(keyOf(own)); };
  }
  // The instance that a row of each collection has. Order is kept by them: what stands first in a
  // collection stands first among the instances.
  static Key keyOf(IpCidrRouteTableIndex const& hop);
  static Key keyOf(Dovel::Prefix const& refused) {
    return {TypedInetAddress(refused.address()), refused.length(), {}};
  }
  static Key keyOf(Inet6RouteKey const& route) {
    return {route.dest(), route.length(), route.nextHop()};
  }

  HopMap const& hops_;
  RefusalMap refusals_;  // of IPv4
  Inet6Map routes6_;
  // Where the last prefix was filed: a pass files prefixes in order.
  Inet6Map::Cursor place_{routes6_};
  RouteAges const* ages_ = nullptr;
};

/// Stands on a row, or at the end, where it is false.
class InetCidrRoutes::IteratorConst {
 public:
  /// At the end of nothing.
  IteratorConst() = default;

  explicit operator bool() const { return source_ != Source::none; }
  /// Of the row, as it was when the iterator came to it; it stays so when the row changes or goes.
  Key const& key() const { return key_; }
  InetCidrRouteRow const& value() const { return row_; }
  InetCidrRouteRow const* operator->() const { return &row_; }
  /// Of the row's route (RouteAges); read when it is asked for.
  std::uint32_t age() const;

  IteratorConst& operator++();

 private:
  friend class InetCidrRoutes;
  enum class Source { none, hop, refusal, route6 };

  IteratorConst(InetCidrRoutes const& routes, HopMap::IteratorConst const& hop,
                RefusalMap::IteratorConst const& refusal)
      : routes_(&routes), hop_(hop), refusal_(refusal) {
    settle4();
  }
  IteratorConst(InetCidrRoutes const& routes, Inet6Map::IteratorConst const& route6)
      : routes_(&routes), route6_(route6) {
    settle6();
  }
  bool isOf4() const { return source_ == Source::hop || source_ == Source::refusal; }
  /// On the first of IPv4 from here, or else the first of IPv6. Both take key and row from the
  /// collection that has it.
  void settle4();
  void settle6();

  InetCidrRoutes const* routes_ = nullptr;
  // Within IPv4 both stand on their next row, of which settle4() shows the lesser one.
  HopMap::IteratorConst hop_;
  RefusalMap::IteratorConst refusal_;
  Inet6Map::IteratorConst route6_;
  Source source_ = Source::none;
  // Copies, so that a row that goes can still be read.
  Key key_;
  InetCidrRouteRow row_;
};

template <class Order>
auto InetCidrRoutes::firstAfter(Order const& order) const -> IteratorConst {
  IteratorConst found{*this, hops_.firstAfter(byKey(order)), refusals_.firstAfter(byKey(order))};
  // Behind the last of IPv4 it stands on the first of IPv6, which may lie before the place: that
  // family is searched as well.
  if (found.isOf4()) return found;
  return {*this, routes6_.firstAfter(byKey(order))};
}

template <class Order>
auto InetCidrRoutes::firstAtOrAfter(Order const& order) const -> IteratorConst {
  IteratorConst found{*this, hops_.firstAtOrAfter(byKey(order)),
                      refusals_.firstAtOrAfter(byKey(order))};
  if (found.isOf4()) return found;
  return {*this, routes6_.firstAtOrAfter(byKey(order))};
}

}  // namespace IpSnmp
