#pragma once
// An address of either IP version: the key of ipAddressTable, ordered as its instances
// (InetAddressType, then InetAddress).
//
// The octets are kept as an index tells them, so that neither a walk nor a search converts them.
// Snmp::String compares its length first; in each type all have one length, so that the order is
// that of the octets. An address has no zone: IpAddressTableSm files no link-local ones.

#include <tuple>

#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/ip_addr.h"
#include "platform/dovel/snmp_string.h"
#include "platform/mav/value.h"
#include "stats/ip_version.h"

namespace IpSnmp {

class InetAddress : public Mav::Value<InetAddress> {
 public:
  InetAddress() = default;
  /// As an instance has both. Nothing is checked: a pair that fits no address names no row.
  InetAddress(Ip::IpVersion version, Snmp::String bytes)
      : version_(version), bytes_(std::move(bytes)) {}
  InetAddress(char const*& from, char const* to)
      : InetAddress(Mav::parsedStrep<InetAddress>(from, to)) {}

  /// Of type ipv4(1), and ipv6(2).
  static InetAddress fromIpAddr(Dovel::IpAddr const& addr) {
    return {Ip::ipVersion4, Snmp::String(addr.octets())};
  }
  static InetAddress fromIp6Addr(Dovel::Ip6Addr const& addr) {
    return {Ip::ipVersion6, Snmp::String(addr.octets())};
  }

  Ip::IpVersion version() const { return version_; }
  /// 4 octets for IPv4, 16 for IPv6, first octet first.
  Snmp::String const& bytes() const { return bytes_; }

  /// In the order of the instance (RFC 4293, ipAddressEntry).
  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("version", &InetAddress::version_),
                      Mav::Attribute("bytes", &InetAddress::bytes_)};
  }

 private:
  Ip::IpVersion version_ = Ip::ipVersionUnknown;
  Snmp::String bytes_;
};

}  // namespace IpSnmp
