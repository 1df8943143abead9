#pragma once
// The format of the shared tables: everything that publisher and readers must agree on.
//
// Schema version. `schemaVersion` changes with every change of this header that a reader could
// see: a field, a width, an order, a value's meaning, a table more or less. There is no migration:
// a publisher that finds another version makes the tables anew from the kernel, and a reader that
// finds another version waits until both are of one version. Only three things never change: the
// table "meta", its key "environment", and the first eight bytes of its record.
//
// One LMDB environment, one named table per kind of record, no duplicates (no MDB_DUPSORT):
//
//   table        key                                     record
//   meta         "environment"                           MetaRecord
//   log          sequence, u64 big endian                u8 table id, then the key that changed;
//                                                        none before the tables are complete
//   forwarding   u8 family (4, 6)                        ForwardingRecord
//   link         interface name, 1 to 31 bytes, no NUL   LinkRecord
//   address4     name of 1 to 15 bytes, NUL, address (4),     Address4Record
//                u8 prefix length, peer (4)
//   address6     name of 1 to 15 bytes, NUL, address (16)      Address6Record
//   neighbour4   name of 1 to 15 bytes, NUL, address (4)       Neighbour4Record
//   route        address (4), u8 prefix length           RouteRecord
//   route6       u8 1 with a zone, else 0, address (16),  RouteRecord
//                zone, u32 big endian, u8 prefix length
//   fec          id, u64 big endian, 1 or more           FecRecord, then its vias: FecVia each
//   neighbour    ifIndex, u32 big endian, u8 type,        NeighbourRecord
//                address (4 or 16)
//
// Addresses are in network order, in keys and records.
//
// Keys compare as bytes (memcmp, then length), and every key encoding sorts as the keys do.
// A key has at most 511 bytes (LMDB's limit).
//
// Caveats.
// - Records are in the machine's own byte order, as LMDB's pages are: an environment is never
//   moved between machines. Values in the map are not aligned: copy them out (memcpy).
// - LMDB's lock file knows readers by process id. Publisher and readers in different PID
//   namespaces work as long as no two of them have the same id; a container that reads the tables
//   should share the host's PID namespace.
// - POSIX locks belong to a process: closing any descriptor of lock.mdb drops them all. Nobody may
//   open lock.mdb beside LMDB and close it before the environment, nor the same environment twice
//   in one process (Reader and Writer refuse). Nor may an environment be used across fork().
// - A reader without a slot in the lock table is not protected from page reuse. That happens
//   silently on a read-only mount; Reader refuses to read then.
// - data.mdb is made sparse to the size of the map, so that no page below the last used one ever
//   lies beyond the end of the file: a shorter file has been truncated.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "platform/pondo/tables/tables.h"

