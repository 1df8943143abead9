#include "model/ip_forward_mib.h"

#include "platform/mav/constructor_parameter.h"

namespace IpSnmp {

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

Mav::AttributeTable const& IpForwardMib::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::collectionAttribute<nullptr, &IpForwardMib::ipCidrRouteTableDel>("ipCidrRouteTable")};
  return table;
}

void IpForwardMib::notifyIsNondestructing() {
  notifiees_.notify(Mav::isNondestructingAttributeId,
                    [](NotifieeConst& n) { n.onIsNondestructing(); });
}

Mav::Ptr<IpForwardMib> ipForwardMibFactory(Mav::Name name) {
  return Mav::makeObject<IpForwardMib>(std::move(name));
}

}  // namespace IpSnmp
