#pragma once
// The kinds of record that a publisher shares with its readers. Each table struct names its id, its
// LMDB name, its key and its record; format.h says how they lie in memory. Both are plain values
// on either side of the border.
//
// A record that cannot be decoded (version, lengths, ranges) is nothing: readers skip and count it.

#include <compare>
#include <cstdint>
#include <string_view>

#include "platform/dovel/intf_id.h"

namespace Pondo {

enum class TableId : std::uint8_t {
  forwarding = 1,
  link = 2,
  // 3 address4, 4 address6, 5 neighbour, 6 route, 7 fec: reserved for the tables to come
};

enum class Family : std::uint8_t { ipv4 = 4, ipv6 = 6 };

/// Whether the host forwards packets between all its interfaces, by IP version. A version that the
/// kernel lacks has no record.
struct ForwardingTable {
  static constexpr TableId id = TableId::forwarding;
  static constexpr std::string_view name = "forwarding";
  using Key = Family;
  struct Record {
    bool routing = false;
    bool operator==(Record const&) const = default;
  };
};

/// The host's interfaces, by name.
struct LinkTable {
  static constexpr TableId id = TableId::link;
  static constexpr std::string_view name = "link";
  using Key = Dovel::IntfId;
  struct Record {
    std::int32_t ifIndex = 0;  // 1 or more
    bool adminUp = false;      // IFF_UP
    bool operUp = false;       // IFF_UP and IFF_RUNNING
    bool operator==(Record const&) const = default;
  };
};

}  // namespace Pondo
