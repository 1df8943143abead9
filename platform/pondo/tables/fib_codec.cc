#include <algorithm>
#include <bit>
#include <iterator>

#include <fmt/format.h>

#include "platform/mav/exception.h"
#include "platform/pondo/tables/codec.h"
#include "platform/pondo/tables/layout_bytes.h"

namespace Pondo {
namespace {

using Routing::Fib::RouteType;

constexpr auto const& routeTypes = Routing::Fib::RouteTypeEnumerators;

constexpr bool areNumberedInOrder() {
  std::int32_t next = 0;
  for (auto const& type : routeTypes) {
    if (type.value != next++) return false;
  }
  return true;
}
// The test of a number is then one comparison: there are a million records.
static_assert(areNumberedInOrder());
static_assert(std::size(routeTypes) <= 256);  // a route's record has an octet for it

bool isRouteType(std::uint32_t number) { return number < std::size(routeTypes); }

// The reader's rules; the writer refuses what they forbid.
bool areTypesOfOne(std::uint32_t routeType, std::uint32_t refusedType) {
  // A route that refuses need not say what it would be otherwise.
  if (refusedType == Routing::Fib::routeTypeUnknown) return isRouteType(routeType);
  return isRefusal(static_cast<RouteType>(routeType)) && isRouteType(refusedType) &&
         !isRefusal(static_cast<RouteType>(refusedType));
}

bool leadsSomewhere(Fib::Via const& via) {
  // A next hop is of one version of IP.
  if (!via.nextHop.isUnspecified() && !via.nextHop6.isUnspecified()) return false;
  if (!via.intfId.empty()) return via.ifIndex >= 1;
  // Without a name the ifIndex says nothing, and has to say so.
  return via.ifIndex == 0 && !(via.nextHop.isUnspecified() && via.nextHop6.isUnspecified());
}

Format::FecVia layoutOf(Fib::Via const& via) {
  auto const name = via.intfId.name();
  Format::FecVia layout;
  if (name.size() >= layout.intfName.size()) {
    throw Mav::RangeException(fmt::format("interface name '{}' is longer than {} characters", name,
                                          layout.intfName.size() - 1));
  }
  if (!leadsSomewhere(via) || !isRouteType(static_cast<std::uint32_t>(via.routeType))) {
    throw Mav::RangeException(
        fmt::format("via of next hop {} and {}, interface '{}', ifIndex {}, type {} is none",
                    via.nextHop.stringValue(), via.nextHop6.stringValue(), name, via.ifIndex,
                    static_cast<std::uint32_t>(via.routeType)));
  }
  layout.nextHop = via.nextHop.octets();
  layout.ifIndex = via.ifIndex;
  std::copy(name.begin(), name.end(), layout.intfName.begin());
  layout.nextHop6 = via.nextHop6.octets();
  layout.routeType = static_cast<std::uint16_t>(via.routeType);
  return layout;
}

std::optional<Fib::Via> viaOf(Format::FecVia const& layout) {
  auto const name = paddedName(layout.intfName);
  if (!name || !isRouteType(layout.routeType) || layout.zero != 0) return std::nullopt;
  Fib::Via via{Dovel::IpAddr(layout.nextHop), Dovel::IntfId(*name), layout.ifIndex,
               Dovel::Ip6Addr(layout.nextHop6),
               static_cast<Routing::Fib::RouteType>(layout.routeType)};
  if (!leadsSomewhere(via)) return std::nullopt;
  return via;
}

}  // namespace

std::array<char, Format::routeKeySize> routeKeyBytes(Dovel::Prefix const& prefix) {
  auto const octets = prefix.address().octets();
  std::array<char, Format::routeKeySize> bytes{};
  std::copy(octets.begin(), octets.end(), bytes.begin());
  // Address before length, most significant octet first: bytes sort as prefixes do, so that a scan
  // is in the order of the instances and a bulk write appends.
  bytes.back() = static_cast<char>(prefix.length());
  return bytes;
}

std::array<char, Format::route6KeySize> routeKeyBytes(Dovel::Ip6Prefix const& prefix) {
  std::array<char, Format::route6KeySize> bytes{};
  auto const octets = prefix.address().octets();
  // Prefixes with a zone stand behind all others, as ipv6z(4) does behind ipv6(2) (RFC 4001).
  bytes[0] = prefix.zone() != 0 ? 1 : 0;
  auto const zone = bigEndian(prefix.zone());
  auto const at = std::copy(octets.begin(), octets.end(), bytes.begin() + 1);
  *std::copy(zone.begin(), zone.end(), at) = static_cast<char>(prefix.length());
  return bytes;
}

std::array<char, sizeof(Format::RouteRecord)> routeRecordBytes(Fib::Route const& route) {
  auto const type = static_cast<std::uint32_t>(route.routeType);
  auto const refusedType = static_cast<std::uint32_t>(route.refusedType);
  if (!areTypesOfOne(type, refusedType)) {
    throw Mav::RangeException(
        fmt::format("no route has type {}, refused type {}", type, refusedType));
  }
  Format::RouteRecord layout;
  layout.preference = route.preference.value();
  layout.routeType = static_cast<std::uint8_t>(type);
  layout.refusedType = static_cast<std::uint8_t>(refusedType);
  layout.metric = route.metric.value();
  layout.changedAt = route.changedAt;
  // A std::uint64_t at offset 12 would be preceded by padding.
  layout.fecId = std::bit_cast<std::array<std::uint32_t, 2>>(route.fecId.value());
  return std::bit_cast<std::array<char, sizeof layout>>(layout);
}

std::string RouteTable::encodeKey(Key const& key) { return toBytes(routeKeyBytes(key)); }

std::optional<RouteTable::Key> RouteTable::decodeKey(std::string_view bytes) {
  auto const layout = fromBytes<std::array<std::uint8_t, Format::routeKeySize>>(bytes);
  if (!layout) return std::nullopt;
  Dovel::IpAddr const address({(*layout)[0], (*layout)[1], (*layout)[2], (*layout)[3]});
  unsigned const length = layout->back();
  // A prefix with host bits has no place in the order of prefixes.
  if (length > Dovel::IpAddr::bits || address.masked(length) != address) return std::nullopt;
  return Dovel::Prefix(address, length);
}

std::string RouteRecords::encodeRecord(Record const& record) {
  return toBytes(routeRecordBytes(record));
}

std::optional<Fib::Route> RouteRecords::decodeRecord(std::string_view bytes) {
  auto const layout = recordFrom<Format::RouteRecord>(bytes);
  if (!layout || !areTypesOfOne(layout->routeType, layout->refusedType)) {
    return std::nullopt;
  }
  return Fib::Route{
      .fecId = Fib::FecId(std::bit_cast<std::uint64_t>(layout->fecId)),
      .metric = Routing::RouteMetric(layout->metric),
      .preference = Routing::RoutePreference(layout->preference),
      .routeType = static_cast<RouteType>(layout->routeType),
      .refusedType = static_cast<RouteType>(layout->refusedType),
      .changedAt = layout->changedAt,
  };
}

std::string Route6Table::encodeKey(Key const& key) { return toBytes(routeKeyBytes(key)); }

std::optional<Route6Table::Key> Route6Table::decodeKey(std::string_view bytes) {
  if (bytes.size() != Format::route6KeySize) return std::nullopt;
  auto const address = *fromBytes<Dovel::Ip6Addr::Octets>(bytes.substr(1, 16));
  auto const zone = *fromBigEndian<std::uint32_t>(bytes.substr(17, 4));
  unsigned const length = static_cast<unsigned char>(bytes.back());
  if (length > Dovel::Ip6Addr::bits) return std::nullopt;
  Dovel::Ip6Addr const prefix(address);
  // Whatever could not come of a prefix would have a place in the order of keys that nothing files
  // under.
  if (prefix.masked(length) != prefix || bytes[0] != (zone != 0 ? 1 : 0) ||
      Dovel::Ip6Prefix::isZoned(prefix, length) != (zone != 0)) {
    return std::nullopt;
  }
  return Dovel::Ip6Prefix(prefix, length, zone);
}

std::string FecTable::encodeKey(Key const& key) {
  if (!key) throw Mav::RangeException("a fec needs an id other than 0");
  // The ids drawn last stand last, and are appended.
  return toBytes(bigEndian(key.value()));
}

std::optional<FecTable::Key> FecTable::decodeKey(std::string_view bytes) {
  auto const number = fromBigEndian<std::uint64_t>(bytes);
  if (!number || *number == 0) return std::nullopt;
  return Fib::FecId(*number);
}

std::string FecTable::encodeRecord(Record const& record) {
  auto const count = record.vias.size();
  if (count < 1 || count > Fib::viasMax) {
    throw Mav::RangeException(fmt::format("a fec of {} vias; 1 to {} are", count, Fib::viasMax));
  }
  Format::FecRecord layout;
  layout.viaCount = static_cast<std::uint16_t>(count);
  auto bytes = toBytes(layout);
  bytes.reserve(sizeof layout + count * sizeof(Format::FecVia));
  for (auto const& via : record.vias) bytes += toBytes(layoutOf(via));
  return bytes;
}

std::optional<FecTable::Record> FecTable::decodeRecord(std::string_view bytes) {
  // The head may be shorter than it should: substr() gives what there is, and the size refuses it.
  auto const layout = recordFrom<Format::FecRecord>(bytes.substr(0, sizeof(Format::FecRecord)));
  if (!layout || layout->zero != 0 || layout->zeros != 0 || layout->viaCount < 1 ||
      layout->viaCount > Fib::viasMax) {
    return std::nullopt;
  }
  bytes.remove_prefix(sizeof *layout);
  if (bytes.size() != layout->viaCount * sizeof(Format::FecVia)) return std::nullopt;
  Fib::Fec fec;
  fec.vias.reserve(layout->viaCount);
  for (; !bytes.empty(); bytes.remove_prefix(sizeof(Format::FecVia))) {
    auto const via = viaOf(*fromBytes<Format::FecVia>(bytes.substr(0, sizeof(Format::FecVia))));
    if (!via) return std::nullopt;
    fec.vias.push_back(*via);
  }
  return fec;
}

}  // namespace Pondo
