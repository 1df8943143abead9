#include "platform/state/entities/ip_status.h"

namespace Ip {

void IpIntfStatus::activeAddrWithMaskIs(Dovel::IpAddrWithMask const& activeAddrWithMask) {
  if (activeAddrWithMask_ == activeAddrWithMask) return;
  activeAddrWithMask_ = activeAddrWithMask;
  notifiees_.notify(activeAddrWithMaskAttributeId,
                    [](NotifieeConst& n) { n.onActiveAddrWithMask(); });
}

Mav::AttributeTable const& IpIntfStatus::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::plainAttribute<&IpIntfStatus::intfId>("intfId"),
      Mav::plainAttribute<&IpIntfStatus::activeAddrWithMask, &IpIntfStatus::activeAddrWithMaskIs>(
          "activeAddrWithMask")};
  return table;
}

Mav::Ptr<IpIntfStatus> Status::ipIntfStatusIs(Dovel::IntfId const& intfId) {
  return ipIntfStatus_.is(intfId, [&] { return Mav::makeObject<IpIntfStatus>(intfId); });
}

Mav::AttributeTable const& Status::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::collectionAttribute<&Status::ipIntfStatusIs, &Status::ipIntfStatusDel>("ipIntfStatus")};
  return table;
}

}  // namespace Ip
