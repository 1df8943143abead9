#include "platform/mav/enumeration.h"

#include <fmt/format.h>

namespace Mav {

// The list is walked: the longest one has some twenty enumerators.
std::string Enumeration::stringValue(std::int32_t value) const {
  for (Enumerator const& e : enumerators) {
    if (e.value == value) return std::string(e.name);
  }
  return fmt::format("{}({})", typeName, value);
}

std::int32_t Enumeration::instance(std::uint32_t number) const {
  for (Enumerator const& e : enumerators) {
    if (static_cast<std::uint32_t>(e.value) == number) return e.value;
  }
  throw RangeException(std::string(typeName));
}

std::int32_t Enumeration::instance(std::string_view name) const {
  for (Enumerator const& e : enumerators) {
    if (e.name == name) return e.value;
  }
  throw RangeException(std::string(typeName));
}

}  // namespace Mav
