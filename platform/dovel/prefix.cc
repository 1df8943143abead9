#include "platform/dovel/prefix.h"

namespace Dovel {

Prefix::Prefix(IpAddr const& address, unsigned length) : AddrWithLength(address, length) {
  checkHostBits();
}

Prefix::Prefix(std::string_view text) : AddrWithLength(text) { checkHostBits(); }

void Prefix::checkHostBits() const {
  // Two texts would mean one route, and a prefix with host bits has no place in the order of
  // prefixes.
  if (subnet() == address()) return;
  throw Mav::RangeException("prefix " + stringValue() + " has host bits set");
}

}  // namespace Dovel
