#pragma once
// Carries the messages about IPv6 addresses into the model.
//
// With net.ipv6.conf.*.keep_addr_on_down addresses stay on a link that goes down, and are tentative
// from then on without a message (net/ipv6/addrconf.c, addrconf_ifdown). Those that go are told
// before the link is: where any is left on it then, they are looked at.
//
// The look shows them as they are while the link is down: the kernel tells when one is known to be
// unique again, or is not. All on the publisher's thread.

#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/model_source.h"

namespace Kelbase {

class Address6Source : public ModelSource<Address6Decoder, Addresses6>, private Links::Observer {
 public:
  /// Both must outlive it.
  Address6Source(Addresses6& addresses, Links& links) : ModelSource(addresses) {
    links.observerIs(*this);
  }

 private:
  void onLink(Link const* before, Link const& now) override {
    bool const wentDown = before && before->isUp && !now.isUp;
    if (wentDown && model().isOn(now.index)) wantLook(0);
  }
};

}  // namespace Kelbase
