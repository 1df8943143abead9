#include "agent/ip_net_to_physical_table_sm.h"

#include <algorithm>
#include <array>

#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"

namespace IpSnmp {
namespace {

using Table = Pondo::NeighbourTable;

TypedInetAddress addressOf(Table::Key const& key) {
  auto const& octets = key.octets;
  switch (key.type) {
    case Pondo::InetAddressType::ipv4:
      return TypedInetAddress(Dovel::IpAddr({octets[0], octets[1], octets[2], octets[3]}));
    case Pondo::InetAddressType::ipv6:
      return {Dovel::Ip6Addr(octets), 0};
    case Pondo::InetAddressType::ipv6z:
      break;
  }
  // The zone of a link-local neighbour is the link that it was heard on (RFC 4007).
  return {Dovel::Ip6Addr(octets), static_cast<std::uint32_t>(key.ifIndex)};
}

IpNetToPhysicalIndex rowKey(Table::Key const& key) {
  return {static_cast<std::uint32_t>(key.ifIndex), addressOf(key)};
}

Table::Key tableKey(IpNetToPhysicalIndex const& key) {
  Table::Key result{.ifIndex = static_cast<std::int32_t>(key.ifIndex()),
                    // Both are numbered as RFC 4001 has the types.
                    .type = static_cast<Pondo::InetAddressType>(key.netAddress().type()),
                    .octets = {}};
  auto const octets = key.netAddress().octets();
  // A zone, behind the sixteenth octet, is the ifIndex once more.
  auto const size = std::min(octets.size(), result.octets.size());
  std::copy_n(octets.begin(), size, result.octets.begin());
  return result;
}

NetToPhysicalType typeOf(Table::Record const& record) {
  // "invalid" tells a manager not to use it (RFC 4293).
  if (record.state == Table::State::failed) return netToPhysicalTypeInvalid;
  switch (record.origin) {
    case Table::Origin::learned:
      return netToPhysicalTypeDynamic;
    case Table::Origin::configured:
      return netToPhysicalTypeStatic;
    case Table::Origin::own:
      break;
  }
  return netToPhysicalTypeLocal;
}

NetToPhysicalState stateOf(Table::State state) {
  // By the numbers of Pondo's states.
  constexpr std::array states{netToPhysicalStateIncomplete, netToPhysicalStateReachable,
                              netToPhysicalStateStale,      netToPhysicalStateDelay,
                              netToPhysicalStateProbe,      netToPhysicalStateInvalid};
  // at(): a state beyond the list would be a fault of the codec, which lets none through.
  return states.at(static_cast<std::size_t>(state));
}

constexpr std::array neighbourTables{Table::id};

}  // namespace

std::span<Pondo::TableId const> IpNetToPhysicalTableSm::tables() const { return neighbourTables; }

void IpNetToPhysicalTableSm::onChanges(Pondo::Snapshot const& snapshot,
                                       std::span<Pondo::Change const> changes) {
  Blipmark::Timer const blip(
      "void IpSnmp::IpNetToPhysicalTableSm::onChanges(Pondo::Snapshot const&, "
      "std::span<Pondo::Change const>)");
  for (auto const& change : changes) {
    if (change.table != Table::id) continue;
    auto const key = Table::decodeKey(change.key);
    if (!key) continue;  // a foreign key names nothing that could be filed
    auto const row = rowKey(*key);
    // Read by key although a comparison hands the record along: a slice of the log has none.
    auto const record = snapshot.get<Table>(*key);
    MAV_TRACE(agentTraceHandle(), 8, (record ? "neighbour " : "no neighbour ") << row);
    if (record) {
      ipMib_->ipNetToPhysicalTableIs(
          row, {record->linkAddress, typeOf(*record), stateOf(record->state), record->updatedAt});
    } else {
      ipMib_->ipNetToPhysicalTableDel(row);
    }
  }
}

std::optional<std::string> IpNetToPhysicalTableSm::filedKey(Pondo::TableId table,
                                                            std::string_view from) const {
  if (table != Table::id) return std::nullopt;
  auto const bytesOf = [](auto const& key) { return Table::encodeKey(tableKey(key)); };
  // Rows have the order of the key bytes: ifIndex, type, address.
  auto const first = ipMib_->ipNetToPhysicalTableMap().firstAtOrAfter(
      // A descent that encodes a key at each step: `from` is bytes, and may be no key.
      [&](auto const& key) { return std::string_view(bytesOf(key)) <=> from; });
  return first ? std::optional(bytesOf(first.key())) : std::nullopt;
}

}  // namespace IpSnmp
