#pragma once
// An IPv4 neighbour on an interface: the key of ipNetToMediaTable, ordered as its instances.
//
// The ifIndex comes first, so that the rows of one interface stand together: ArpTableSm removes
// them in one walk. A neighbour that the kernel files under 0.0.0.0 (those of loopback and
// point-to-point links) has a row like any other.

#include <cstdint>
#include <tuple>

#include "platform/dovel/ip_addr.h"
#include "platform/mav/value.h"

namespace IpSnmp {

class ArpTableIndex : public Mav::Value<ArpTableIndex> {
 public:
  ArpTableIndex() = default;
  ArpTableIndex(std::uint32_t ifIndex, Dovel::IpAddr ipAddr) : ifIndex_(ifIndex), ipAddr_(ipAddr) {}
  ArpTableIndex(char const*& from, char const* to)
      : ArpTableIndex(Mav::parsedStrep<ArpTableIndex>(from, to)) {}

  /// Of the link on which the neighbour is; the address may be there on other links, too.
  std::uint32_t ifIndex() const { return ifIndex_; }
  Dovel::IpAddr const& ipAddr() const { return ipAddr_; }

  /// In the order of the instance: ipNetToMediaIfIndex, ipNetToMediaNetAddress (RFC 4293).
  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("ifIndex", &ArpTableIndex::ifIndex_),
                      Mav::Attribute("ipAddr", &ArpTableIndex::ipAddr_)};
  }

 private:
  std::uint32_t ifIndex_ = 0;
  Dovel::IpAddr ipAddr_;
};

}  // namespace IpSnmp
