#include "platform/pondo/fib/packed_prefix.h"

#include <algorithm>

#include "platform/pondo/tables/format.h"

namespace Pondo::Fib {
namespace {

/// A key of `size` bytes at the place of `bytes`: what is missing counts as zeros, with which they
/// come as early as they can. What is longer stands behind the key that it begins with, and there
/// is none between that and the next length. No length beyond those that there are tells more.
template <std::size_t size>
std::array<std::uint8_t, size> keyAt(std::string_view bytes, unsigned lengthMax) {
  std::array<std::uint8_t, size> key{};
  std::copy_n(bytes.begin(), std::min(bytes.size(), size), key.begin());
  auto const length = std::min<unsigned>(key.back(), lengthMax + 1);
  key.back() = static_cast<std::uint8_t>(bytes.size() > size ? length + 1 : length);
  return key;
}

}  // namespace

PackedPrefix<Dovel::Prefix>::PackedPrefix(Dovel::IpAddr const& address, unsigned length) {
  auto const octets = address.octets();
  octets_ = {static_cast<std::uint8_t>(length), octets[3], octets[2], octets[1], octets[0]};
}

PackedPrefix<Dovel::Prefix>::PackedPrefix(std::string_view bytes) {
  auto const key = keyAt<Format::routeKeySize>(bytes, Dovel::IpAddr::bits);
  std::reverse_copy(key.begin(), key.end(), octets_.begin());
}

// The address stands above the length: numbers compare as prefixes do.
std::uint64_t PackedPrefix<Dovel::Prefix>::number() const {
  return octets_[0] | std::uint64_t{octets_[1]} << 8U | std::uint64_t{octets_[2]} << 16U |
         std::uint64_t{octets_[3]} << 24U | std::uint64_t{octets_[4]} << 32U;
}

Dovel::Prefix PackedPrefix<Dovel::Prefix>::prefix() const {
  return {Dovel::IpAddr(static_cast<std::uint32_t>(number() >> 8U)), octets_[0]};
}

PackedPrefix<Dovel::Ip6Prefix>::PackedPrefix(Dovel::Ip6Addr const& address, unsigned length,
                                             std::uint32_t zone) {
  auto const& octets = address.octets();
  auto* at = std::copy(octets.begin(), octets.end(), octets_.begin());
  for (unsigned shift = 32; shift > 0;) *at++ = static_cast<std::uint8_t>(zone >> (shift -= 8U));
  *at = static_cast<std::uint8_t>(length);
}

PackedPrefix<Dovel::Ip6Prefix>::PackedPrefix(std::string_view bytes) {
  auto const key = keyAt<Format::route6KeySize>(bytes, Dovel::Ip6Addr::bits);
  std::copy(key.begin() + 1, key.end(), octets_.begin());
  // The first byte of a key says whether it has a zone, which is known here by the zone itself.
  bool const isZoned = key[0] != 0;
  if (key[0] > 1) {
    octets_.fill(0xff);  // behind all
  } else if (isZoned && zone() == 0) {
    octets_[19] = 1;  // before the first zone of the address
    octets_.back() = 0;
  } else if (!isZoned && zone() != 0) {
    std::fill_n(octets_.end() - 5, 4, std::uint8_t{0});  // behind the address
    octets_.back() = 0xff;
  }
}

std::uint32_t PackedPrefix<Dovel::Ip6Prefix>::zone() const {
  return std::uint32_t{octets_[16]} << 24U | std::uint32_t{octets_[17]} << 16U |
         std::uint32_t{octets_[18]} << 8U | octets_[19];
}

Dovel::Ip6Prefix PackedPrefix<Dovel::Ip6Prefix>::prefix() const {
  Dovel::Ip6Addr::Octets address;
  std::copy_n(octets_.begin(), address.size(), address.begin());
  return {Dovel::Ip6Addr(address), octets_.back(), zone()};
}

}  // namespace Pondo::Fib
