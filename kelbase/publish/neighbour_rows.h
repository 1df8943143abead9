#pragma once
// The IPv4 neighbours that are resolved, on Ethernet, as rows of Pondo::Neighbour4Table: a part of
// what NeighbourView shows, by the link's name.
//
// It is there for ipNetToMediaTable, which has IPv4 alone and shows those whose address on the
// link is known: what it could not show would cost every reader a look.

#include <optional>

#include "kelbase/model/neighbour.h"
#include "platform/pondo/tables/tables.h"

namespace Kelbase {

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
