#pragma once
// What addresses with a prefix length have in common: an address, a length in bits, the text
// "ADDRESS/LENGTH", and the order by address, then length. With IPv4 that is the order by address,
// then mask as well, because a longer mask is the greater number: tables whose index is (address,
// mask) are walked in the order of these values.

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/dovel/address_text.h"
#include "platform/mav/text_value.h"

namespace Dovel {

/// D is the class itself (CRTP), so that an interface's address and a route's prefix are types that
/// do not compare. Host bits are looked at by nobody here: an address keeps them, Prefix refuses
/// them.
template <class D, class Addr>
class AddrWithLength : public Mav::TextValue<D> {
 public:
  constexpr AddrWithLength() = default;
  /// RangeException when `length` is more than the address has bits.
  constexpr AddrWithLength(Addr const& address, unsigned length)
      : address_(address), length_(static_cast<std::uint8_t>(checkedLength(length, Addr::bits))) {}
  /// Reads "ADDRESS/LENGTH"; raises RangeException for anything else.
  explicit AddrWithLength(std::string_view text) : AddrWithLength(splitLength(text, Addr::bits)) {}

  constexpr Addr const& address() const { return address_; }
  /// In bits.
  constexpr unsigned length() const { return length_; }
  /// The address with its host bits cleared.
  constexpr Addr subnet() const { return address_.masked(length_); }

  std::string stringValue() const { return address_.stringValue() + "/" + std::to_string(length_); }

  friend constexpr bool operator==(D const& a, D const& b) {
    // The address as it is, host bits and all: 10.0.0.1/24 and 10.0.0.2/24 differ.
    return a.address() == b.address() && a.length() == b.length();
  }
  friend constexpr std::strong_ordering operator<=>(D const& a, D const& b) {
    if (auto const order = a.address() <=> b.address(); order != 0) return order;
    return a.length() <=> b.length();
  }

  template <class H>
  friend H AbslHashValue(H h, D const& value) {
    return H::combine(std::move(h), value.address(), value.length());
  }

 private:
  explicit AddrWithLength(AddressAndLength const& parts)
      : AddrWithLength(Addr(parts.address), parts.length) {}

  Addr address_;
  std::uint8_t length_ = 0;
};

}  // namespace Dovel
