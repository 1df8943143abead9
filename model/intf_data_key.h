#pragma once
// From where an address is known: the source that told of it, and the interface that carries it.
// What is in operation sorts before what is configured.

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

  AddressSource source() const { return source_; }
  Dovel::IntfId const& intfId() const { return intfId_; }

  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("source", &IntfDataKey::source_),
                      Mav::Attribute("intfId", &IntfDataKey::intfId_)};
  }

 private:
  AddressSource source_ = addressSourceStatus;
  Dovel::IntfId intfId_;
};

}  // namespace IpSnmp
