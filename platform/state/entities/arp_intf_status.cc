#include "platform/state/entities/arp_intf_status.h"

namespace Arp {

Mav::AttributeTable const& ArpIntfStatus::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::collectionAttribute<nullptr, &ArpIntfStatus::arpEntryDel>("arpEntry")};
  return table;
}

}  // namespace Arp
