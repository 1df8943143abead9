#include "platform/dovel/intf_id.h"

#include <algorithm>

#include <fmt/format.h>

namespace Dovel {

IntfId::IntfId(std::string_view name) {
  if (name.size() > sizeMax) {
    throw Mav::RangeException(
        fmt::format("interface name '{}' is longer than {} bytes", Mav::escaped(name), sizeMax));
  }
  // The name is kept up to its first NUL: what stood behind would be lost in silence.
  if (name.find('\0') != std::string_view::npos) {
    throw Mav::RangeException(
        fmt::format("interface name '{}' holds a NUL byte", Mav::escaped(name)));
  }
  std::copy(name.begin(), name.end(), name_.begin());
}

std::string IntfId::stringValue() const {
  return number_ == 0 ? std::string(name()) : fmt::format("{}#{}", name(), number_);
}

}  // namespace Dovel
