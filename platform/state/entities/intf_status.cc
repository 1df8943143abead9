#include "platform/state/entities/intf_status.h"

namespace Interface {

void IntfStatus::operUpIs(bool operUp) {
  if (operUp_ == operUp) return;
  operUp_ = operUp;
  notifiees_.notify(operUpAttributeId, [](NotifieeConst& n) { n.onOperUp(); });
}

Mav::AttributeTable const& IntfStatus::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::plainAttribute<&IntfStatus::intfId>("intfId"),
      Mav::plainAttribute<&IntfStatus::ifIndex>("ifIndex"),
      Mav::plainAttribute<&IntfStatus::operUp, &IntfStatus::operUpIs>("operUp")};
  return table;
}

}  // namespace Interface
