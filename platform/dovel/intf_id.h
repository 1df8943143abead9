#pragma once
// The identifier of an interface: the name of a link, or a name made from it for a further IPv4
// address of that link ("eth0#2"). A plain value that allocates nothing. The empty identifier means
// "no interface".

#include <array>
#include <compare>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/mav/text_value.h"

namespace Dovel {

class IntfId : public Mav::TextValue<IntfId> {
 public:
  /// The longest name, in bytes: IFNAMSIZ - 1 (linux/if.h), and room for a '#' and a number.
  static constexpr std::size_t sizeMax = 31;

  constexpr IntfId() = default;
  /// Raises Mav::RangeException when `name` is longer than sizeMax or holds a NUL byte.
  explicit IntfId(std::string_view name);
  IntfId(char const*& from, char const* to) : IntfId(Mav::parsedStrep<IntfId>(from, to)) {}

  std::string_view name() const { return {name_.data(), std::strlen(name_.data())}; }
  std::string stringValue() const { return std::string(name()); }
  bool empty() const { return name_[0] == '\0'; }

  /// The order of the names' bytes, as memcmp(3) has it.
  friend bool operator==(IntfId const& a, IntfId const& b) {
    return std::memcmp(a.name_.data(), b.name_.data(), a.name_.size()) == 0;
  }
  friend std::strong_ordering operator<=>(IntfId const& a, IntfId const& b) {
    return std::memcmp(a.name_.data(), b.name_.data(), a.name_.size()) <=> 0;
  }

  template <class H>
  friend H AbslHashValue(H h, IntfId const& id) {
    return H::combine(std::move(h), id.name());
  }

 private:
  std::array<char, sizeMax + 1> name_{};  // zero-padded
};

}  // namespace Dovel
