#pragma once
// Addresses and neighbours as rows of their tables. Tags for OnLinksView: no state, constants and
// conversions alone. A key that lost something would make two objects one row.

#include <optional>

#include "kelbase/model/address.h"
#include "kelbase/model/neighbour.h"
#include "platform/pondo/tables/tables.h"

namespace Kelbase {

/// What the kernel tells the addresses of a link apart by is in the key.
struct Address4Row {
  static constexpr std::string_view name = "addresses";
  using Table = Pondo::Address4Table;
  using Object = Address4;

  static Table::Key key(Dovel::IntfId const& link, Address4::Key const& key) {
    return {link, key.local, key.length, key.peer};
  }
  static Address4::Key objectKey(Table::Key const& key) {
    return {key.local, key.length, key.peer};
  }
  /// Whether the address makes a route is left out: it bears on what the kernel does in silence
  /// alone (PreferredSources).
  static Table::Record record(Address4::State const& state) {
    return {state.label, state.isSecondary};
  }
};

/// The kernel has an address once on a link, whatever its length and peer: both are in the record.
struct Address6Row {
  static constexpr std::string_view name = "addresses";
  using Table = Pondo::Address6Table;
  using Object = Address6;

  static Table::Key key(Dovel::IntfId const& link, Address6::Key const& key) { return {link, key}; }
  static Address6::Key objectKey(Table::Key const& key) { return key.local; }
  static Table::Record record(Address6::State const& state) {
    return {state.length, state.peer, state.isTentative, state.hasFailed, state.isDeprecated};
  }
};

/// The IPv4 neighbours that are resolved, on Ethernet: a part of what NeighbourView shows, by the
/// link's name. It is there for ipNetToMediaTable, which has IPv4 alone and shows those whose
/// address on the link is known: what it could not show would cost every reader a look.
struct Neighbour4Row {
  /// None: it repeats a part of NeighbourView's rows (see TableView::name).
  static constexpr std::string_view name = {};
  using Table = Pondo::Neighbour4Table;
  using Object = Neighbour;

  static std::optional<Table::Key> key(Dovel::IntfId const& link, Neighbour::Key const& key) {
    auto const* addr = std::get_if<Dovel::IpAddr>(&key);
    return addr ? std::optional(Table::Key{link, *addr}) : std::nullopt;
  }
  static Neighbour::Key objectKey(Table::Key const& key) { return key.addr; }
  static std::optional<Table::Record> record(Neighbour::State const& state) {
    auto const octets = state.linkAddress.octets();
    // A neighbour that is probed keeps its address meanwhile, and its row.
    if (!state.isResolved() || octets.size() != sizeof(Dovel::EthAddr::Octets)) return {};
    return Table::Record{Dovel::EthAddr::fromBytes(octets),
                         state.reach == Neighbour::Reach::permanent};
  }
};

}  // namespace Kelbase
