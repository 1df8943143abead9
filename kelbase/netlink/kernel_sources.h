#pragma once
// Every kind of kernel object, and the part of the model that its messages fill.
//
// Made once, by the daemon; NetlinkFeed dumps them in this order and offers each notification
// to all. Two sources may take messages of one type: forwarding and the routes both hear of
// netconf.

#include <memory>
#include <vector>

#include "kelbase/model/kernel.h"
#include "kelbase/netlink/kernel_source.h"

namespace Kelbase {

using KernelSources = std::vector<std::unique_ptr<KernelSource>>;

/// In the order in which they are to be asked: links before what hangs on them. `kernel` must
/// outlive them.
KernelSources makeKernelSources(Kernel& kernel);

}  // namespace Kelbase
