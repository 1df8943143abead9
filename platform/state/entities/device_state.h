#pragma once
// The entities that the mirrors fill and that are not mounted: the state machines get them from
// State::Mirrors. By counted pointers: whoever holds an entity keeps it, whatever becomes of the
// mirrors.

#include "platform/state/entities/all_intf_status_dir.h"
#include "platform/state/entities/arp_neighbor_dir.h"
#include "platform/state/entities/ip6_config.h"
#include "platform/state/entities/ip6_status.h"
#include "platform/state/entities/ip_config.h"
#include "platform/state/entities/ip_status.h"

namespace State {

/// New and empty, unless given. What fills them: intfStatusDir LinkMirror, with the further
/// interfaces Address4Mirror; ipConfig and ipStatus Address4Mirror; ip6Config and ip6Status
/// Address6Mirror; arpStatus Neighbour4Mirror.
struct DeviceState {
  Mav::Ptr<Interface::AllIntfStatusDir> intfStatusDir =
      Mav::makeObject<Interface::AllIntfStatusDir>();
  Mav::Ptr<Ip::Config> ipConfig = Mav::makeObject<Ip::Config>();
  Mav::Ptr<Ip::Status> ipStatus = Mav::makeObject<Ip::Status>();
  Mav::Ptr<Ip6::Config> ip6Config = Mav::makeObject<Ip6::Config>();
  Mav::Ptr<Ip6::Status> ip6Status = Mav::makeObject<Ip6::Status>();
  Mav::Ptr<Arp::NeighborDir> arpStatus = Mav::makeObject<Arp::NeighborDir>();
};

}  // namespace State
