#pragma once
// One row of ipAddressPrefixTable: nothing but its key, fixed for life. A row is an object because
// its identity matters: the interface address that brought it withdraws this very row, and not one
// that another address put there under an equal key.
//
// Held by the collection and by the IntfData of the address that brought it. Nothing in it is
// served: the columns of the table are constants, its index is all that a row has to say.

#include "model/ip_address_prefix_key.h"
#include "platform/mav/object.h"

namespace IpSnmp {

class IpAddressPrefixEntry : public Mav::Counted<IpAddressPrefixEntry> {
 public:
  explicit IpAddressPrefixEntry(IpAddressPrefixKey key) : key_(std::move(key)) {}

  IpAddressPrefixKey const& key() const { return key_; }

 private:
  IpAddressPrefixKey const key_;
};

}  // namespace IpSnmp
