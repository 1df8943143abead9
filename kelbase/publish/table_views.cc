#include "kelbase/publish/table_views.h"

#include "kelbase/publish/forwarding_view.h"
#include "kelbase/publish/link_view.h"
#include "kelbase/publish/neighbour_view.h"
#include "kelbase/publish/on_links_rows.h"
#include "kelbase/publish/on_links_view.h"
#include "kelbase/publish/route_view.h"

namespace Kelbase {

TableViews makeTableViews(Kernel& kernel, KernelParts const& parts) {
  TableViews views;
  // What others refer to is written before them: links before what hangs on them, fecs before
  // routes. The order is that of the change log, and so of what a reader hears of first.
  if (parts.links) views.add(std::make_unique<LinkView>(kernel.links));
  views.add(std::make_unique<ForwardingView>(kernel.forwarding));
  if (parts.addresses) {
    views.add(std::make_unique<OnLinksView<Address4Row>>(kernel.links, kernel.addresses4));
    views.add(std::make_unique<OnLinksView<Address6Row>>(kernel.links, kernel.addresses6));
  }
  if (parts.neighbours) {
    views.add(std::make_unique<NeighbourView>(kernel.neighbours));
    views.add(std::make_unique<OnLinksView<Neighbour4Row>>(kernel.links, kernel.neighbours));
  }
  if (!parts.routes) return views;
  // The views of routes are made before the fecs move into the list, since they refer to them.
  auto fecs = std::make_unique<FecView>(kernel.links, kernel.nexthops, kernel.nextHopSets);
  auto routes4 = std::make_unique<RouteView<Ip4>>(kernel.routes4, *fecs);
  auto routes6 = std::make_unique<RouteView<Ip6>>(kernel.routes6, *fecs);
  views.add(std::move(fecs));
  views.add(std::move(routes4));
  views.add(std::move(routes6));
  return views;
}

}  // namespace Kelbase
