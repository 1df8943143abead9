#pragma once
// The identifier of an interface: the name of a link, and a number where it stands for a further
// IPv4 address of that link (from 2 on). A plain value that allocates nothing. The empty identifier
// means "no interface".
//
// A further identifier prints as "eth0#2", and is still no other link's name: a link may be called
// "eth0#2" too, and a text always parses to a name. Identifiers are ordered by name, then by
// number, so that all those of one link stand together.

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/mav/text_value.h"

namespace Dovel {

class IntfId : public Mav::TextValue<IntfId> {
 public:
  /// The longest name, in bytes; that of a Linux link has 15 at most (IFNAMSIZ - 1, linux/if.h).
  static constexpr std::size_t sizeMax = 31;

  constexpr IntfId() = default;
  /// Mav::RangeException when longer than sizeMax or holding a NUL byte.
  explicit IntfId(std::string_view name);

  /// The identifier for the `number`-th address of this link, from 2 on. The numbers are
  /// State::Address4Mirror's; here any is one.
  IntfId further(std::uint32_t number) const {
    IntfId result = *this;
    result.number_ = number;
    return result;
  }

  /// 0 for the link itself.
  std::uint32_t number() const { return number_; }

  /// The name of the link, without the number.
  std::string_view name() const { return {name_.data(), std::strlen(name_.data())}; }
  /// Not the way back: two identifiers may print the same.
  std::string stringValue() const;
  bool empty() const { return name_[0] == '\0'; }

  friend bool operator==(IntfId const& a, IntfId const& b) { return (a <=> b) == 0; }
  friend std::strong_ordering operator<=>(IntfId const& a, IntfId const& b) {
    // All octets, padding too: zero is less than any octet of a name, so that a name stands before
    // the longer ones that begin with it.
    auto const order = std::memcmp(a.name_.data(), b.name_.data(), a.name_.size()) <=> 0;
    return order != 0 ? order : a.number_ <=> b.number_;
  }

  template <class H>
  friend H AbslHashValue(H h, IntfId const& id) {
    return H::combine(std::move(h), id.name(), id.number_);
  }

 private:
  std::array<char, sizeMax + 1> name_{};  // zero-padded
  std::uint32_t number_ = 0;
};

}  // namespace Dovel
