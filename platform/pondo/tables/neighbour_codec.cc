#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "platform/mav/exception.h"
#include "platform/pondo/tables/codec.h"
#include "platform/pondo/tables/format.h"
#include "platform/pondo/tables/layout_bytes.h"

namespace Pondo {

NeighbourTable::Key NeighbourTable::Key::of(std::int32_t ifIndex, Dovel::IpAddr const& address) {
  Key key{.ifIndex = ifIndex, .type = InetAddressType::ipv4};
  auto const octets = address.octets();
  std::copy(octets.begin(), octets.end(), key.octets.begin());
  return key;
}

NeighbourTable::Key NeighbourTable::Key::of(std::int32_t ifIndex, Dovel::Ip6Addr const& address) {
  // A link-local address means nothing without its link: it has the type with a zone (RFC 4001).
  auto const type = address.isLinkLocal() ? InetAddressType::ipv6z : InetAddressType::ipv6;
  return {.ifIndex = ifIndex, .type = type, .octets = address.octets()};
}

std::string NeighbourTable::encodeKey(Key const& key) {
  if (key.ifIndex < 1) {
    throw Mav::RangeException(fmt::format("a neighbour of the link {}", key.ifIndex));
  }
  // Keys sort as the rows of ipNetToPhysicalTable do.
  auto bytes = toBytes(bigEndian(static_cast<std::uint32_t>(key.ifIndex)));
  bytes += static_cast<char>(key.type);
  // The length tells the version; the type before it keeps the order of ipNetToPhysicalTable, where
  // IPv4 comes first and zoned addresses last (RFC 4001).
  auto const size = key.type == InetAddressType::ipv4 ? sizeof(Dovel::IpAddr::Octets)
                                                      : sizeof(Dovel::Ip6Addr::Octets);
  return bytes + toBytes(key.octets).substr(0, size);
}

std::optional<NeighbourTable::Key> NeighbourTable::decodeKey(std::string_view bytes) {
  constexpr std::size_t head = 5;
  if (bytes.size() < head) return std::nullopt;
  auto const ifIndex = *fromBigEndian<std::uint32_t>(bytes.substr(0, 4));
  // InterfaceIndex is 1 to 2147483647 (RFC 2863).
  if (ifIndex < 1 || ifIndex > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
  auto const of = [&](auto const& address) {
    return NeighbourTable::Key::of(static_cast<std::int32_t>(ifIndex), address);
  };
  NeighbourTable::Key key;
  if (auto const octets = fromBytes<Dovel::IpAddr::Octets>(bytes.substr(head))) {
    key = of(Dovel::IpAddr(*octets));
  } else if (auto const octets6 = fromBytes<Dovel::Ip6Addr::Octets>(bytes.substr(head))) {
    key = of(Dovel::Ip6Addr(*octets6));
  } else {
    return std::nullopt;
  }
  // Its address tells a key's type: with another one a neighbour would have two keys.
  if (static_cast<char>(key.type) != bytes[head - 1]) return std::nullopt;
  return key;
}

std::string NeighbourTable::encodeRecord(Record const& record) {
  Format::NeighbourRecord layout;
  layout.origin = static_cast<std::uint8_t>(record.origin);
  layout.state = static_cast<std::uint8_t>(record.state);
  layout.updatedAt = record.updatedAt;
  auto const octets = record.linkAddress.octets();
  layout.size = static_cast<std::uint8_t>(octets.size());
  std::copy(octets.begin(), octets.end(), layout.linkAddress.begin());
  return toBytes(layout);
}

std::optional<NeighbourTable::Record> NeighbourTable::decodeRecord(std::string_view bytes) {
  auto const layout = recordFrom<Format::NeighbourRecord>(bytes);
  if (!layout || layout->zero != 0 ||
      layout->origin > static_cast<std::uint8_t>(NeighbourTable::Origin::own) ||
      layout->state > static_cast<std::uint8_t>(NeighbourTable::State::failed) ||
      layout->size > layout->linkAddress.size() ||
      std::any_of(layout->linkAddress.begin() + layout->size, layout->linkAddress.end(),
                  [](std::uint8_t octet) { return octet != 0; })) {
    return std::nullopt;
  }
  return Record{
      .linkAddress = Dovel::LinkAddr({layout->linkAddress.data(), layout->size}),
      .origin = static_cast<NeighbourTable::Origin>(layout->origin),
      .state = static_cast<NeighbourTable::State>(layout->state),
      .updatedAt = layout->updatedAt,
  };
}

}  // namespace Pondo
