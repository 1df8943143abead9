#pragma once
// The base of numbers that are types of their own, so that the compiler tells them apart:
//
//   class RouteMetric : public Mav::NumberValue<RouteMetric, std::uint32_t> {
//    public:
//     using NumberValue::NumberValue;
//   };
//
// Such a value is made from its number and gives it back explicitly. It is ordered, printed and
// parsed as the number.

#include <compare>
#include <ostream>

#include "platform/mav/strep.h"

namespace Mav {

template <class D, Number Rep>
class NumberValue {
 public:
  constexpr NumberValue() = default;
  /// Every number is one: a type with fewer values checks in a constructor of its own.
  explicit constexpr NumberValue(Rep value) : value_(value) {}

  constexpr Rep value() const { return value_; }

  friend constexpr bool operator==(D const& a, D const& b) { return a.value() == b.value(); }
  friend constexpr std::strong_ordering operator<=>(D const& a, D const& b) {
    return a.value() <=> b.value();
  }
  /// Zero is the number that says nothing: FecId(0) names no fec.
  friend bool operator!(D const& number) { return number.value() == 0; }

  friend std::string valueToStrep(D const& number) { return std::to_string(number.value()); }
  friend void parseStrep(StrepReader& in, D& number) { number = D(in.template number<Rep>()); }
  friend std::ostream& operator<<(std::ostream& out, D const& number) {
    return out << +number.value();  // + : an octet is a number here, not a character
  }

  template <class H>
  friend H AbslHashValue(H h, D const& number) {
    return H::combine(std::move(h), number.value());
  }

 private:
  Rep value_ = 0;
};

}  // namespace Mav
