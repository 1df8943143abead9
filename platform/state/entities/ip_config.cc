#include "platform/state/entities/ip_config.h"

namespace Ip {

void IpIntfConfig::addrWithMaskIs(Dovel::IpAddrWithMask const& addrWithMask) {
  if (addrWithMask_ == addrWithMask) return;
  addrWithMask_ = addrWithMask;
  notifiees_.notify(addrWithMaskAttributeId, [](NotifieeConst& n) { n.onAddrWithMask(); });
}

Mav::AttributeTable const& IpIntfConfig::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::plainAttribute<&IpIntfConfig::intfId>("intfId"),
      Mav::plainAttribute<&IpIntfConfig::addrWithMask, &IpIntfConfig::addrWithMaskIs>(
          "addrWithMask")};
  return table;
}

Mav::Ptr<IpIntfConfig> Config::ipIntfConfigIs(Dovel::IntfId const& intfId) {
  return ipIntfConfig_.is(intfId, [&] { return Mav::makeObject<IpIntfConfig>(intfId); });
}

Mav::AttributeTable const& Config::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::collectionAttribute<&Config::ipIntfConfigIs, &Config::ipIntfConfigDel>("ipIntfConfig")};
  return table;
}

}  // namespace Ip
