#include "platform/state/entities/intf_status.h"

namespace Interface {

Mav::AttributeTable const& IntfStatus::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::plainAttribute<&IntfStatus::intfId>("intfId"),
      Mav::plainAttribute<&IntfStatus::ifIndex>("ifIndex"),
      Mav::plainAttribute<&IntfStatus::operUp, &IntfStatus::operUpIs>("operUp")};
  return table;
}

}  // namespace Interface
