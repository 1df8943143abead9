#pragma once
// An IPv6 address as an interface has it: with the length of its prefix. It keeps its host bits;
// subnet() gives the prefix without them.

#include "platform/dovel/addr_with_length.h"
#include "platform/dovel/ip6_addr.h"

namespace Dovel {

class Ip6AddrWithMask : public AddrWithLength<Ip6AddrWithMask, Ip6Addr> {
 public:
  using AddrWithLength::AddrWithLength;
  constexpr Ip6AddrWithMask() = default;
  Ip6AddrWithMask(char const*& from, char const* to)
      : Ip6AddrWithMask(Mav::parsedStrep<Ip6AddrWithMask>(from, to)) {}
};

}  // namespace Dovel
