#pragma once
// Keys and records as bytes, and back. The layouts themselves are in format.h. The bytes of keys
// sort as the keys do. Decoding checks everything (version, length, enumerations, ranges, zero
// padding) and gives nothing for what is malformed. Encoding throws Mav::RangeException for what
// readers would refuse, so that a publisher never writes it.

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "platform/pondo/tables/format.h"
#include "platform/pondo/tables/tables.h"

namespace Pondo {

/// Encode a key or a record of a table, or throw Mav::RangeException; decode one, or give nothing.
/// Each table has the four below. They keep nothing: any thread may call them.
template <class Table>
std::string encodeKey(typename Table::Key const& key);
template <class Table>
std::optional<typename Table::Key> decodeKey(std::string_view bytes);
template <class Table>
std::string encodeRecord(typename Table::Record const& record);
template <class Table>
std::optional<typename Table::Record> decodeRecord(std::string_view bytes);

/// By version of IP: an octet, 4 or 6.
template <>
std::string encodeKey<ForwardingTable>(Family const& key);
template <>
std::optional<Family> decodeKey<ForwardingTable>(std::string_view bytes);
template <>
std::string encodeRecord<ForwardingTable>(ForwardingTable::Record const& record);
template <>
std::optional<ForwardingTable::Record> decodeRecord<ForwardingTable>(std::string_view bytes);

/// A link: its name as it is, and an ifIndex of 1 or more.
template <>
std::string encodeKey<LinkTable>(Dovel::IntfId const& key);
template <>
std::optional<Dovel::IntfId> decodeKey<LinkTable>(std::string_view bytes);
template <>
std::string encodeRecord<LinkTable>(LinkTable::Record const& record);
template <>
std::optional<LinkTable::Record> decodeRecord<LinkTable>(std::string_view bytes);

/// An IPv4 address of a link: none is 0.0.0.0, and the prefix has 32 bits at most.
template <>
std::string encodeKey<Address4Table>(Address4Table::Key const& key);
template <>
std::optional<Address4Table::Key> decodeKey<Address4Table>(std::string_view bytes);
template <>
std::string encodeRecord<Address4Table>(Address4Table::Record const& record);
template <>
std::optional<Address4Table::Record> decodeRecord<Address4Table>(std::string_view bytes);

/// An IPv6 address of a link: none is ::. Its length is in the record, not in the key.
template <>
std::string encodeKey<Address6Table>(Address6Table::Key const& key);
template <>
std::optional<Address6Table::Key> decodeKey<Address6Table>(std::string_view bytes);
template <>
std::string encodeRecord<Address6Table>(Address6Table::Record const& record);
template <>
std::optional<Address6Table::Record> decodeRecord<Address6Table>(std::string_view bytes);

/// An IPv4 neighbour of a link, by the link's name.
template <>
std::string encodeKey<Neighbour4Table>(Neighbour4Table::Key const& key);
template <>
std::optional<Neighbour4Table::Key> decodeKey<Neighbour4Table>(std::string_view bytes);
template <>
std::string encodeRecord<Neighbour4Table>(Neighbour4Table::Record const& record);
template <>
std::optional<Neighbour4Table::Record> decodeRecord<Neighbour4Table>(std::string_view bytes);

/// An IPv4 route. A prefix with host bits is malformed, and so are two types that no route has
/// together (Fib::Route::refusedType).
template <>
std::string encodeKey<RouteTable>(Dovel::Prefix const& key);
template <>
std::optional<Dovel::Prefix> decodeKey<RouteTable>(std::string_view bytes);
template <>
std::string encodeRecord<RouteTable>(Fib::Route const& record);
template <>
std::optional<Fib::Route> decodeRecord<RouteTable>(std::string_view bytes);

/// A fec: an id other than 0, and 1 to 128 vias, each of which leads somewhere: to a next hop, to a
/// link, or both.
template <>
std::string encodeKey<FecTable>(Fib::FecId const& key);
template <>
std::optional<Fib::FecId> decodeKey<FecTable>(std::string_view bytes);
template <>
std::string encodeRecord<FecTable>(Fib::Fec const& record);
template <>
std::optional<Fib::Fec> decodeRecord<FecTable>(std::string_view bytes);

/// An IPv6 route. A prefix has a zone where it is link-local, and nowhere else.
template <>
std::string encodeKey<Route6Table>(Dovel::Ip6Prefix const& key);
template <>
std::optional<Dovel::Ip6Prefix> decodeKey<Route6Table>(std::string_view bytes);
template <>
std::string encodeRecord<Route6Table>(Fib::Route const& record);
template <>
std::optional<Fib::Route> decodeRecord<Route6Table>(std::string_view bytes);

/// A neighbour of either version, by ifIndex. The type in its key is the one that follows from its
/// address.
template <>
std::string encodeKey<NeighbourTable>(NeighbourTable::Key const& key);
template <>
std::optional<NeighbourTable::Key> decodeKey<NeighbourTable>(std::string_view bytes);
template <>
std::string encodeRecord<NeighbourTable>(NeighbourTable::Record const& record);
template <>
std::optional<NeighbourTable::Record> decodeRecord<NeighbourTable>(std::string_view bytes);

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