namespace Pondo::Format {

/// The tables' own, which has nothing to do with the program's version.
inline constexpr std::uint32_t schemaVersion = 7;

inline constexpr char const* tablesDirectory = "tables";
inline constexpr char const* dataFile = "data.mdb";
inline constexpr char const* lockFile = "lock.mdb";
/// Eight bytes, the last generation; rewritten after every commit. Only the write matters.
inline constexpr char const* doorbellFile = "doorbell";
inline constexpr char const* publisherLockFile = "publisher.lock";
/// What readers tell of themselves (environment/reader_report.h; not a table).
inline constexpr char const* readersFile = "readers";
/// The IPv4 counters, on kernels whose own file the agent cannot read (not a table).
inline constexpr char const* netSnmpFile = "net-snmp";

/// The names of what never moves, by which every version knows another.
inline constexpr char const* metaTable = "meta";
inline constexpr std::string_view metaKey = "environment";
inline constexpr char const* logTable = "log";

struct NamedTable {
  TableId id;
  char const* name;  // LMDB's
};
inline constexpr std::array tables{NamedTable{TableId::forwarding, "forwarding"},
                                   NamedTable{TableId::link, "link"},
                                   NamedTable{TableId::address4, "address4"},
                                   NamedTable{TableId::address6, "address6"},
                                   NamedTable{TableId::neighbour4, "neighbour4"},
                                   NamedTable{TableId::neighbour, "neighbour"},
                                   NamedTable{TableId::route, "route"},
                                   NamedTable{TableId::route6, "route6"},
                                   NamedTable{TableId::fec, "fec"}};
/// Greater than every TableId, those to come included.
inline constexpr std::size_t tableIdEnd = 16;

/// For numbers from the change log: one that names no table becomes no enumerator.
constexpr bool isTable(std::uint8_t id) {
  return std::ranges::find(tables, static_cast<TableId>(id), &NamedTable::id) != tables.end();
}

/// True of a layout of that size that has no padding: its fields lie in it as they are declared.
/// The writer compares bytes to know whether a record differs, and bytes that nobody sets would
/// differ by chance.
template <class Layout>
constexpr bool isLayout(std::size_t size) {
  return sizeof(Layout) == size && std::is_trivially_copyable_v<Layout> &&
         std::has_unique_object_representations_v<Layout>;
}

/// "OVOT" in memory order on a little-endian machine; a machine of the other order refuses it.
inline constexpr std::uint32_t metaMagic = 0x544F564FU;

struct MetaRecord {
  std::uint32_t magic = metaMagic;
  std::uint32_t schema = schemaVersion;
  std::uint64_t instance = 0;    // random, drawn when the tables are made anew
  std::uint64_t generation = 0;  // counts commits that changed something
  std::uint64_t logFirst = 0;    // sequence of the oldest entry of the change log
  std::uint64_t logNext = 0;     // sequence that the next entry will have
  std::uint64_t complete = 0;    // 0 until the publisher has filled new tables, then 1
  std::uint64_t origin = 0;      // Origin: whose state the last commit wrote
};
static_assert(isLayout<MetaRecord>(56));

// Each record below begins with the version of its layout, and has zeros where it has nothing to
// say. A reader takes what is not zero there, or a bit that it does not know, for a malformed
// record.
struct ForwardingRecord {
  std::uint8_t version = 1;
  std::uint8_t routing = 0;  // 0 or 1
  std::uint16_t zero = 0;
};
static_assert(isLayout<ForwardingRecord>(4));

inline constexpr std::uint8_t linkAdminUp = 0x01;  // IFF_UP
inline constexpr std::uint8_t linkOperUp = 0x02;   // IFF_UP and IFF_RUNNING
struct LinkRecord {
  std::uint8_t version = 1;
  std::uint8_t flags = 0;  // linkAdminUp, linkOperUp; the rest 0
  std::uint16_t zero = 0;
  std::int32_t ifIndex = 0;  // 1 or more
};
static_assert(isLayout<LinkRecord>(8));

inline constexpr std::uint8_t address4Secondary = 0x01;  // IFA_F_SECONDARY
/// IFNAMSIZ (linux/if.h): of names and labels, the NUL included.
inline constexpr std::size_t labelSize = 16;
struct Address4Record {
  std::uint8_t version = 1;
  std::uint8_t flags = 0;  // address4Secondary; the rest 0
  std::uint16_t zero = 0;
  std::array<char, labelSize> label{};  // padded with NUL, at least one
};
static_assert(isLayout<Address4Record>(20));

inline constexpr std::uint8_t address6Tentative = 0x01;   // IFA_F_TENTATIVE
inline constexpr std::uint8_t address6DadFailed = 0x02;   // IFA_F_DADFAILED
inline constexpr std::uint8_t address6Deprecated = 0x04;  // IFA_F_DEPRECATED
struct Address6Record {
  std::uint8_t version = 1;
  std::uint8_t flags = 0;   // address6Tentative, address6DadFailed, address6Deprecated; the rest 0
  std::uint8_t length = 0;  // of the prefix, 0 to 128
  std::uint8_t zero = 0;
  std::array<std::uint8_t, 16> peer{};
};
static_assert(isLayout<Address6Record>(20));

inline constexpr std::uint8_t neighbour4Static = 0x01;  // NUD_PERMANENT
struct Neighbour4Record {
  std::uint8_t version = 1;
  std::uint8_t flags = 0;  // neighbour4Static; the rest 0
  std::array<std::uint8_t, 6> ethAddr{};
};
static_assert(isLayout<Neighbour4Record>(8));

struct NeighbourRecord {
  std::uint8_t version = 1;
  std::uint8_t origin = 0;  // NeighbourTable::Origin
  std::uint8_t state = 0;   // NeighbourTable::State
  std::uint8_t size = 0;    // of the link address
  std::uint32_t zero = 0;
  std::uint64_t updatedAt = 0;
  std::array<std::uint8_t, Dovel::LinkAddr::sizeMax> linkAddress{};  // padded with zeros
};
static_assert(isLayout<NeighbourRecord>(48));

inline constexpr std::size_t routeKeySize = 5;
inline constexpr std::size_t route6KeySize = 22;
struct RouteRecord {
  std::uint8_t version = 3;
  std::uint8_t preference = 0;
  std::uint8_t routeType = 0;    // of Routing::Fib::RouteType
  std::uint8_t refusedType = 0;  // likewise, of a route that refuses; 0 in others
  std::uint32_t metric = 0;
  std::uint32_t changedAt = 0;
  std::array<std::uint32_t, 2> fecId{};  // a u64 in two halves, which needs no padding; 0: none
};
static_assert(isLayout<RouteRecord>(20));

struct FecRecord {
  std::uint8_t version = 2;
  std::uint8_t zero = 0;
  std::uint16_t viaCount = 0;  // 1 to Fib::viasMax
  std::uint32_t zeros = 0;
};
static_assert(isLayout<FecRecord>(8));

/// Has a next hop, a name or both.
struct FecVia {
  std::array<std::uint8_t, 4> nextHop{};   // zeros: none, or an IPv6 one
  std::int32_t ifIndex = 0;                // 1 or more with a name, 0 without
  std::array<char, labelSize> intfName{};  // padded with NUL, at least one
  std::array<std::uint8_t, 16> nextHop6{};
  std::uint16_t routeType = 0;  // of Routing::Fib::RouteType; unknown: that of the route
  std::uint16_t zero = 0;
};
static_assert(isLayout<FecVia>(44));

/// LMDB's limit, as it is compiled by default (lmdb.h, mdb_env_get_maxkeysize). No key of a table
/// comes near it.
inline constexpr std::size_t keyMax = 511;

}  // namespace Pondo::Format
