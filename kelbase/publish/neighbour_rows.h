#pragma once
// IPv4 neighbours as rows of Pondo::Neighbour4Table.

#include "kelbase/model/neighbour.h"
#include "platform/pondo/tables/tables.h"

namespace Kelbase {

struct Neighbour4Row {
  static constexpr std::string_view name = "neighbours";
  using Table = Pondo::Neighbour4Table;
  using Object = Neighbour4;

  static Table::Key key(Dovel::IntfId const& link, Neighbour4::Key const& key) {
    return {link, key};
  }
  static Neighbour4::Key objectKey(Table::Key const& key) { return key.addr; }
  static Table::Record record(Neighbour4::State const& state) {
    return {state.linkAddress, state.isStatic};
  }
};

}  // namespace Kelbase
