#include "platform/dovel/eth_addr.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace Dovel {

namespace {

// A group is two hexadecimal digits, behind a colon but for the first.
bool parseGroup(char const* at, bool first, std::uint8_t& octet) {
  if (!first && at[-1] != ':') return false;
  // Both digits have to be taken: from_chars is content with one.
  return std::from_chars(at, at + 2, octet, 16).ptr == at + 2;
}

}  // namespace

EthAddr::EthAddr(std::string_view text) {
  // The length first: what is read below then lies within the text.
  bool valid = text.size() == 3 * octets_.size() - 1;
  for (std::size_t i = 0; valid && i < octets_.size(); ++i) {
    valid = parseGroup(text.data() + 3 * i, i == 0, octets_[i]);
  }
  if (!valid) {
    throw Mav::RangeException(fmt::format("invalid Ethernet address '{}'", Mav::escaped(text)));
  }
}

EthAddr EthAddr::fromBytes(std::span<std::uint8_t const> bytes) {
  Octets octets{};
  if (bytes.size() != octets.size()) {
    throw Mav::RangeException(
        fmt::format("a link address of {} octets is no Ethernet address", bytes.size()));
  }
  std::copy(bytes.begin(), bytes.end(), octets.begin());
  return EthAddr(octets);
}

std::string EthAddr::stringValue() const { return fmt::format("{:02x}", fmt::join(octets_, ":")); }

}  // namespace Dovel
