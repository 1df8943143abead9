#pragma once
// Whether the machine forwards, by version of IP: net.ipv4.ip_forward and
// net.ipv6.conf.all.forwarding of the namespace. A version that the kernel lacks (ipv6.disable=1)
// is not known here, and not forwarded. One thread.
//
// Filled by ForwardingDecoder's source or from a file; ForwardingView publishes it. Flags of single
// links are not kept: a manager asks whether the machine is a router (RFC 4293, ipForwarding).

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kelbase/model/family.h"
#include "kelbase/model/marked.h"

namespace Kelbase {

struct ForwardingFlag {
  IpVersion version = IpVersion::v4;
  bool forwards = false;
};

class Forwarding {
 public:
  class Observer {
   public:
    virtual ~Observer() = default;
    /// The flag of that version has changed, has come to be known, or is known no more.
    virtual void onForwarding(IpVersion version) = 0;
  };

  /// `observer` must live as long as this, and hears of each change from inside the call that makes
  /// it.
  void observerIs(Observer& observer) { observers_.push_back(&observer); }

  /// The kernel has said so. Observers hear only of another flag than before.
  void is(ForwardingFlag const& flag);
  /// The kernel has let go of the version; what the flag says does not count.
  void del(ForwardingFlag const& flag);
  void dumpBegin() { flags_.dumpBegin(); }
  void dumpEnd(bool whole);

  /// False, too, when the kernel lacks that version.
  bool forwards(IpVersion version) const;
  /// "IPv4 forwarding on, IPv6 forwarding absent"
  std::string summary() const;

 private:
  void tell(IpVersion version) const;

  MarkedTree<IpVersion, bool> flags_;
  std::vector<Observer*> observers_;
};

}  // namespace Kelbase
