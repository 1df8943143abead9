#include "platform/pondo/fib/route_status.h"

#include "platform/pondo/fib/forwarding_status.h"

namespace Pondo::Fib {

Mav::AttributeTable const& RouteStatus::attributeTable() const {
  static Mav::AttributeTable const table{Mav::collectionAttribute<>("route")};
  return table;
}

Mav::AttributeTable const& ForwardingStatus::attributeTable() const {
  static Mav::AttributeTable const table{Mav::collectionAttribute<>("fec")};
  return table;
}

}  // namespace Pondo::Fib
