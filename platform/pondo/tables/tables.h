#pragma once
// The kinds of record that a publisher shares with its readers. Each table struct names its id, its
// key and its record, plain values on either side of the border, and makes bytes of them and back;
// format.h says how these lie in memory. The bytes of keys sort as the keys do.
//
// Decoding checks everything (version, length, enumerations, ranges, zero padding) and gives
// nothing for what is malformed: readers skip and count it. Encoding throws Mav::RangeException for
// what readers would refuse, so that a publisher never writes it. Any thread may call either.

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/dovel/eth_addr.h"
#include "platform/dovel/intf_id.h"
#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/ip6_prefix.h"
#include "platform/dovel/ip_addr.h"
#include "platform/dovel/link_addr.h"
#include "platform/dovel/prefix.h"
#include "platform/pondo/tables/fib_values.h"

namespace Pondo {

/// The number of a table, which the change log has for each key. A number is never given to another
/// table. Comparisons go by table in this order, whatever the publisher's.
enum class TableId : std::uint8_t {
  forwarding = 1,
  link = 2,
  address4 = 3,
  address6 = 4,
  neighbour4 = 5,
  route = 6,
  fec = 7,
  route6 = 8,
  neighbour = 9,
};

/// Where the state comes from that the tables hold; it is committed with the state itself.
enum class Origin : std::uint64_t {
  nobody = 0,  // new tables, not written yet
  kernel = 1,  // kelbased
  files = 2,   // kelbasectl load
};

/// A version of IP, by the number in its header.
enum class Family : std::uint8_t { ipv4 = 4, ipv6 = 6 };

/// Whether the machine forwards packets between all its links, by IP version. A version that the
/// kernel lacks is not forwarded. A record that is absent says that nothing is known: managers get
/// genErr then.
struct ForwardingTable {
  static constexpr TableId id = TableId::forwarding;
  using Key = Family;
  struct Record {
    bool routing = false;
    bool operator==(Record const&) const = default;
  };

  static std::string encodeKey(Key const& key);
  static std::optional<Key> decodeKey(std::string_view bytes);
  static std::string encodeRecord(Record const& record);
  static std::optional<Record> decodeRecord(std::string_view bytes);
};

/// The links of the machine, by name. A record is of the pair of name and ifIndex: of a name that
/// comes back with another ifIndex readers take the link for another one.
struct LinkTable {
  static constexpr TableId id = TableId::link;
  using Key = Dovel::IntfId;
  struct Record {
    std::int32_t ifIndex = 0;  // 1 or more
    bool adminUp = false;      // IFF_UP
    bool operUp = false;       // IFF_UP and IFF_RUNNING
    bool operator==(Record const&) const = default;
  };

  static std::string encodeKey(Key const& key);
  static std::optional<Key> decodeKey(std::string_view bytes);
  static std::string encodeRecord(Record const& record);
  static std::optional<Record> decodeRecord(std::string_view bytes);
};

/// The IPv4 addresses of the links. The kernel tells them apart by link, address, mask and the
/// network of the peer (net/ipv4/devinet.c, __inet_insert_ifa): a link may have an address with
/// several lengths, and with several peers. All keys by a link's name change with that name: a
/// rename is an erasure and a put of each.
struct Address4Table {
  static constexpr TableId id = TableId::address4;
  struct Key {
    Dovel::IntfId link;       // at most 15 characters
    Dovel::IpAddr local;      // not 0.0.0.0
    std::uint8_t length = 0;  // of the prefix, 0 to 32
    Dovel::IpAddr peer;       // the other end of the link; `local` where there is none
    auto operator<=>(Key const&) const = default;
  };
  struct Record {
    Dovel::IntfId label;  // at most 15 characters; mostly the link's name; may be empty
    bool secondary = false;
    bool operator==(Record const&) const = default;
  };

  static std::string encodeKey(Key const& key);
  static std::optional<Key> decodeKey(std::string_view bytes);
  static std::string encodeRecord(Record const& record);
  static std::optional<Record> decodeRecord(std::string_view bytes);
};

/// The IPv6 addresses of the links. A link has an address once, with one length
/// (net/ipv6/addrconf.c, ipv6_add_addr_hash). So its length is in the record: another one changes
/// the address, and makes no second one.
struct Address6Table {
  static constexpr TableId id = TableId::address6;
  struct Key {
    Dovel::IntfId link;    // at most 15 characters
    Dovel::Ip6Addr local;  // not ::
    auto operator<=>(Key const&) const = default;
  };
  struct Record {
    std::uint8_t length = 0;  // of the prefix, 0 to 128
    Dovel::Ip6Addr peer;      // the other end of the link; the address itself where there is none
    bool tentative = false;   // not yet known to be unique (RFC 4862 section 5.4)
    bool dadFailed = false;   // known not to be unique
    bool deprecated = false;  // RFC 4862 section 5.5.4
    bool operator==(Record const&) const = default;
  };

