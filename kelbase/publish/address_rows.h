#pragma once
// Addresses as rows of Pondo::Address4Table and Pondo::Address6Table. What the kernel
// tells the addresses of a link apart by is in the key: of IPv4 length and peer too, of IPv6 the
// address alone.
//
// Tags for OnLinksView: no state, constants and conversions alone. A key that lost something would
// make two objects one row.

#include "kelbase/model/address.h"
#include "platform/pondo/tables/tables.h"

namespace Kelbase {

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

}  // namespace Kelbase
