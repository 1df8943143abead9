#pragma once
// What a row of ipNetToPhysicalTable has beside its key, by value: neighbours come and go by the
// thousand.
//
// Whoever files one replaces the row: a neighbour that changes its state (reachable, stale, and so
// on) allocates nothing and is announced once.

#include <cstdint>

#include "model/enumerations.h"
#include "platform/dovel/link_addr.h"

namespace IpSnmp {

struct IpNetToPhysicalRow {
  Dovel::LinkAddr physAddress;  // none while it is not known
  NetToPhysicalType type = netToPhysicalTypeOther;
  NetToPhysicalState state = netToPhysicalStateUnknown;
  // A time, not an age: a row at rest is the same at each reading.
  std::uint64_t updatedAt = 0;  // hundredths of a second since the machine's start; 0: not known
  bool operator==(IpNetToPhysicalRow const&) const = default;
};

}  // namespace IpSnmp
