#include "platform/pondo/tables/codec.h"

#include <fmt/format.h>

#include "platform/mav/exception.h"
#include "platform/pondo/tables/format.h"
#include "platform/pondo/tables/layout_bytes.h"

namespace Pondo {
namespace {

// A number from the map is looked at before it becomes an enumerator: nothing expects a third one.
bool isFamily(std::uint8_t number) {
  return number == static_cast<std::uint8_t>(Family::ipv4) ||
         number == static_cast<std::uint8_t>(Family::ipv6);
}

}  // namespace

std::string ForwardingTable::encodeKey(Key const& key) {
  auto const number = static_cast<std::uint8_t>(key);
  if (!isFamily(number)) throw Mav::RangeException(fmt::format("no IP version {}", number));
  return std::string(1, static_cast<char>(number));
}

std::optional<ForwardingTable::Key> ForwardingTable::decodeKey(std::string_view bytes) {
  if (bytes.size() != 1) return std::nullopt;
  auto const number = static_cast<std::uint8_t>(bytes[0]);
  if (!isFamily(number)) return std::nullopt;
  return static_cast<Family>(number);
}

std::string ForwardingTable::encodeRecord(Record const& record) {
  Format::ForwardingRecord layout;
  layout.routing = record.routing ? 1 : 0;
  return toBytes(layout);
}

std::optional<ForwardingTable::Record> ForwardingTable::decodeRecord(std::string_view bytes) {
  auto const layout = recordFrom<Format::ForwardingRecord>(bytes);
  if (!layout || layout->routing > 1 || layout->zero != 0) {
    return std::nullopt;
  }
  return Record{.routing = layout->routing == 1};
}

std::string LinkTable::encodeKey(Key const& key) {
  if (key.empty()) throw Mav::RangeException("a link needs a name");
  // Of a link the name alone: IntfIds with a number are the agent's own, and never get here.
  return key.stringValue();
}

std::optional<LinkTable::Key> LinkTable::decodeKey(std::string_view bytes) {
  if (bytes.empty() || bytes.size() > Dovel::IntfId::sizeMax ||
      bytes.find('\0') != std::string_view::npos) {
    return std::nullopt;
  }
  return Dovel::IntfId(bytes);
}

std::string LinkTable::encodeRecord(Record const& record) {
  if (record.ifIndex < 1) {
    throw Mav::RangeException(fmt::format("link ifIndex {} is not 1 or more", record.ifIndex));
  }
  Format::LinkRecord layout;
  if (record.adminUp) layout.flags |= Format::linkAdminUp;
  if (record.operUp) layout.flags |= Format::linkOperUp;
  layout.ifIndex = record.ifIndex;
  return toBytes(layout);
}

std::optional<LinkTable::Record> LinkTable::decodeRecord(std::string_view bytes) {
  // A bit of another meaning comes with another schema: here it makes the record malformed.
  constexpr unsigned known = Format::linkAdminUp | Format::linkOperUp;
  auto const layout = recordFrom<Format::LinkRecord>(bytes);
  if (!layout || (layout->flags & ~known) != 0 || layout->zero != 0 || layout->ifIndex < 1) {
    return std::nullopt;
  }
  return Record{.ifIndex = layout->ifIndex,
                .adminUp = (layout->flags & Format::linkAdminUp) != 0,
                .operUp = (layout->flags & Format::linkOperUp) != 0};
}

}  // namespace Pondo
