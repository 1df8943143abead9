#pragma once
// An octet string as SNMP carries it. Up to 16 octets (an IPv6 address) need no allocation.
//
// It is ordered by length, then octet by octet. That is the order of the instances of a table whose
// index is a string of variable length, because the length comes first there (RFC 2578
// section 7.7).

#include <compare>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

#include <absl/container/inlined_vector.h>

#include "platform/mav/strep.h"

namespace Snmp {

/// A value: it keeps its octets, whatever becomes of what it was made from.
class String {
 public:
  String() = default;
  /// Text, without a NUL behind it.
  explicit String(std::string_view bytes) : octets_(bytes.begin(), bytes.end()) {}
  /// Octets as they stand: an address in the order of the wire.
  explicit String(std::span<std::uint8_t const> octets) : octets_(octets.begin(), octets.end()) {}

  std::size_t size() const { return octets_.size(); }
  bool empty() const { return octets_.empty(); }
  std::uint8_t const* data() const { return octets_.data(); }
  std::uint8_t const* begin() const { return octets_.data(); }
  std::uint8_t const* end() const { return octets_.data() + octets_.size(); }
  /// The caller keeps within size().
  std::uint8_t operator[](std::size_t index) const { return octets_[index]; }
  /// A copy, for printing.
  std::string bytes() const { return {octets_.begin(), octets_.end()}; }

  friend bool operator==(String const& a, String const& b) { return (a <=> b) == 0; }
  friend std::strong_ordering operator<=>(String const& a, String const& b) {
    if (auto const order = a.size() <=> b.size(); order != 0) return order;
    return a.empty() ? std::strong_ordering::equal
                     : std::memcmp(a.data(), b.data(), a.size()) <=> 0;
  }
  friend bool operator!(String const& string) { return string.empty(); }

  /// Prints the octets, with escapes (mav/strep.h) for what is not printable.
  friend std::ostream& operator<<(std::ostream& out, String const& string) {
    return out << Mav::escaped(string.bytes());
  }
  friend std::string valueToStrep(String const& string) { return Mav::quoted(string.bytes()); }
  friend void parseStrep(Mav::StrepReader& in, String& string) { string = String(in.quoted()); }

 private:
  absl::InlinedVector<std::uint8_t, 16> octets_;
};

}  // namespace Snmp
