#pragma once
// Routes of table main, of one version of IP: RTM_NEWROUTE and RTM_DELROUTE (rtnetlink(7)), and of
// RTM_NEWNETCONF what bears on them. Where the model is in doubt, it has the routes listed again,
// and before them the nexthop objects where those may have changed.
//
// Its dumps and looks are what keeps silent changes short: what the kernel does without a word
// shows when the dump that a hint asked for has ended. A hint too many costs one dump; one too few
// would leave a manager a route that is gone.
//
// A dump that may have left some out (DumpPieces) is taken again, confirmMax times in a row; after
// that, looks add what was left out.

#include <vector>

#include "kelbase/model/routes.h"
#include "kelbase/netlink/dump_pieces.h"
#include "kelbase/netlink/kernel_source.h"
#include "platform/mav/time.h"

namespace Kelbase {

/// `Ip`: Ip4 or Ip6.
template <class Ip>
class RouteSource : public KernelSource {
 public:
  /// From a hint at changes made in silence to the dump: more are likely to follow at once.
  static constexpr double hintDelay = 0.05;  // seconds
  /// From the end of a lifetime to the dump that shows whether it has been prolonged: past the
  /// grain of the kernel's clock_t, in which it tells how long ago it was.
  static constexpr double lifetimeDelay = 0.05;  // seconds
  /// At least, from one dump to the next while routes that have expired are listed: as long as they
  /// have been, up to coverInterval.
  static constexpr double expiredDelay = 1.0;  // seconds
  /// From a replay that may have gone wrong to the dump that makes it good.
  static constexpr double doubtDelay = 1.0;  // seconds

  /// At least, from one dump to a look for what went unlisted: there hardly ever is any.
  static constexpr double coverInterval = 15.0;  // seconds
  /// Dumps in a row; where routes go all the time each may have left some out.
  static constexpr unsigned confirmMax = 3;

  /// Both must outlive it.
  RouteSource(Routes<Ip>& routes, KernelSource const& nexthops);

  std::string_view name() const override {
    return Ip::version == IpVersion::v4 ? "IPv4 routes" : "IPv6 routes";
  }
  std::span<unsigned const> groups() const override;
  std::span<NetlinkRequest const> requests() const override { return requests_; }
  bool takes(std::uint16_t messageType) const override;
  void dumpBegin() override;
  void pieceEnd() override { pieces_.pieceEnd(); }
  void dumpEnd(bool whole) override;
  void receive(NetlinkMessage const& message) override;
  void replayIs(bool on) override;
  std::string summary() const override { return routes_.summary(); }

 private:
  void hearMulticast(NetlinkMessage const& message) const;
  void onLifetime(std::int32_t hundredths);
  void lookAtLifetimes(double delay);
  void onDoubt(RouteDoubt why) const;
  void confirm();
  RouteRank rankOf(NetlinkMessage const& message) const;

  Routes<Ip>& routes_;
  KernelSource const& nexthops_;
  std::vector<NetlinkRequest> requests_;
  ListedRoute<Ip> route_;  // its memory is used again
  double lastDump_ = 0.0;
  double nextLook_ = Mav::never;  // at lifetimes
  unsigned lifetimes_ = 0;        // heard of since the last dump began
  unsigned listedBefore_ = 0;     // when that began
  bool isDumping_ = false;
  bool isFirst_ = true;
  bool isReplay_ = false;

  DumpPieces<Ip> pieces_;
  bool wasWhole_ = false;  // the last dump, which was no look
  unsigned confirms_ = 0;  // dumps asked for in a row
  double confirmedAt_ = -Mav::never;
};

extern template class RouteSource<Ip4>;
extern template class RouteSource<Ip6>;

}  // namespace Kelbase