  static std::string encodeKey(Key const& key);
  static std::optional<Key> decodeKey(std::string_view bytes);
  static std::string encodeRecord(Record const& record);
  static std::optional<Record> decodeRecord(std::string_view bytes);
};

/// The IPv4 neighbours whose link address the kernel knows and may use. It leaves out those that
/// the kernel is still looking for, has failed to find, answers for (proxy) or never asks for
/// (NUD_NOARP). A neighbour whose link address has not 6 octets has no record. ipNetToMediaTable is
/// made of it (RFC 4293); NeighbourTable, which has more, of ipNetToPhysicalTable.
struct Neighbour4Table {
  static constexpr TableId id = TableId::neighbour4;
  struct Key {
    Dovel::IntfId link;  // at most 15 characters
    Dovel::IpAddr addr;
    auto operator<=>(Key const&) const = default;
  };
  struct Record {
    Dovel::EthAddr ethAddr;
    bool isStatic = false;  // NUD_PERMANENT
    bool operator==(Record const&) const = default;
  };

  static std::string encodeKey(Key const& key);
  static std::optional<Key> decodeKey(std::string_view bytes);
  static std::string encodeRecord(Record const& record);
  static std::optional<Record> decodeRecord(std::string_view bytes);
};

/// InetAddressType (RFC 4001), as far as it is used here.
enum class InetAddressType : std::uint8_t { ipv4 = 1, ipv6 = 2, ipv6z = 4 };

/// The neighbours of both versions of IP, as `ip neighbour` lists them: every state but NUD_NOARP
/// (what is computed) and NUD_NONE, and no proxies. In the order of ipNetToPhysicalTable's
/// instances (RFC 4293). By ifIndex and not by name: a renamed link keeps them.
struct NeighbourTable {
  static constexpr TableId id = TableId::neighbour;
  /// How the kernel came to it.
  enum class Origin : std::uint8_t {
    learned = 0,     // by asking
    configured = 1,  // NUD_PERMANENT: an administrator's
    own = 2,         // NUD_PERMANENT: the kernel's
  };
  /// Where it stands with it: NUD_... (linux/neighbour.h); a permanent one is reachable.
  enum class State : std::uint8_t {
    incomplete = 0,  // asked for the first time
    reachable = 1,
    stale = 2,
    delay = 3,
    probe = 4,
    failed = 5,
  };
  struct Key {
    std::int32_t ifIndex = 0;  // 1 or more
    InetAddressType type = InetAddressType::ipv4;
    Dovel::Ip6Addr::Octets octets{};  // of an IPv4 address the first four, and zeros

    /// Makes the one key that a neighbour of this address has.
    static Key of(std::int32_t ifIndex, Dovel::IpAddr const& address);
    /// ipv6z for a link-local one; the link is its zone.
    static Key of(std::int32_t ifIndex, Dovel::Ip6Addr const& address);
    auto operator<=>(Key const&) const = default;
  };
  struct Record {
    Dovel::LinkAddr linkAddress;  // none while it is not known
    Origin origin = Origin::learned;
    State state = State::incomplete;
    std::uint64_t updatedAt = 0;  // hundredths of a second of CLOCK_BOOTTIME (clock_gettime(2))
    bool operator==(Record const&) const = default;
  };

  static std::string encodeKey(Key const& key);
  static std::optional<Key> decodeKey(std::string_view bytes);
  static std::string encodeRecord(Record const& record);
  static std::optional<Record> decodeRecord(std::string_view bytes);
};

/// What a route of either version says beside its key.
struct RouteRecords {
  using Record = Fib::Route;

  /// Two types that no route has together (Fib::Route::refusedType) are malformed.
  static std::string encodeRecord(Record const& record);
  static std::optional<Record> decodeRecord(std::string_view bytes);
};

/// The IPv4 routes of the main table, one a prefix: the one in use, of the lowest metric that has a
/// next hop alive (kelbase/model/route_book.h). The agent has no copy of these: it reads them in
/// place (Pondo::Fib::SharedFib).
struct RouteTable : RouteRecords {
  static constexpr TableId id = TableId::route;
  using Key = Dovel::Prefix;

  static std::string encodeKey(Key const& key);
  static std::optional<Key> decodeKey(std::string_view bytes);
};

/// The IPv6 routes of the main table, one a prefix (and link, where that is link-local): the one in
/// use, and with it all of its metric that forward. Link-local prefixes name their link by its
/// ifIndex: a renamed link keeps them.
struct Route6Table : RouteRecords {
  static constexpr TableId id = TableId::route6;
  using Key = Dovel::Ip6Prefix;

  static std::string encodeKey(Key const& key);
  static std::optional<Key> decodeKey(std::string_view bytes);
};

/// The sets of next hops that routes of both versions share. The fec of a route is written no later
/// than the route, in the same commit or an earlier one, and removed no earlier: a reader that
/// meets a route finds its fec. A set that changes is one record, and its million routes stay as
/// they are. A fec has 1 to Fib::viasMax vias, each of which leads somewhere: to a next hop, to a
/// link, or both.
struct FecTable {
  static constexpr TableId id = TableId::fec;
  using Key = Fib::FecId;
  using Record = Fib::Fec;

  static std::string encodeKey(Key const& key);
  static std::optional<Key> decodeKey(std::string_view bytes);
  static std::string encodeRecord(Record const& record);
  static std::optional<Record> decodeRecord(std::string_view bytes);
};

}  // namespace Pondo
