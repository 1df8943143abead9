#include <algorithm>

#include <fmt/format.h>

#include "platform/mav/exception.h"
#include "platform/pondo/tables/codec.h"
#include "platform/pondo/tables/format.h"
#include "platform/pondo/tables/layout_bytes.h"

namespace Pondo {
namespace {

// Keys that begin with a link: its name, a NUL, then what tells its records apart, addresses first.
// No name has a NUL, and no octet is less: all keys of "eth1" stand together, before those of
// "eth10", and the bytes sort as (link, rest) does.
constexpr char nameEnd = '\0';

/// The longest name of a link: IFNAMSIZ - 1 (linux/if.h). What the agent makes of a name, such as
/// "eth0#2", has to fit a Dovel::IntfId too.
constexpr std::size_t linkNameMax = 15;

/// A key, taken apart.
struct LinkAndRest {
  Dovel::IntfId link;
  std::string_view rest;  // a view of the key
};

/// Nothing when the bytes do not begin with a link's name. What the rest may be is the caller's to
/// check.
std::optional<LinkAndRest> takeLink(std::string_view bytes) {
  auto const end = bytes.find(nameEnd);
  if (end == bytes.npos || end > linkNameMax) return std::nullopt;
  auto const link = LinkTable::decodeKey(bytes.substr(0, end));
  if (!link) return std::nullopt;
  return LinkAndRest{*link, bytes.substr(end + 1)};
}

void checkLinkName(Dovel::IntfId const& link) {
  if (link.name().size() > linkNameMax) {
    throw Mav::RangeException(
        fmt::format("interface name '{}' is longer than {} characters", link.name(), linkNameMax));
  }
}

template <class Addr>
void checkAddress(Dovel::IntfId const& link, Addr const& local, unsigned length) {
  checkLinkName(link);
  if (local.isUnspecified()) {
    throw Mav::RangeException(fmt::format("{} is no interface's address", local.stringValue()));
  }
  Dovel::checkedLength(length, Addr::bits);
}

template <class Addr>
void appendAddress(std::string& bytes, Addr const& addr) {
  bytes += toBytes(addr.octets());
}

/// Gives the address in `bytes` at `offset`; the caller has checked that it lies within.
template <class Addr>
Addr addressAt(std::string_view bytes, std::size_t offset) {
  using Octets = typename Addr::Octets;
  return Addr(*fromBytes<Octets>(bytes.substr(offset, sizeof(Octets))));
}

}  // namespace

std::string addressKeysOf(Dovel::IntfId const& link) {
  return LinkTable::encodeKey(link) + nameEnd;
}

std::string Address4Table::encodeKey(Key const& key) {
  checkAddress(key.link, key.local, key.length);
  auto bytes = addressKeysOf(key.link);
  appendAddress(bytes, key.local);
  bytes += static_cast<char>(key.length);
  appendAddress(bytes, key.peer);
  return bytes;
}

std::optional<Address4Table::Key> Address4Table::decodeKey(std::string_view bytes) {
  auto const parts = takeLink(bytes);
  // Address, length, peer.
  if (!parts || parts->rest.size() != 9) return std::nullopt;
  Address4Table::Key const key{parts->link, addressAt<Dovel::IpAddr>(parts->rest, 0),
                               static_cast<std::uint8_t>(parts->rest[4]),
                               addressAt<Dovel::IpAddr>(parts->rest, 5)};
  if (key.local.isUnspecified() || key.length > Dovel::IpAddr::bits) return std::nullopt;
  return key;
}

std::string Address4Table::encodeRecord(Record const& record) {
  Format::Address4Record layout;
  auto const label = record.label.name();
  // A NUL has to follow (paddedName).
  if (label.size() >= layout.label.size()) {
    throw Mav::RangeException(fmt::format("address label '{}' is longer than {} characters", label,
                                          layout.label.size() - 1));
  }
  if (record.secondary) layout.flags |= Format::address4Secondary;
  std::copy(label.begin(), label.end(), layout.label.begin());
  return toBytes(layout);
}

std::optional<Address4Table::Record> Address4Table::decodeRecord(std::string_view bytes) {
  auto const layout = recordFrom<Format::Address4Record>(bytes);
  if (!layout || (layout->flags & ~unsigned{Format::address4Secondary}) != 0 || layout->zero != 0) {
    return std::nullopt;
  }
  auto const label = paddedName(layout->label);
  if (!label) return std::nullopt;
  return Record{
      .label = Dovel::IntfId(*label),
      .secondary = (layout->flags & Format::address4Secondary) != 0,
  };
}

std::string Address6Table::encodeKey(Key const& key) {
  // A link has an address once, whatever its length (tables.h): that is in the record.
  checkAddress(key.link, key.local, 0);
  auto bytes = addressKeysOf(key.link);
  appendAddress(bytes, key.local);
  return bytes;
}

std::optional<Address6Table::Key> Address6Table::decodeKey(std::string_view bytes) {
  auto const parts = takeLink(bytes);
  if (!parts || parts->rest.size() != sizeof(Dovel::Ip6Addr::Octets)) return std::nullopt;
  Address6Table::Key const key{parts->link, addressAt<Dovel::Ip6Addr>(parts->rest, 0)};
  if (key.local.isUnspecified()) return std::nullopt;
  return key;
}

std::string Address6Table::encodeRecord(Record const& record) {
  Format::Address6Record layout;
  layout.length =
      static_cast<std::uint8_t>(Dovel::checkedLength(record.length, Dovel::Ip6Addr::bits));
  if (record.tentative) layout.flags |= Format::address6Tentative;
  if (record.dadFailed) layout.flags |= Format::address6DadFailed;
  if (record.deprecated) layout.flags |= Format::address6Deprecated;
  // The address itself where there is no peer: readers need not know of that case.
  layout.peer = record.peer.octets();
  return toBytes(layout);
}

std::optional<Address6Table::Record> Address6Table::decodeRecord(std::string_view bytes) {
  constexpr unsigned known =
      Format::address6Tentative | Format::address6DadFailed | Format::address6Deprecated;
  auto const layout = recordFrom<Format::Address6Record>(bytes);
  if (!layout || (layout->flags & ~known) != 0 || layout->length > Dovel::Ip6Addr::bits ||
      layout->zero != 0) {
    return std::nullopt;
  }
  return Record{
      .length = layout->length,
      .peer = Dovel::Ip6Addr(layout->peer),
      .tentative = (layout->flags & Format::address6Tentative) != 0,
      .dadFailed = (layout->flags & Format::address6DadFailed) != 0,
      .deprecated = (layout->flags & Format::address6Deprecated) != 0,
  };
}

std::string Neighbour4Table::encodeKey(Key const& key) {
  checkLinkName(key.link);
  // 0.0.0.0 is a key like others: the kernel has neighbours of that address.
  auto bytes = addressKeysOf(key.link);
  appendAddress(bytes, key.addr);
  return bytes;
}

std::optional<Neighbour4Table::Key> Neighbour4Table::decodeKey(std::string_view bytes) {
  auto const parts = takeLink(bytes);
  if (!parts || parts->rest.size() != sizeof(Dovel::IpAddr::Octets)) return std::nullopt;
  return Neighbour4Table::Key{parts->link, addressAt<Dovel::IpAddr>(parts->rest, 0)};
}

std::string Neighbour4Table::encodeRecord(Record const& record) {
  Format::Neighbour4Record layout;
  if (record.isStatic) layout.flags |= Format::neighbour4Static;
  layout.ethAddr = record.ethAddr.octets();
  return toBytes(layout);
}

std::optional<Neighbour4Table::Record> Neighbour4Table::decodeRecord(std::string_view bytes) {
  auto const layout = recordFrom<Format::Neighbour4Record>(bytes);
  if (!layout || (layout->flags & ~unsigned{Format::neighbour4Static}) != 0) {
    return std::nullopt;
  }
  return Record{
      .ethAddr = Dovel::EthAddr(layout->ethAddr),
      .isStatic = (layout->flags & Format::neighbour4Static) != 0,
  };
}

}  // namespace Pondo
