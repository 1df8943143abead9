#include "kelbase/publish/kernel_views.h"

#include "kelbase/publish/address_rows.h"
#include "kelbase/publish/forwarding_view.h"
#include "kelbase/publish/link_view.h"
#include "kelbase/publish/neighbour_rows.h"
#include "kelbase/publish/on_links_view.h"
#include "kelbase/publish/route_view.h"

namespace Kelbase {

TableViews makeTableViews(Kernel& kernel) {
  TableViews views;
  views.push_back(std::make_unique<LinkView>(kernel.links));
  views.push_back(std::make_unique<ForwardingView>(kernel.forwarding));
  views.push_back(std::make_unique<OnLinksView<Address4Row>>(kernel.links, kernel.addresses4));
  views.push_back(std::make_unique<OnLinksView<Address6Row>>(kernel.links, kernel.addresses6));
  views.push_back(std::make_unique<OnLinksView<Neighbour4Row>>(kernel.links, kernel.neighbours4));
  auto fecs = std::make_unique<FecView>(kernel.links, kernel.nexthops, kernel.hopSets);
  auto routes = std::make_unique<RouteView>(kernel.routes, kernel.hopSets, *fecs);
  views.push_back(std::move(fecs));
  views.push_back(std::move(routes));
  return views;
}

}  // namespace Kelbase
