#include "plugin/caches.h"

namespace OvoSnmp {

Caches::Caches(Mav::Directory& directory, Mav::Activity& activity, State::Mirrors const& mirrors,
               Pondo::Fib::SharedFib const& fib)
    : directory_(directory),
      ipMib_(IpSnmp::ipMibFactory("ipmib")),
      ipForwardMib_(IpSnmp::ipForwardMibFactory("ipforwardmib")),
      root_(IpSnmp::rootFactory("root")),
      ages_(fib) {
  // The inputs stand in Root for others to find; each state machine gets its own once more.
  root_->ipConfigIs(mirrors.ipConfig());
  root_->ipStatusIs(mirrors.ipStatus());
  root_->ip6ConfigIs(mirrors.ip6Config());
  root_->ip6StatusIs(mirrors.ip6Status());
  root_->intfStatusDirIs(mirrors.intfStatusDir());
  root_->arpStatusIs(mirrors.arpStatus());
  root_->ipMibIs(ipMib_);
  root_->ipForwardMibIs(ipForwardMib_);
  auto const activityConfig = Mav::makeObject<Mav::ActivityConfig>(activity);
  root_->ipAddressTableSmIs(activityConfig, root_->intfStatusDir(), ipMib_, root_->ipConfig(),
                            root_->ipStatus(), root_->ip6Config(), root_->ip6Status());
  root_->arpTableSmIs(activityConfig, root_->intfStatusDir(), ipMib_, root_->arpStatus());
  root_->ipRouteTableSmIs(activityConfig, ipForwardMib_, root_->intfStatusDir(), fib.routeStatus(),
                          fib.forwardingStatus(), activity.clock());
  root_->ip6RouteTableSmIs(activityConfig, ipForwardMib_, fib.route6Status(),
                           fib.forwardingStatus(), activity.clock());
  ipForwardMib_->inetCidrRoutes().agesAre(&ages_);
  // Last: whoever finds an entity finds it wired. No handler looks before the state is known.
  directory_.mount(IpSnmp::IpMib::path, ipMib_);
  directory_.mount(IpSnmp::IpForwardMib::path, ipForwardMib_);
}

Caches::~Caches() {
  // The state machines first: they write the caches, and hear the mirrors' entities.
  root_.reset();
  // Whoever holds the entity may hold it longer than the ages live.
  ipForwardMib_->inetCidrRoutes().agesAre(nullptr);
  directory_.unmount(IpSnmp::IpForwardMib::path);
  directory_.unmount(IpSnmp::IpMib::path);
}

}  // namespace OvoSnmp
