#pragma once
// An address's presence on one interface, from one source, with the prefix row that it belongs to.
// Equal when the key is equal and the row is the same object; values have no order.
//
// The prefix row is held, so that it can be filed again when this presence becomes the first of its
// address, and be withdrawn as the object that it is (ip_address_prefix_entry.h).

#include <tuple>

#include "model/intf_data_key.h"
#include "model/ip_address_prefix_entry.h"
#include "platform/mav/value.h"

namespace IpSnmp {

class IntfData : public Mav::PlainValue<IntfData> {
 public:
  IntfData() = default;
  /// A value without a row equals none that IpAddressTableSm files: these always have one.
  IntfData(IntfDataKey const& key, Mav::Ptr<IpAddressPrefixEntry const> prefixEntry)
      : key_(key), prefixEntry_(std::move(prefixEntry)) {}
  /// Only a null reference can come from a text.
  IntfData(char const*& from, char const* to) : IntfData(Mav::parsedStrep<IntfData>(from, to)) {}

  IntfDataKey const& key() const { return key_; }
  /// May be null.
  Mav::Ptr<IpAddressPrefixEntry const> const& prefixEntry() const { return prefixEntry_; }

  /// The row compares by identity, as a Ptr does.
  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("key", &IntfData::key_),
                      Mav::Attribute("prefixEntry", &IntfData::prefixEntry_)};
  }

 private:
  IntfDataKey key_;
  Mav::Ptr<IpAddressPrefixEntry const> prefixEntry_;
};

}  // namespace IpSnmp
