#include "kelbase/publish/neighbour_view.h"

#include <algorithm>
#include <array>

#include "kelbase/model/trace.h"

namespace Kelbase {
namespace {

using Table = Pondo::NeighbourTable;

Table::Key rowKey(std::int32_t link, Neighbour::Key const& key) {
  return std::visit([link](auto const& addr) { return Table::Key::of(link, addr); }, key);
}

Neighbour::Key objectKey(Table::Key const& key) {
  // ipv6 and ipv6z alike: the zone of a link-local address is the key's link.
  if (key.type != Pondo::InetAddressType::ipv4) return Dovel::Ip6Addr(key.octets);
  Dovel::IpAddr::Octets octets;
  std::copy_n(key.octets.begin(), octets.size(), octets.begin());
  return Dovel::IpAddr(octets);
}

/// In the order of Neighbour::Reach. A permanent one is never doubted: that its entry is static
/// another column tells (RFC 4293, ipNetToPhysicalType).
constexpr std::array<Table::State, 7> rowStates{
    Table::State::incomplete, Table::State::reachable, Table::State::stale,     Table::State::delay,
    Table::State::probe,      Table::State::failed,    Table::State::reachable,
};

Table::Origin rowOrigin(Neighbour::State const& state) {
  if (state.reach != Neighbour::Reach::permanent) return Table::Origin::learned;
  // local(5) and static(4) of ipNetToPhysicalType: both are permanent to the kernel.
  return state.isOwn ? Table::Origin::own : Table::Origin::configured;
}

Table::Record recordOf(Neighbour::State const& state) {
  return {state.linkAddress, rowOrigin(state), rowStates.at(static_cast<std::size_t>(state.reach)),
          state.updatedAt};
}

}  // namespace

std::optional<Table::Record> NeighbourView::find(Key const& key) const {
  auto const* state = neighbours_.find(key.ifIndex, objectKey(key));
  return state ? std::optional(recordOf(*state)) : std::nullopt;
}

Pondo::Writer::SyncCounts NeighbourView::writeAll(Pondo::Writer& writer) {
  // The kernel tells how long ago a neighbour was updated: the time that comes of it is a little
  // different at each reading. That of the table stays, or a restart would change every record.
  writer.scan<Table>([this](Key const& key, Record const& record) {
    neighbours_.updatedAtIs(key.ifIndex, objectKey(key), record.updatedAt);
  });
  return RowView::writeAll(writer);
}

void NeighbourView::forEachRow(Visit visit) const {
  neighbours_.forEach([&](std::int32_t link, auto const& key, auto const& state) {
    visit(rowKey(link, key), recordOf(state));
  });
}

void NeighbourView::onObject(Neighbour const& neighbour) {
  mark(rowKey(neighbour.link, neighbour.key));
  MAV_TRACE(traceHandle(), 2,
            "neighbour " << neighbour.address() << " of link " << neighbour.link << " changed");
}

void NeighbourView::onGoneWithLink(std::int32_t link, Neighbour::Key const& key) {
  // The link's name is no part of the key, so that nothing has marked it yet.
  mark(rowKey(link, key));
}

}  // namespace Kelbase
