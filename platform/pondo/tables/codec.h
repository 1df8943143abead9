#pragma once
// Bytes of keys and records beside what each table has of its own (tables.h).

#include <array>
#include <string>

#include "platform/pondo/tables/format.h"
#include "platform/pondo/tables/tables.h"

namespace Pondo {

/// Do what encodeKey and encodeRecord do, without an allocation: there are a million routes. A
/// RangeException of a record's types is thrown here as well.
std::array<char, Format::routeKeySize> routeKeyBytes(Dovel::Prefix const& prefix);
std::array<char, Format::route6KeySize> routeKeyBytes(Dovel::Ip6Prefix const& prefix);
std::array<char, sizeof(Format::RouteRecord)> routeRecordBytes(Fib::Route const& route);

/// Gives what the keys of all addresses and neighbours of a link begin with, in their tables, and
/// no other key begins with. The mirrors go through what they have filed by it, when a link
/// changes.
std::string addressKeysOf(Dovel::IntfId const& link);

}  // namespace Pondo
