#pragma once
// What the handlers of IP-FORWARD-MIB's objects serve, mounted at "snmp/ip/ipforwardmib". The route
// state machines are its only writers. As IpMib in all else (ip_mib.h).

#include <optional>
#include <span>

#include "model/inet_cidr_routes.h"
#include "model/ip_cidr_route_table_entry.h"
#include "platform/dovel/prefix.h"
#include "platform/mav/announced_map.h"
#include "platform/mav/ordered_map_cursor.h"

namespace IpSnmp {

class IpForwardMib : public Mav::Entity {
 public:
  // Where the handlers look for it, and the wiring mounts it.
  static constexpr std::string_view path = "snmp/ip/ipforwardmib";

  // The other table has no attribute: it is a view, and announces nothing.
  static constexpr Mav::AttributeId ipCidrRouteTableAttributeId = Mav::firstAttributeId;

  /// Nobody in the agent hears it: the price of one who does is a descent, and a call, for each row
  /// that changes (ipCidrRoutesAre()).
  class NotifieeConst : public Mav::Notifiee<IpForwardMib const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// One row came or went.
    virtual void onIpCidrRouteTable(IpCidrRouteTableIndex const& /*key*/) {}
    /// The collection changed as a whole.
    virtual void onIpCidrRouteTable() {}
  };

  /// ipForwardMibFactory makes the one that is served.
  explicit IpForwardMib(Mav::Name name) : Entity(std::move(name)) {}

  // Row by row, as the other caches are changed. The state machine changes prefixes whole, below.
  using IpCidrRouteTableMap = Mav::OrderedMap<IpCidrRouteTableIndex, IpCidrRouteTableRow>;
  using IpCidrRouteTableIteratorConst = IpCidrRouteTableMap::IteratorConst;
  IpCidrRouteTableMap const& ipCidrRouteTableMap() const { return ipCidrRouteTable_.map(); }
  /// The row as it is now; null when there is none.
  Mav::Ptr<IpCidrRouteTableEntry const> ipCidrRouteTable(IpCidrRouteTableIndex const& key) const;
  // Rows by value, so that both iterators show the same.
  auto ipCidrRouteTableIterator() const { return ipCidrRouteTable_.map().first(); }
  auto ipCidrRouteTableIterator() { return ipCidrRouteTable_.map().first(); }
  void ipCidrRouteTableDel(IpCidrRouteTableIndex const& key) { ipCidrRouteTable_.del(key); }
  void ipCidrRouteTableDelAll() { ipCidrRouteTable_.delAll(); }
  /// Makes the row. NameInUseException when there is one that was made otherwise. The entry is the
  /// caller's; the collection keeps a row by value.
  Mav::Ptr<IpCidrRouteTableEntry> ipCidrRouteTableIs(IpCidrRouteTableIndex const& key,
                                                     std::uint32_t ifIndex,
                                                     Routing::RouteMetric const& metric,
                                                     Routing::RoutePreference const& preference,
                                                     Routing::Fib::RouteType protocol);

  /// One next hop of a prefix: what its row has of its own.
  /// The rows of one prefix differ in these alone: metric, preference and protocol are its route's.
  struct RowHop {
    Dovel::IpAddr nextHop;
    std::uint32_t ifIndex = 0;
    bool hasNextHop6 = false;  // instead of nextHop
    bool operator==(RowHop const&) const = default;
  };
  /// The prefix has these rows from now on, and no other: every row of it is deleted, and then one
  /// made for each hop. `hops` are in the order of their next hops, which differ. While nobody
  /// listens, the rows change in place, which nobody can tell from that; prefixes that come in
  /// their order then cost no descent.
  void ipCidrRoutesAre(Dovel::Prefix const& prefix, std::span<RowHop const> hops,
                       Routing::RouteMetric const& metric,
                       Routing::RoutePreference const& preference,
                       Routing::Fib::RouteType protocol);
  /// The prefix has no rows from now on.
  void ipCidrRoutesDel(Dovel::Prefix const& prefix) { ipCidrRoutesAre(prefix, {}, {}, {}, {}); }
  /// The first prefix from a place on that has rows.
  /// By which a comparison finds what has gone unnoticed (BasicRouteStatus::filedRoute).
  std::optional<Dovel::Prefix> ipCidrRoutePrefix(PrefixOrder order) const;

  /// The number of rows: ipCidrRouteNumber.
  std::size_t ipCidrRouteTables() const { return ipCidrRouteTableMap().size(); }

  /// The rows of inetCidrRouteTable; those above are among them.
  /// Not announced, in neither family.
  InetCidrRoutes const& inetCidrRoutes() const { return inetCidrRoutes_; }
  InetCidrRoutes& inetCidrRoutes() { return inetCidrRoutes_; }

  std::span<std::string_view const> attributeNames() const override;

 private:
  Mav::AnnouncedMap<IpCidrRouteTableMap, NotifieeConst, ipCidrRouteTableAttributeId,
                    &NotifieeConst::onIpCidrRouteTable>
      ipCidrRouteTable_{*this};
  // Where the last prefix was filed.
  IpCidrRouteTableMap::Cursor place_{ipCidrRouteTable_.map()};
  // Behind the collection, which it refers to.
  InetCidrRoutes inetCidrRoutes_{ipCidrRouteTable_.map()};
};

/// Without rows, and without ages.
Mav::Ptr<IpForwardMib> ipForwardMibFactory(Mav::Name name);

}  // namespace IpSnmp
