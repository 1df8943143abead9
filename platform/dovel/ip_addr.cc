#include "platform/dovel/ip_addr.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include "platform/dovel/address_text.h"

namespace Dovel {

IpAddr::IpAddr(std::string_view text) {
  std::uint32_t network = 0;
  parseAddress(AF_INET, text, &network);
  // inet_pton(3) gives network order.
  value_ = swapped(network);
}

std::string IpAddr::stringValue() const {
  Octets const o = octets();
  return fmt::format("{}.{}.{}.{}", o[0], o[1], o[2], o[3]);
}

}  // namespace Dovel
