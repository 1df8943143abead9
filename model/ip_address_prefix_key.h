#pragma once
// A prefix on an interface: the key of ipAddressPrefixTable, ordered as its instances (ifIndex,
// InetAddressType, InetAddress, prefix length).
//
// Kept per interface: one prefix on two links is two rows. The length stands behind the address, as
// in the instance, so that 10.0.0.0/8 comes before 10.0.0.0/16.

#include <cstdint>
#include <tuple>

#include "platform/dovel/snmp_string.h"
#include "platform/mav/value.h"
#include "stats/ip_version.h"

namespace IpSnmp {

class IpAddressPrefixKey : public Mav::Value<IpAddressPrefixKey> {
 public:
  IpAddressPrefixKey() = default;
  IpAddressPrefixKey(std::uint32_t ifIndex, Ip::IpVersion version, Snmp::String bytes,
                     std::uint32_t length)
      : ifIndex_(ifIndex), version_(version), bytes_(std::move(bytes)), length_(length) {}
  IpAddressPrefixKey(char const*& from, char const* to)
      : IpAddressPrefixKey(Mav::parsedStrep<IpAddressPrefixKey>(from, to)) {}

  /// Of the link that has the address; the further IntfIds of one link share it.
  std::uint32_t ifIndex() const { return ifIndex_; }
  Ip::IpVersion version() const { return version_; }
  /// The prefix's address, 4 or 16 octets, first octet first, host bits clear.
  Snmp::String const& bytes() const { return bytes_; }
  /// In bits.
  std::uint32_t length() const { return length_; }

  /// In the order of the instance (RFC 4293, ipAddressPrefixEntry).
  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("ifIndex", &IpAddressPrefixKey::ifIndex_),
                      Mav::Attribute("version", &IpAddressPrefixKey::version_),
                      Mav::Attribute("bytes", &IpAddressPrefixKey::bytes_),
                      Mav::Attribute("length", &IpAddressPrefixKey::length_)};
  }

 private:
  std::uint32_t ifIndex_ = 0;
  Ip::IpVersion version_ = Ip::ipVersionUnknown;
  Snmp::String bytes_;
  std::uint32_t length_ = 0;
};

}  // namespace IpSnmp
