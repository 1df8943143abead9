#include "kelbase/netlink/kernel_sources.h"

#include "kelbase/netlink/address6_source.h"
#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/model_source.h"
#include "kelbase/netlink/neighbour_source.h"
#include "kelbase/netlink/route_source.h"

namespace Kelbase {
namespace {

template <class Decoder, class Model>
std::unique_ptr<KernelSource> sourceOf(Model& model) {
  return std::make_unique<ModelSource<Decoder, Model>>(model);
}

}  // namespace

KernelSources makeKernelSources(Kernel& kernel) {
  KernelSources sources;
  // What others refer to is asked for first: links before all that hangs on them, nexthop objects
  // before the routes through them. Another order would end right too, but later: an address whose
  // link has no name waits for it, and a route whose object is not known has no next hops yet.
  sources.push_back(sourceOf<LinkDecoder>(kernel.links));
  sources.push_back(sourceOf<ForwardingDecoder>(kernel.forwarding));
  sources.push_back(sourceOf<Address4Decoder>(kernel.addresses4));
  sources.push_back(std::make_unique<Address6Source>(kernel.addresses6, kernel.links));
  sources.push_back(std::make_unique<NeighbourSource>(kernel.neighbours, kernel.links));
  sources.push_back(sourceOf<NexthopDecoder>(kernel.nexthops));
  KernelSource const& nexthops = *sources.back();
  sources.push_back(std::make_unique<RouteSource<Ip4>>(kernel.routes4, nexthops));
  sources.push_back(std::make_unique<RouteSource<Ip6>>(kernel.routes6, nexthops));
  return sources;
}

}  // namespace Kelbase
