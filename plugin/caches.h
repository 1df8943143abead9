#pragma once
// What the handlers serve, and the state machines that keep it: the two cache entities, mounted
// where the handlers look for them, and IpSnmp::Root over the mirrored state of the device and its
// forwarding table. Made while both are still empty, so that the state machines see all of it come.
// All on snmpd's thread.

#include "agent/ip_net_to_physical_table_sm.h"
#include "agent/root.h"
#include "model/ip_forward_mib.h"
#include "model/ip_mib.h"
#include "platform/mav/activity.h"
#include "platform/mav/directory.h"
#include "platform/pondo/fib/shared_fib.h"
#include "platform/state/mirrors/mirrors.h"
#include "plugin/route_ages.h"

namespace OvoSnmp {

class Caches {
 public:
  /// Mounts the entities in `directory`, which must outlive this. NameInUseException when something
  /// is mounted in their place.
  Caches(Mav::Directory& directory, Mav::Activity& activity, State::Mirrors const& mirrors,
         Pondo::Fib::SharedFib const& fib);
  /// Stops the state machines, then takes the entities out of the directory: by then no handler may
  /// be registered that points to them.
  ~Caches();
  Caches(Caches const&) = delete;
  Caches& operator=(Caches const&) = delete;

  /// Everything that was announced is in the caches; no route waits to be looked at.
  bool areFiled() const {
    return root_->ipRouteTableSm()->backlog().empty() &&
           root_->ip6RouteTableSm()->backlog().empty();
  }
  /// What files the neighbours: to be told of the shared tables.
  Pondo::Listener& neighbours() { return neighbours_; }

 private:
  Mav::Directory& directory_;
  Mav::Ptr<IpSnmp::IpMib> const ipMib_;
  Mav::Ptr<IpSnmp::IpForwardMib> const ipForwardMib_;
  // Not const: it goes first, in the destructor.
  Mav::Ptr<IpSnmp::Root> root_;
  RouteAges const ages_;
  // A listener: the follower, which the wiring has, goes before it.
  IpSnmp::IpNetToPhysicalTableSm neighbours_{ipMib_};
};

}  // namespace OvoSnmp
