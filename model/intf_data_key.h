#pragma once
// From where an address is known: the source that told of it, and the interface that carries it.
// What is in operation sorts before what is configured.
//
// The least key of an address is its master (ip_address_entry.h): first the source decides, then
// the name of the interface. Neither labels nor the order in which addresses came have a part in
// it, so that what is served depends on what the kernel has alone.

#include <tuple>

#include "model/enumerations.h"
#include "platform/dovel/intf_id.h"
#include "platform/mav/value.h"

namespace IpSnmp {

class IntfDataKey : public Mav::Value<IntfDataKey> {
 public:
  IntfDataKey() = default;
  IntfDataKey(AddressSource source, Dovel::IntfId intfId) : source_(source), intfId_(intfId) {}
  IntfDataKey(char const*& from, char const* to)
      : IntfDataKey(Mav::parsedStrep<IntfDataKey>(from, to)) {}

  /// What is in operation is told twice, from configuration as well: so the two are two keys.
  AddressSource source() const { return source_; }
  Dovel::IntfId const& intfId() const { return intfId_; }

  /// The source first: it is what the order is about.
  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("source", &IntfDataKey::source_),
                      Mav::Attribute("intfId", &IntfDataKey::intfId_)};
  }

 private:
  AddressSource source_ = addressSourceStatus;
  Dovel::IntfId intfId_;
};

}  // namespace IpSnmp
