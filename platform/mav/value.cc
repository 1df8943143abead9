#include "platform/mav/value.h"

namespace Mav::Detail {

void readValueHead(StrepReader& in, std::string_view typeName) {
  in.expect("Value");
  in.expect("(");
  in.expect(Mav::quoted(typeName));
  in.expect(",");
  // Tokens one by one: white space may stand between any two.
  in.expect("**");
  in.expect("{");
}

bool readAttributeName(StrepReader& in, std::string_view shortTypeName, bool first,
                       std::string& name) {
  in.skipSpace();
  // A text that ends too early gets a message of its own, with the type's name.
  if (in.atEnd()) {
    throw RangeException("premature end of value type " + std::string(shortTypeName));
  }
  if (in.isAt('}')) return false;
  if (!first) in.expect(",");
  name = in.quoted();
  in.expect(":");
  return true;
}

void readValueTail(StrepReader& in) {
  in.expect("}");
  in.expect(")");
  in.skipSpace();
}

void throwNoSuchAttribute(std::string_view shortTypeName, std::string_view name) {
  throw RangeException(std::string(shortTypeName) + " has no such attribute: " + std::string(name));
}

}  // namespace Mav::Detail
