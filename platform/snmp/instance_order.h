#pragma once
// The order of a row's key relative to an instance as a request names it: raw sub-identifiers,
// of any number and any value, that need not be the instance of any row.
//
//   InstanceOrder order(instance);
//   order.add(key.ifIndex());
//   order.addOctetString(key.bytes());
//   return order.result();
//
// Compares as object identifiers compare (RFC 2578 section 7.1.3), without building one.

#include <compare>
#include <cstdint>
#include <span>

#include "platform/dovel/ip_addr.h"
#include "platform/dovel/snmp_string.h"
#include "platform/snmp/net_snmp.h"

namespace Snmp {

using Instance = std::span<oid const>;

class InstanceOrder {
 public:
  explicit InstanceOrder(Instance instance) : rest_(instance) {}

  /// One sub-identifier, of an integer index.
  void add(std::uint32_t subIdentifier) {
    if (order_ != 0) return;
    if (rest_.empty()) {
      order_ = std::strong_ordering::greater;  // the instance is a prefix of the key
      return;
    }
    order_ = oid{subIdentifier} <=> rest_.front();
    rest_ = rest_.subspan(1);
  }

  /// Four sub-identifiers, of an IpAddress index.
  void addIpAddress(Dovel::IpAddr const& addr) {
    for (auto const octet : addr.octets()) add(octet);
  }

  /// The length and then the octets, of a string index of variable length.
  void addOctetString(Snmp::String const& string) {
    add(static_cast<std::uint32_t>(string.size()));
    for (auto const octet : string) add(octet);
  }

  /// How the key stands to the instance, once all of it was added.
  std::strong_ordering result() const {
    return order_ == 0 && !rest_.empty() ? std::strong_ordering::less : order_;
  }

 private:
  Instance rest_;
  std::strong_ordering order_ = std::strong_ordering::equal;
};

}  // namespace Snmp
