#include "kelbase/publish/forwarding_source.h"

#include <array>
#include <optional>

#include <fmt/format.h>
#include <linux/netconf.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "kelbase/model/trace.h"
#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

constexpr std::array forwardingGroups{unsigned{RTNLGRP_IPV4_NETCONF},
                                      unsigned{RTNLGRP_IPV6_NETCONF}};

// A notification carries only the flag that changed.
constexpr std::array netconfRules{
    AttributeRule{NETCONFA_IFINDEX, "NETCONFA_IFINDEX", exactly(sizeof(std::int32_t)), required},
    AttributeRule{NETCONFA_FORWARDING, "NETCONFA_FORWARDING", exactly(sizeof(std::int32_t))},
};

struct FamilyRow {
  Pondo::Family family;
  std::uint8_t addressFamily;
  char const* name;
};

constexpr std::array families{
    FamilyRow{Pondo::Family::ipv4, AF_INET, "IPv4"},
    FamilyRow{Pondo::Family::ipv6, AF_INET6, "IPv6"},
};

FamilyRow const* rowOf(std::uint8_t addressFamily) {
  for (auto const& row : families) {
    if (row.addressFamily == addressFamily) return &row;
  }
  return nullptr;  // MPLS has netconf messages too
}

}  // namespace

ForwardingSource::ForwardingSource() {
  // One question about "all" instead of a dump, which would list every interface.
  for (auto const& row : families) {
    NetlinkRequest request(RTM_GETNETCONF, 0, netconfmsg{row.addressFamily});
    request.put(NETCONFA_IFINDEX, std::int32_t{NETCONFA_IFINDEX_ALL}).unsupportedIsEmpty();
    requests_.push_back(request);
  }
}

std::span<unsigned const> ForwardingSource::groups() const { return forwardingGroups; }

bool ForwardingSource::takes(std::uint16_t messageType) const {
  return messageType == RTM_NEWNETCONF || messageType == RTM_DELNETCONF;
}

void ForwardingSource::receive(NetlinkMessage const& message) {
  FamilyRow const* const row = rowOf(message.header<netconfmsg>().ncm_family);
  if (!row) return;
  Attributes const attributes(message.name(), message.attributes<netconfmsg>(), netconfRules);
  if (attributes.value<std::int32_t>(NETCONFA_IFINDEX) != NETCONFA_IFINDEX_ALL) return;
  if (message.type() == RTM_DELNETCONF) {
    changed_ |= flags_.erase(row->family) != 0;
    return;
  }
  auto const forwarding = attributes.value<std::int32_t>(NETCONFA_FORWARDING);
  if (!forwarding) return;
  MAV_TRACE(traceHandle(), 2, row->name << " forwarding " << *forwarding);
  auto const [flag, isNew] = flags_.try_emplace(row->family);
  bool const old = flag->second.record.routing;
  flag->second = {{*forwarding != 0}, dump_};
  changed_ |= isNew || old != flag->second.record.routing;
}

void ForwardingSource::dumpEnd(bool whole) {
  if (!whole) return;
  auto const stale = [this](auto const& entry) { return entry.second.dump != dump_; };
  changed_ |= std::erase_if(flags_, stale) != 0;
}

std::map<Pondo::Family, Pondo::ForwardingTable::Record> ForwardingSource::records() const {
  std::map<Pondo::Family, Pondo::ForwardingTable::Record> result;
  for (auto const& [family, flag] : flags_) result.emplace(family, flag.record);
  return result;
}

void ForwardingSource::writeRest(Pondo::Writer& writer) {
  if (changed_) writeAll(writer);
}

Pondo::Writer::SyncCounts ForwardingSource::writeAll(Pondo::Writer& writer) {
  auto const counts = writer.sync<Pondo::ForwardingTable>(records());
  changed_ = false;
  return counts;
}

std::string ForwardingSource::summary() const {
  std::string result;
  for (auto const& row : families) {
    auto const flag = flags_.find(row.family);
    result +=
        fmt::format("{}{} forwarding {}", result.empty() ? "" : ", ", row.name,
                    flag == flags_.end() ? "absent" : (flag->second.record.routing ? "on" : "off"));
  }
  return result;
}

}  // namespace Kelbase
