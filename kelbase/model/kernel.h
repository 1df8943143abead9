#pragma once
// What the kernel has, as it said last: the model that netlink's decoders or a file fill, and that
// the published tables are views of. To have a new kind of object published: its struct here, its
// decoder in kelbase/netlink/kernel_sources.cc, its rows in kelbase/publish/table_views.cc.
//
// All on one thread. Nothing in it blocks, or knows where it comes from and where it goes.
//
// The daemon has one for the life of the process; `kelbasectl load` makes one for a run. No
// method fails but for want of memory, which ends the process (endWithoutMemory()): a model that
// has missed a change would be wrong for good.

#include "kelbase/model/address.h"
#include "kelbase/model/forwarding.h"
#include "kelbase/model/links.h"
#include "kelbase/model/neighbour.h"
#include "kelbase/model/nexthops.h"
#include "kelbase/model/routes.h"

namespace Kelbase {

/// In the order of their making: each registers with those that it is given, and so hears of a
/// change before any view does.
struct Kernel {
  Links links;
  Forwarding forwarding;
  Addresses4 addresses4{links};
  Addresses6 addresses6{links};
  Neighbours neighbours{links};
  Nexthops nexthops;
  NextHopSets nextHopSets{links, nexthops};
  Routes4 routes4{links, addresses4, nexthops, nextHopSets};
  Routes6 routes6{links, addresses6, nexthops, nextHopSets};
};

}  // namespace Kelbase
