#include "platform/pondo/fib/route_status.h"

#include "platform/pondo/fib/forwarding_status.h"

namespace Pondo::Fib {

namespace {
Mav::AttributeTable const& routeAttributes() {
  static Mav::AttributeTable const table{Mav::collectionAttribute<>("route")};
  return table;
}
}  // namespace

template <>
std::string_view RouteStatus::typeName() const {
  return "Pondo::Fib::RouteStatus";
}
template <>
Mav::AttributeTable const& RouteStatus::attributeTable() const {
  return routeAttributes();
}

template <>
std::string_view Route6Status::typeName() const {
  return "Pondo::Fib::Route6Status";
}
template <>
Mav::AttributeTable const& Route6Status::attributeTable() const {
  return routeAttributes();
}

Mav::AttributeTable const& ForwardingStatus::attributeTable() const {
  static Mav::AttributeTable const table{Mav::collectionAttribute<>("fec")};
  return table;
}

}  // namespace Pondo::Fib
