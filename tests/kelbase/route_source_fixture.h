#pragma once
// Sources of nexthop objects and routes, told by hand, and what they write.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <linux/if.h>

#include "kelbase/netlink/kernel_sources.h"
#include "kelbase/publish/table_views.h"
#include "tests/kelbase/netlink_builder.h"
#include "tests/kelbase/route_text.h"
#include "tests/support/scratch_dir.h"

namespace Kelbase {

/// Messages in, table rows out: route("10.1.0.0/16", 2) has next hop 10.0.0.2 on link 3, "a".
class RouteSourceFixture : public testing::Test {
 protected:
  RouteSourceFixture() {
    link(3, "a");
    link(4, "b");
    for (auto* source : std::initializer_list<KernelSource*>{&nexthops_, &routes_}) {
      source->dumpWishIs([this, source](double) { wishes_ += std::string(source->name()) + " "; });
    }
  }

  void tell(NetlinkBuilder const& builder) {
    for (auto const& source : sources_) {
      if (source->takes(builder.message().type())) source->receive(builder.message());
    }
  }
  template <class Kind>
  static Kind& named(auto const& kinds, std::string_view name) {
    return **std::find_if(kinds.begin(), kinds.end(),
                          [&](auto const& one) { return one->name() == name; });
  }
  void link(int index, std::string_view name, unsigned flags = IFF_UP | IFF_RUNNING) {
    tell(linkMessage(RTM_NEWLINK, index, flags).text(IFLA_IFNAME, name));
  }
  static Dovel::IpAddr::Octets gateway4(int hop) {
    return {10, 0, 0, static_cast<std::uint8_t>(hop)};
  }
  static NetlinkBuilder message(int type, char const* prefix, int hop, int metric = 0,
                                int tos = 0) {
    auto builder = routeMessage(type, prefix, RTN_UNICAST, tos);
    if (metric != 0) builder.value(RTA_PRIORITY, metric);
    return builder.value(RTA_GATEWAY, gateway4(hop)).value(RTA_OIF, 3);
  }
  void route(char const* prefix, int hop, int metric = 0, int flags = 0, int tos = 0) {
    routes_.receive(message(RTM_NEWROUTE, prefix, hop, metric, tos).flags(flags).message());
  }
  void gone(char const* prefix, int hop, int metric = 0, int tos = 0) {
    routes_.receive(message(RTM_DELROUTE, prefix, hop, metric, tos).message());
  }
  static std::vector<std::byte> paths(std::vector<std::pair<int, bool>> const& hops) {
    std::vector<std::byte> result;
    for (auto const& [hop, isAlive] : hops) addPath(result, gateway4(hop), isAlive);
    return result;
  }
  void overObject(std::string_view prefix, std::uint32_t id, int type = RTN_UNICAST,
                  int flags = 0) {
    tell(routeMessage(RTM_NEWROUTE, prefix, type).value(RTA_NH_ID, id).flags(flags));
  }
  void object(std::uint32_t id, int hop, int index = 3) {
    tell(
        nexthopMessage(RTM_NEWNEXTHOP, id).value(NHA_OIF, index).value(NHA_GATEWAY, gateway4(hop)));
  }
  void group(std::uint32_t id, std::vector<std::uint32_t> const& members) {
    std::vector<nexthop_grp> entries;
    for (auto const member : members) entries.push_back({member, 0, 0, 0});
    tell(nexthopMessage(RTM_NEWNEXTHOP, id)
             .raw(NHA_GROUP, entries.data(), entries.size() * sizeof(nexthop_grp)));
  }
  void blackhole(std::uint32_t id) {
    tell(nexthopMessage(RTM_NEWNEXTHOP, id).raw(NHA_BLACKHOLE, "", 0));
  }
  /// In a network of 24 bits.
  void address(int type, char const* local, int flags = 0, unsigned index = 3) {
    auto builder = addressMessage(type, AF_INET, index, 24);
    for (auto const attribute : {IFA_ADDRESS, IFA_LOCAL}) {
      builder.value(attribute, Dovel::IpAddr(local).octets());
    }
    tell(builder.value(IFA_FLAGS, flags));
  }
  void objectGone(std::uint32_t id) { tell(nexthopMessage(RTM_DELNEXTHOP, id)); }

  /// As Publisher does it.
  std::vector<std::string> written() {
    if (!std::exchange(compared_, true)) {
      fecRows_.writeAll(*writer_);
      routeRows_.writeAll(*writer_);
    }
    do {
      fecRows_.writeRest(*writer_);
      routeRows_.writeRest(*writer_);
    } while (fecRows_.hasMore() || routeRows_.hasMore());
    fecRows_.writeUnused(*writer_);
    writer_->commit();
    return RouteText::routes(*writer_);
  }
  /// The run directory is lost, and made anew.
  void loseTables() {
    writer_.emplace(scratch_ / ("run" + std::to_string(++runs_)).c_str(), Pondo::Writer::Options{});
    compared_ = false;
  }
  /// A write fails in its middle, as on a full file system.
  void failToWrite() {
    fecRows_.writeRest(*writer_);
    routeRows_.writeRest(*writer_);
    if (!fecRows_.hasMore() && !routeRows_.hasMore()) fecRows_.writeUnused(*writer_);
    writer_->abort();
    compared_ = false;
  }
  std::vector<std::string> fecs() { return RouteText::fecs(*writer_); }

  ScratchDir scratch_;
  std::optional<Pondo::Writer> writer_{std::in_place, scratch_ / "run", Pondo::Writer::Options{}};
  Kernel kernel_;
  KernelSources const sources_ = makeKernelSources(kernel_);
  TableViews const views_ = makeTableViews(kernel_);
  KernelSource& addresses_ = named<KernelSource>(sources_, "IPv4 addresses");
  KernelSource& nexthops_ = named<KernelSource>(sources_, "nexthop objects");
  KernelSource& routes_ = named<KernelSource>(sources_, "IPv4 routes");
  TableView& fecRows_ = named<TableView>(views_, "fecs");
  TableView& routeRows_ = named<TableView>(views_, "routes");
  std::string wishes_;
  bool compared_ = false;
  int runs_ = 0;
};

}  // namespace Kelbase
