#pragma once
// IPv4 routes of table main: RTM_NEWROUTE and RTM_DELROUTE (rtnetlink(7)), and of RTM_NEWNETCONF
// what bears on them. Where the model is in doubt, it has the routes listed again, and before them
// the nexthop objects where those may have changed.

#include <optional>
#include <utility>
#include <vector>

#include "kelbase/model/routes.h"
#include "kelbase/netlink/kernel_source.h"

namespace Kelbase {

class RouteSource : public KernelSource {
 public:
  /// From a hint at changes made in silence to the dump: more are likely to follow at once.
  static constexpr double hintDelay = 0.05;  // seconds
  /// From a replay that may have gone wrong to the dump that makes it good.
  static constexpr double doubtDelay = 1.0;  // seconds

  /// Both must outlive it.
  RouteSource(Routes& routes, KernelSource const& nexthops);

  std::string_view name() const override { return "IPv4 routes"; }
  std::span<unsigned const> groups() const override;
  std::span<NetlinkRequest const> requests() const override { return requests_; }
  bool takes(std::uint16_t messageType) const override;
  void dumpBegin() override;
  void dumpEnd(bool whole) override;
  void receive(NetlinkMessage const& message) override;
  void replayIs(bool on) override { routes_.replayIs(on); }
  std::string summary() const override;

 private:
  void onDoubt(Routes::Doubt why) const;
  Routes::Rank rankOf(NetlinkMessage const& message) const;

  Routes& routes_;
  KernelSource const& nexthops_;
  std::vector<NetlinkRequest> requests_;
  ListedRoute route_;  // its memory is used again
  bool isDumping_ = false;
};

/// A link, or all (SilentChanges::allLinks), and whether its next hops count without carrier.
/// Nothing for another setting or another version of IP.
std::optional<std::pair<std::int32_t, bool>> readIgnoresLinkdown(NetlinkMessage const& message);

}  // namespace Kelbase
