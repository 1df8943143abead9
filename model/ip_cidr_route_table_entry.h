#pragma once
// One row of ipCidrRouteTable, fixed for life: a route that changes is deleted and made again.
//
// A million of them are held. The collection keeps of each what its key does not say, by value: 12
// octets beside the key's 16, no allocation: 28, where a row on the heap would take 72 and a
// pointer to follow at each step of a walk. The entry itself is made for whoever asks for one, and
// stays as the row was then.

#include "model/ip_cidr_route_table_index.h"
#include "platform/dovel/routing_values.h"
#include "platform/mav/object.h"

namespace IpSnmp {

/// What a row has beside its key. Neither its age nor its fec is in it: the one is read in the
/// shared tables by whoever asks, the other is in the FecRouteList.
class IpCidrRouteTableRow {
 public:
  IpCidrRouteTableRow() = default;
  /// `protocol` by its number, which fits an octet.
  IpCidrRouteTableRow(std::uint32_t ifIndex, Routing::RouteMetric metric,
                      Routing::RoutePreference preference, Routing::Fib::RouteType protocol,
                      bool hasNextHop6 = false)
      : ifIndex_(ifIndex),
        metric_(metric),
        protocol_(static_cast<std::uint8_t>(protocol)),
        preference_(preference),
        hasNextHop6_(hasNextHop6) {}

  /// 0 where the kernel names no interface (RFC 4292, ipCidrRouteIfIndex).
  std::uint32_t ifIndex() const { return ifIndex_; }
  /// The kernel's priority, served as ipCidrRouteMetric1; the preference is ipCidrRouteMetric2.
  Routing::RouteMetric const& metric() const { return metric_; }
  Routing::RoutePreference const& preference() const { return preference_; }
  /// As the forwarding table gives it; ProtocolMap has what is served.
  Routing::Fib::RouteType protocol() const {
    return static_cast<Routing::Fib::RouteType>(protocol_);
  }
  /// The next hop is an IPv6 one (RFC 8950), for which the key has no place.
  bool hasNextHop6() const { return hasNextHop6_; }
  // By which a row that comes again unchanged is not announced (AnnouncedMap::put).
  bool operator==(IpCidrRouteTableRow const&) const = default;

 private:
  std::uint32_t ifIndex_ = 0;
  Routing::RouteMetric metric_;
  std::uint8_t protocol_ = 0;
  Routing::RoutePreference preference_;
  bool hasNextHop6_ = false;
};

static_assert(sizeof(IpCidrRouteTableRow) == 12);

/// A row with its key, for who looks one up. A walk reads rows in place, and makes none.
class IpCidrRouteTableEntry : public IpCidrRouteTableRow,
                              public Mav::Counted<IpCidrRouteTableEntry> {
 public:
  IpCidrRouteTableEntry(IpCidrRouteTableIndex const& key, IpCidrRouteTableRow const& row)
      : IpCidrRouteTableRow(row), key_(key) {}

  IpCidrRouteTableIndex const& key() const { return key_; }

 private:
  IpCidrRouteTableIndex const key_;
};

}  // namespace IpSnmp
