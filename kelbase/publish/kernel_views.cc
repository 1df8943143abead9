#include "kelbase/publish/kernel_views.h"

#include "kelbase/publish/address_rows.h"
#include "kelbase/publish/forwarding_view.h"
#include "kelbase/publish/link_view.h"
#include "kelbase/publish/neighbour_rows.h"
#include "kelbase/publish/on_links_view.h"

namespace Kelbase {

TableViews makeTableViews(Kernel& kernel) {
  TableViews views;
  views.push_back(std::make_unique<LinkView>(kernel.links));
  views.push_back(std::make_unique<ForwardingView>(kernel.forwarding));
  views.push_back(std::make_unique<OnLinksView<Address4Row>>(kernel.links, kernel.addresses4));
  views.push_back(std::make_unique<OnLinksView<Address6Row>>(kernel.links, kernel.addresses6));
  views.push_back(std::make_unique<OnLinksView<Neighbour4Row>>(kernel.links, kernel.neighbours4));
  return views;
}

}  // namespace Kelbase
