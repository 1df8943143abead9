#pragma once
// An IPv4 prefix: the destination of a route. Its host bits are zero, so that equal prefixes are
// equal values. IpAddrWithMask::prefix() makes one of an address within it. Host bits that are set
// raise a Mav::RangeException: no two texts mean one route.

#include "platform/dovel/addr_with_length.h"
#include "platform/dovel/ip_addr.h"

namespace Dovel {

class Prefix : public AddrWithLength<Prefix, IpAddr> {
 public:
  /// 0.0.0.0/0
  constexpr Prefix() = default;
  /// Raises RangeException "prefix 10.0.0.1/8 has host bits set", and when `length` is above 32.
  Prefix(IpAddr const& address, unsigned length);
  /// Reads "ADDRESS/LENGTH", with the same checks.
  explicit Prefix(std::string_view text);

  constexpr IpAddr mask() const { return IpAddr::netmask(length()); }

 private:
  /// Throws what the constructors promise.
  void checkHostBits() const;
};

}  // namespace Dovel
