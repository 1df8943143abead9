#include "platform/dovel/ip6_addr.h"

#include <arpa/inet.h>

#include "platform/dovel/address_text.h"

namespace Dovel {

Ip6Addr::Ip6Addr(std::string_view text) { parseAddress(AF_INET6, text, octets_.data()); }

Ip6Addr Ip6Addr::masked(unsigned length) const {
  checkedLength(length, bits);
  Octets octets{};
  for (unsigned i = 0; 8 * i < length; ++i) {
    unsigned const kept = std::min(8U, length - 8 * i);
    // The low octet of 0xff00 >> n has its first n bits set.
    octets[i] = static_cast<std::uint8_t>(octets_[i] & (0xff00U >> kept));
  }
  return Ip6Addr(octets);
}

std::string Ip6Addr::stringValue() const {
  std::array<char, INET6_ADDRSTRLEN> text{};
  // It fails for want of room alone, and there is as much as the longest takes.
  return inet_ntop(AF_INET6, octets_.data(), text.data(), text.size());
}

}  // namespace Dovel
