#pragma once
// One row of ipCidrRouteTable, fixed for life: a route that changes is deleted and made again. A
// million of them are held: one allocation of 48 octets each, and 24 and a little more in the
// collection.

#include "model/ip_cidr_route_table_index.h"
#include "platform/dovel/routing_values.h"
#include "platform/mav/object.h"

namespace IpSnmp {

class IpCidrRouteTableEntry : public Mav::Counted<IpCidrRouteTableEntry> {
 public:
  IpCidrRouteTableEntry(IpCidrRouteTableIndex const& key, std::uint32_t ifIndex,
                        Routing::RouteMetric metric, Routing::RoutePreference preference,
                        Routing::Fib::RouteType protocol)
      : key_(key),
        ifIndex_(ifIndex),
        metric_(metric),
        protocol_(protocol),
        preference_(preference) {}

  IpCidrRouteTableIndex const& key() const { return key_; }
  std::uint32_t ifIndex() const { return ifIndex_; }
  Routing::RouteMetric const& metric() const { return metric_; }
  Routing::RoutePreference const& preference() const { return preference_; }
  /// As the forwarding table gives it; ProtocolMap has what is served.
  Routing::Fib::RouteType protocol() const { return protocol_; }

 private:
  IpCidrRouteTableIndex const key_;
  std::uint32_t const ifIndex_;
  Routing::RouteMetric const metric_;
  Routing::Fib::RouteType const protocol_;
  Routing::RoutePreference const preference_;  // last: no padding between
};

// What malloc gives in 48 octets.
static_assert(sizeof(IpCidrRouteTableEntry) <= 40);

}  // namespace IpSnmp
