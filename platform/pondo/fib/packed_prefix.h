#pragma once
// A prefix in as few octets as it takes, in the order of prefixes; or a place among prefixes that
// is given as bytes, which need not be those of one. SharedFib has such places for a comparison,
// which goes by the bytes of keys, while what is filed goes by prefixes.

#include <array>
#include <compare>
#include <cstdint>
#include <string_view>

#include "platform/dovel/ip6_prefix.h"
#include "platform/dovel/prefix.h"

namespace Pondo::Fib {

template <class Prefix>
class PackedPrefix;

template <>
class PackedPrefix<Dovel::Prefix> {
 public:
  explicit PackedPrefix(Dovel::Prefix const& prefix)
      : PackedPrefix(prefix.address(), prefix.length()) {}
  /// Of the prefix with these parts.
  PackedPrefix(Dovel::IpAddr const& address, unsigned length);
  /// Stands to each prefix as `bytes` stand to its key (tables/format.h).
  explicit PackedPrefix(std::string_view bytes);
  /// Of one that was made from a prefix.
  Dovel::Prefix prefix() const;
  friend std::strong_ordering operator<=>(PackedPrefix const& a, PackedPrefix const& b) {
    return a.number() <=> b.number();
  }

 private:
  std::uint64_t number() const;
  std::array<std::uint8_t, 5> octets_;  // least significant first: the length, then the address
};

template <>
class PackedPrefix<Dovel::Ip6Prefix> {
 public:
  explicit PackedPrefix(Dovel::Ip6Prefix const& prefix)
      : PackedPrefix(prefix.address(), prefix.length(), prefix.zone()) {}
  // As those of IPv4.
  PackedPrefix(Dovel::Ip6Addr const& address, unsigned length, std::uint32_t zone);
  explicit PackedPrefix(std::string_view bytes);
  Dovel::Ip6Prefix prefix() const;
  /// As Ip6Prefix: those without a zone first. The octets alone would put a zone's prefixes in the
  /// middle.
  friend std::strong_ordering operator<=>(PackedPrefix const& a, PackedPrefix const& b) {
    if (auto const order = (a.zone() != 0) <=> (b.zone() != 0); order != 0) return order;
    return a.octets_ <=> b.octets_;
  }

 private:
  std::uint32_t zone() const;
  std::array<std::uint8_t, 21> octets_;  // address, zone, most significant first, length
};

}  // namespace Pondo::Fib
