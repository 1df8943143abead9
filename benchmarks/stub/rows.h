#pragma once
// The rows of a stub: an array in the order of the index, from the file that STUB_ROWS names.
// The same file serves all stubs, so that what they cost differs by how they find a row alone. The
// rows are read-only and used on snmpd's one thread.
//
// A stub is a module of snmpd's that serves ipCidrRouteTable in the simplest way that one layer of
// net-snmp allows. They set the scale for this system's module: beside an iterator, beside a bare
// handler of GETNEXT, beside a bare handler of GETBULK. They are no more right than the measure
// needs.

#include <compare>
#include <cstdint>
#include <span>

#include "platform/snmp/net_snmp.h"

namespace Stub {

/// As it lies in the file, in the machine's order.
struct Row {
  std::uint32_t dest = 0, mask = 0, nextHop = 0;
  std::int32_t ifIndex = 0, protocol = 0, metric = 0, preference = 0;

  friend std::strong_ordering operator<=>(Row const& a, Row const& b) {
    if (auto const order = a.dest <=> b.dest; order != 0) return order;
    if (auto const order = a.mask <=> b.mask; order != 0) return order;
    return a.nextHop <=> b.nextHop;
  }
  friend bool operator==(Row const& a, Row const& b) { return (a <=> b) == 0; }
};
static_assert(sizeof(Row) == 28);

inline constexpr oid tableOid[] = {1, 3, 6, 1, 2, 1, 4, 24, 4};
inline constexpr unsigned columnMax = 16;

/// Mapped once, for the life of the process. Empty when there is no such file.
std::span<Row const> rows();

/// Sets the value of a column of 1 to columnMax.
void setValue(netsnmp_variable_list* variable, Row const& row, unsigned column);

}  // namespace Stub
