#pragma once
// The base of values that are one word to an operator: an address, a prefix, an interface's name.
//
// The derived class has a constructor `explicit D(std::string_view text)`, which raises a
// RangeException that names the text and the reason, and its inverse `std::string stringValue()
// const`. This base adds printing (bare by operator<<, quoted as a strep) and parsing.

#include <ostream>

#include "platform/mav/strep.h"

namespace Mav {

template <class D>
class TextValue {
 public:
  friend std::ostream& operator<<(std::ostream& out, D const& value) {
    return out << value.stringValue();
  }
  friend std::string valueToStrep(D const& value) { return Mav::quoted(value.stringValue()); }
  friend void parseStrep(StrepReader& in, D& value) { value = D(in.quoted()); }
  /// The default is the value that says nothing: 0.0.0.0, no interface.
  friend bool operator!(D const& value) { return value == D(); }
};

}  // namespace Mav
