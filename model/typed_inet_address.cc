#include "model/typed_inet_address.h"

#include "platform/mav/exception.h"

namespace IpSnmp {

TypedInetAddress::TypedInetAddress(std::uint32_t type, std::span<std::uint8_t const> octets) {
  // type() goes by the octets: they are taken before they are judged.
  if (octets.size() <= sizeMax) append(octets);
  // RFC 4001: unknown, ipv4, ipv6, and ipv6z, which has four octets of zone index behind the
  // address.
  // ipv4z(3) and dns(16) name no address here.
  bool const isKnown = size_ == 0 || size_ == 4 || size_ == 16 || size_ == sizeMax;
  if (octets.size() > sizeMax || !isKnown || type != this->type()) {
    throw Mav::RangeException("an InetAddress of type " + std::to_string(type) + " has not " +
                              std::to_string(octets.size()) + " octets");
  }
}

std::string TypedInetAddress::stringValue() const {
  if (size_ == 0) return {};
  if (size_ == 4) {
    return Dovel::IpAddr({octets_[0], octets_[1], octets_[2], octets_[3]}).stringValue();
  }
  Dovel::Ip6Addr::Octets address;
  std::copy_n(octets_.begin(), address.size(), address.begin());
  auto text = Dovel::Ip6Addr(address).stringValue();
  if (size_ == address.size()) return text;
  std::uint32_t zone = 0;
  for (auto i = address.size(); i < sizeMax; ++i) zone = zone << 8U | octets_[i];
  return text + '%' + std::to_string(zone);
}

}  // namespace IpSnmp
