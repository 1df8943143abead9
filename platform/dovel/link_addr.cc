#include "platform/dovel/link_addr.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "platform/mav/exception.h"

namespace Dovel {

LinkAddr::LinkAddr(std::span<std::uint8_t const> octets) {
  if (octets.size() > sizeMax) {
    throw Mav::RangeException(
        fmt::format("link address of {} octets, at most {} are possible", octets.size(), sizeMax));
  }
  std::copy(octets.begin(), octets.end(), octets_.begin());
  size_ = static_cast<std::uint8_t>(octets.size());
}

std::string LinkAddr::stringValue() const {
  return fmt::format("{:02x}", fmt::join(octets(), ":"));
}

}  // namespace Dovel
