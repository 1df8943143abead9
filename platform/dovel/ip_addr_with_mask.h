#pragma once
// An IPv4 address as an interface has it: with the length of its prefix. It keeps its host bits;
// prefix() gives the prefix without them.

#include "platform/dovel/addr_with_length.h"
#include "platform/dovel/ip_addr.h"
#include "platform/dovel/prefix.h"

namespace Dovel {

class IpAddrWithMask : public AddrWithLength<IpAddrWithMask, IpAddr> {
 public:
  using AddrWithLength::AddrWithLength;
  constexpr IpAddrWithMask() = default;
  IpAddrWithMask(char const*& from, char const* to)
      : IpAddrWithMask(Mav::parsedStrep<IpAddrWithMask>(from, to)) {}

  constexpr IpAddr mask() const { return IpAddr::netmask(length()); }
  Prefix prefix() const { return {subnet(), length()}; }
};

}  // namespace Dovel
