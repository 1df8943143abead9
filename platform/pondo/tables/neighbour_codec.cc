#include "platform/pondo/tables/codec.h"
#include "platform/pondo/tables/format.h"
#include "platform/pondo/tables/layout_bytes.h"
#include "platform/pondo/tables/link_key.h"

namespace Pondo {

template <>
std::string encodeKey<Neighbour4Table>(Neighbour4Table::Key const& key) {
  checkLinkName(key.link);
  auto bytes = addressKeysOf(key.link);
  appendAddress(bytes, key.addr);
  return bytes;
}

template <>
std::optional<Neighbour4Table::Key> decodeKey<Neighbour4Table>(std::string_view bytes) {
  auto const parts = takeLink(bytes);
  if (!parts || parts->rest.size() != sizeof(Dovel::IpAddr::Octets)) return std::nullopt;
  return Neighbour4Table::Key{parts->link, addressAt<Dovel::IpAddr>(parts->rest, 0)};
}

template <>
std::string encodeRecord<Neighbour4Table>(Neighbour4Table::Record const& record) {
  Format::Neighbour4Record layout;
  if (record.isStatic) layout.flags |= Format::neighbour4Static;
  layout.ethAddr = record.ethAddr.octets();
  return toBytes(layout);
}

template <>
std::optional<Neighbour4Table::Record> decodeRecord<Neighbour4Table>(std::string_view bytes) {
  auto const layout = fromBytes<Format::Neighbour4Record>(bytes);
  if (!layout || layout->version != Format::neighbour4Version ||
      (layout->flags & ~unsigned{Format::neighbour4Static}) != 0) {
    return std::nullopt;
  }
  return Neighbour4Table::Record{
      .ethAddr = Dovel::EthAddr(layout->ethAddr),
      .isStatic = (layout->flags & Format::neighbour4Static) != 0,
  };
}

}  // namespace Pondo
