#include "platform/pondo/fib/first_prefix.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "platform/pondo/tables/format.h"

namespace Pondo::Fib {

template <>
std::optional<Dovel::Prefix> firstPrefix(std::string_view from) {
  std::uint64_t number = 0;  // the address, then eight bits of length
  for (std::size_t i = 0; i < Format::routeKeySize; ++i) {
    number = number << 8U | (i < from.size() ? static_cast<unsigned char>(from[i]) : 0U);
  }
  // A longer text stands behind the key that it begins with.
  if (from.size() > Format::routeKeySize) ++number;
  // Not all bytes name a prefix: an address has no length that would cut off one of its bits.
  for (auto address = number >> 8U; address <= 0xffffffffU; ++address) {
    // The second address at the latest has one: all of its 32 bits.
    Dovel::IpAddr const addr(static_cast<std::uint32_t>(address));
    auto const hostBits = std::min(std::countr_zero(addr.value()), 32);
    auto const least = std::max<unsigned>(Dovel::IpAddr::bits - static_cast<unsigned>(hostBits),
                                          address == number >> 8U ? number & 0xffU : 0U);
    if (least <= Dovel::IpAddr::bits) return Dovel::Prefix(addr, least);
  }
  return std::nullopt;
}

namespace {

/// A place among the keys of IPv6 routes, which need not be one.
class Place {
 public:
  explicit Place(std::string_view from);
  /// The first key from here on.
  std::optional<Dovel::Ip6Prefix> prefix();

 private:
  using Octets = Dovel::Ip6Addr::Octets;
  static constexpr Octets linkLocalFirst{0xfe, 0x80};
  static constexpr Octets linkLocalEnd{0xfe, 0xc0};

  // What decodeKey<Route6Table>() asks of bytes (tables/fib_codec.cc).
  bool isKey() const {
    return length_ <= Dovel::Ip6Addr::bits && isZoned_ == (zone_ != 0) &&
           Dovel::Ip6Prefix::isZoned(Dovel::Ip6Addr(address_), length_) == isZoned_ &&
           Dovel::Ip6Addr(address_).masked(length_) == Dovel::Ip6Addr(address_);
  }
  void advance();
  void toLinkLocal();
  void toNextAddress();
  unsigned leastLength() const;

  // The parts of a key, each of which may have a value that no key has; `isPast_`: behind all keys.
  bool isPast_ = false;
  bool isZoned_ = false;
  Octets address_{};
  std::uint32_t zone_ = 0;
  unsigned length_ = 0;
};

Place::Place(std::string_view from) {
  std::array<std::uint8_t, Format::route6KeySize> bytes{};
  std::copy_n(from.begin(), std::min(from.size(), bytes.size()), bytes.begin());
  // What is missing of a text counts as zeros: with them its bytes come as early as they can.
  isPast_ = bytes[0] > 1;
  isZoned_ = bytes[0] == 1;
  std::copy_n(bytes.begin() + 1, address_.size(), address_.begin());
  for (auto i = address_.size() + 1; i < bytes.size() - 1; ++i) zone_ = zone_ << 8U | bytes[i];
  length_ = bytes.back() + (from.size() > bytes.size() ? 1U : 0U);
}

std::optional<Dovel::Ip6Prefix> Place::prefix() {
  while (!isPast_ && !isKey()) advance();
  if (isPast_) return std::nullopt;
  return Dovel::Ip6Prefix(Dovel::Ip6Addr(address_), length_, zone_);
}

/// To the next place that may be a key: no key lies between.
void Place::advance() {
  // Each case goes on from the reason why this place is no key, and never beyond the next key.
  bool const isLinkLocal = Dovel::Ip6Addr(address_).isLinkLocal();
  if (isZoned_ && !isLinkLocal) {
    if (address_ < linkLocalFirst) return toLinkLocal();
    isPast_ = true;
  } else if (isZoned_ && zone_ == 0) {
    // Zones are ifIndexes, from 1 on.
    zone_ = 1;
    length_ = 0;
  } else if (!isZoned_ && zone_ != 0) {
    // A key without a zone has zeros there: those of this address stand before.
    toNextAddress();
  } else if (length_ > Dovel::Ip6Addr::bits) {
    // Behind the longest prefix. A zone that has become 0 was the last.
    length_ = 0;
    if (!isZoned_ || ++zone_ == 0) toNextAddress();
  } else if (length_ < leastLength()) {
    length_ = leastLength();
  } else if (!isZoned_) {  // of a link-local prefix, which has one
    address_ = linkLocalEnd;
    length_ = 0;
  } else {
    ++length_;  // fe80::/9 has none
  }
}

void Place::toLinkLocal() {
  isZoned_ = true;
  address_ = linkLocalFirst;
  zone_ = 1;
  length_ = 0;
}

void Place::toNextAddress() {
  zone_ = 0;
  length_ = 0;
  auto octet = address_.rbegin();
  // As a number of 128 bits; past the last address all octets are 0 again.
  while (octet != address_.rend() && ++*octet == 0) ++octet;
  if (octet != address_.rend()) return;
  if (isZoned_) {
    isPast_ = true;
  } else {
    toLinkLocal();
  }
}

/// That leaves no host bits.
unsigned Place::leastLength() const {
  unsigned length = Dovel::Ip6Addr::bits;
  for (auto octet = address_.rbegin(); octet != address_.rend(); ++octet, length -= 8) {
    if (*octet != 0) return length - static_cast<unsigned>(std::countr_zero(*octet));
  }
  return 0;
}

}  // namespace

template <>
std::optional<Dovel::Ip6Prefix> firstPrefix(std::string_view from) {
  return Place(from).prefix();
}

}  // namespace Pondo::Fib
