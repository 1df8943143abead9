#include "kelbase/publish/nexthop_source.h"

#include <array>

#include <fmt/format.h>
#include <linux/nexthop.h>
#include <linux/rtnetlink.h>

#include "kelbase/netlink/route_message.h"

namespace Kelbase {
namespace {

constexpr std::array nexthopGroups{unsigned{RTNLGRP_NEXTHOP}};

}  // namespace

NexthopSource::NexthopSource(LinkNames& names)
    : sets_(names), request_(RTM_GETNEXTHOP, NLM_F_DUMP, nhmsg{}) {
  request_.unsupportedIsEmpty();
}

std::span<unsigned const> NexthopSource::groups() const { return nexthopGroups; }

bool NexthopSource::takes(std::uint16_t messageType) const {
  return messageType == RTM_NEWNEXTHOP || messageType == RTM_DELNEXTHOP;
}

void NexthopSource::receive(NetlinkMessage const& message) {
  auto const nexthop = readNexthop(message);
  if (message.type() == RTM_DELNEXTHOP) return sets_.objectDel(nexthop.id);
  sets_.objectIs(nexthop);
}

std::string NexthopSource::summary() const {
  return fmt::format("{} nexthop object{}", sets_.objects(), sets_.objects() == 1 ? "" : "s");
}

}  // namespace Kelbase
