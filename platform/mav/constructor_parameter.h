#pragma once
// The rule of members that are created by key: what a member was constructed with stays for its
// life. Whoever asks for an existing key with other parameters gets an exception, never a member
// that silently differs; to change a parameter, delete the member and create it again.

#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/mav/exception.h"

namespace Mav {

namespace Detail {
template <class Value>
void printParameter(std::ostream& out, Value const& value) {
  if constexpr (std::is_integral_v<Value> && sizeof(Value) == 1) {
    out << static_cast<int>(value);  // a number, not a character
  } else {
    out << value;
  }
}
}  // namespace Detail

/// Throws NameInUseException when a member that exists was asked for with another value of the
/// constructor parameter `name` (such as "_ifIndex"). Values are compared by == and printed by <<.
/// For the xIs() of collections (AnnouncedMap::is); the wording is part of the interface.
template <class Value>
void checkConstructorParameter(std::string_view name, Value const& asked, Value const& current) {
  if (asked == current) return;
  // By a stream: what a parameter is prints itself (<<).
  std::ostringstream text;
  text << "Reinstantiating the pointer interface where constructor parameter attribute " << name
       << " has a different value of ";
  Detail::printParameter(text, asked);
  text << " than the current value of ";
  Detail::printParameter(text, current);
  text << " not allowed";
  throw NameInUseException(text.str());
}

}  // namespace Mav
