#include "kelbase/publish/link_source.h"

#include <array>
#include <map>
#include <utility>

#include <fmt/format.h>
#include <linux/if.h>
#include <linux/rtnetlink.h>

#include "kelbase/model/trace.h"
#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

constexpr std::array linkGroups{unsigned{RTNLGRP_LINK}};

constexpr std::array linkRules{
    AttributeRule{IFLA_IFNAME, "IFLA_IFNAME", textOf(IFNAMSIZ), required},
};

Pondo::LinkTable::Record recordOf(ifinfomsg const& info) {
  bool const up = (info.ifi_flags & IFF_UP) != 0;
  return {info.ifi_index, up, up && (info.ifi_flags & IFF_RUNNING) != 0};
}

}  // namespace

LinkSource::LinkSource() : request_(RTM_GETLINK, NLM_F_DUMP, ifinfomsg{}) {
  // Counters would be three quarters of the answer.
  request_.put(IFLA_EXT_MASK, std::uint32_t{RTEXT_FILTER_SKIP_STATS});
}

std::span<unsigned const> LinkSource::groups() const { return linkGroups; }

bool LinkSource::takes(std::uint16_t messageType) const {
  return messageType == RTM_NEWLINK || messageType == RTM_DELLINK;
}

void LinkSource::receive(NetlinkMessage const& message) {
  auto const info = message.header<ifinfomsg>();
  // A bridge speaks of its ports with the same messages under AF_BRIDGE: a port that leaves its
  // bridge is still a link.
  if (info.ifi_family != AF_UNSPEC) return;
  if (info.ifi_index < 1) {
    throw BadMessage(
        fmt::format("{}: interface index {}, expected 1 or more", message.name(), info.ifi_index));
  }
  if (message.type() == RTM_DELLINK) return linkDel(info.ifi_index);
  Attributes const attributes(message.name(), message.attributes<ifinfomsg>(), linkRules);
  linkIs(Dovel::IntfId(*attributes.text(IFLA_IFNAME)), recordOf(info));
}

void LinkSource::linkIs(Dovel::IntfId const& name, Pondo::LinkTable::Record const& record) {
  Link& link = links_[record.ifIndex];
  if (!link.name.empty() && link.name != name) nameDel(link.name, record.ifIndex);
  auto const [owner, isNew] = indexByName_.try_emplace(name, record.ifIndex);
  bool const sameOwner = !isNew && owner->second == record.ifIndex;
  if (!sameOwner || link.record != record) {
    changed_.insert(name);
    MAV_TRACE(traceHandle(), 2,
              "link " << name << " index " << record.ifIndex << " adminUp " << record.adminUp
                      << " operUp " << record.operUp);
  }
  auto const earlierOwner = std::exchange(owner->second, record.ifIndex);
  link = {name, record, dump_};
  if (sameOwner) return;
  if (!isNew) tellName(earlierOwner, name);
  tellName(record.ifIndex, name);
}

void LinkSource::linkDel(std::int32_t index) {
  auto const found = links_.find(index);
  if (found == links_.end()) return;
  MAV_TRACE(traceHandle(), 2, "link " << found->second.name << " index " << index << " is gone");
  nameDel(found->second.name, index);
  links_.erase(found);
  tellGone(index);
}

void LinkSource::nameDel(Dovel::IntfId const& name, std::int32_t index) {
  auto const owner = indexByName_.find(name);
  if (owner == indexByName_.end() || owner->second != index) return;  // another link took it over
  indexByName_.erase(owner);
  changed_.insert(name);
  tellName(index, name);
}

void LinkSource::dumpEnd(bool whole) {
  if (!whole) return;
  std::vector<std::int32_t> gone;
  for (auto const& [index, link] : links_) {
    if (link.dump != dump_) gone.push_back(index);
  }
  for (auto const index : gone) linkDel(index);
}

std::optional<Dovel::IntfId> LinkSource::linkName(std::int32_t index) const {
  auto const link = links_.find(index);
  if (link == links_.end() || linkIndex(link->second.name) != index) return std::nullopt;
  return link->second.name;
}

std::optional<std::int32_t> LinkSource::linkIndex(Dovel::IntfId const& name) const {
  auto const owner = indexByName_.find(name);
  if (owner == indexByName_.end()) return std::nullopt;
  return owner->second;
}

Pondo::LinkTable::Record const* LinkSource::find(Dovel::IntfId const& name) const {
  auto const index = indexByName_.find(name);
  return index == indexByName_.end() ? nullptr : &links_.at(index->second).record;
}

void LinkSource::writeRemovals(Pondo::Writer& writer) {
  for (auto const& name : changed_) {
    if (!find(name)) writer.erase<Pondo::LinkTable>(name);
  }
}

void LinkSource::writeRest(Pondo::Writer& writer) {
  for (auto const& name : changed_) {
    if (auto const* record = find(name)) writer.put<Pondo::LinkTable>(name, *record);
  }
  changed_.clear();
}

Pondo::Writer::SyncCounts LinkSource::writeAll(Pondo::Writer& writer) {
  std::map<Dovel::IntfId, Pondo::LinkTable::Record> wanted;
  for (auto const& [name, index] : indexByName_) wanted.emplace(name, links_.at(index).record);
  auto const counts = writer.sync<Pondo::LinkTable>(wanted);
  changed_.clear();
  return counts;
}

std::string LinkSource::summary() const {
  return fmt::format("{} link{}", size(), size() == 1 ? "" : "s");
}

}  // namespace Kelbase
