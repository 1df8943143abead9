#include "platform/state/entities/arp_neighbor_dir.h"

namespace Arp {

Mav::AttributeTable const& ArpIntfStatus::attributeTable() const {
  static Mav::AttributeTable const table{
      // An address alone makes no neighbour: by name one can be removed and not made.
      Mav::collectionAttribute<nullptr, &ArpIntfStatus::arpEntryDel>("arpEntry")};
  return table;
}

Mav::AttributeTable const& NeighborDir::attributeTable() const {
  static Mav::AttributeTable const table{
      Mav::collectionAttribute<&NeighborDir::arpIntfStatusIs, &NeighborDir::arpIntfStatusDel>(
          "arpIntfStatus")};
  return table;
}

}  // namespace Arp
