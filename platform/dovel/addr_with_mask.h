#pragma once
// An address as an interface has it: with the length of its prefix. It keeps its host bits;
// prefix() and subnet() give the prefix without them.

#include "platform/dovel/addr_with_length.h"
#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/ip_addr.h"
#include "platform/dovel/prefix.h"

namespace Dovel {

/// The default, 0.0.0.0/0, stands for an interface without address (Ip::IpIntfConfig).
class IpAddrWithMask : public AddrWithLength<IpAddrWithMask, IpAddr> {
 public:
  using AddrWithLength::AddrWithLength;
  constexpr IpAddrWithMask() = default;

  constexpr IpAddr mask() const { return IpAddr::netmask(length()); }
  /// That of the network on the link, as the kernel would route to it.
  Prefix prefix() const { return {subnet(), length()}; }
};

/// Without a zone, also where the address is link-local: its interface is known from where it
/// stands.
class Ip6AddrWithMask : public AddrWithLength<Ip6AddrWithMask, Ip6Addr> {
 public:
  using AddrWithLength::AddrWithLength;
  constexpr Ip6AddrWithMask() = default;
};

}  // namespace Dovel
