#pragma once
// What an index makes of its values, sub-identifier by sub-identifier (RFC 2578 section 7.7): their
// order relative to an instance, or the instance itself. Both take the sub-identifiers one by one:
//
//   InstanceOrder order(instance);      InstanceWriter writer(name);
//   order.add(key.ifIndex());           writer.add(key.ifIndex());
//   return order.result();              return writer.size();

#include <compare>
#include <cstdint>
#include <span>

#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// Raw sub-identifiers as a request names them, of any number and any value: they need not be the
/// instance of any row.
using Instance = std::span<oid const>;

/// The order of a row's key relative to an instance. Compares as object identifiers compare (RFC
/// 2578 section 7.1.3), without building one.
class InstanceOrder {
 public:
  explicit InstanceOrder(Instance instance) : rest_(instance) {}

  void add(std::uint32_t subIdentifier) {
    // Decided: what comes behind makes no difference. The visitor of an index need not know.
    if (order_ != 0) return;
    if (rest_.empty()) {
      order_ = std::strong_ordering::greater;  // the instance is a prefix of the key
      return;
    }
    order_ = oid{subIdentifier} <=> rest_.front();
    rest_ = rest_.subspan(1);
  }

  /// How the key stands to the instance, once all of it was added. One that the instance begins
  /// with is less.
  std::strong_ordering result() const {
    return order_ == 0 && !rest_.empty() ? std::strong_ordering::less : order_;
  }

 private:
  Instance rest_;
  std::strong_ordering order_ = std::strong_ordering::equal;
};

/// Writes an instance; what does not fit is left out. size() then says less than the key has; no
/// index of this system comes near MAX_OID_LEN.
class InstanceWriter {
 public:
  explicit InstanceWriter(std::span<oid> out) : out_(out) {}

  void add(std::uint32_t subIdentifier) {
    if (size_ < out_.size()) out_[size_++] = subIdentifier;
  }
  std::size_t size() const { return size_; }

 private:
  std::span<oid> out_;
  std::size_t size_ = 0;
};

}  // namespace Snmp
