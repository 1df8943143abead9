#include "kelbase/model/forwarding.h"

#include <fmt/format.h>

namespace Kelbase {

void Forwarding::is(ForwardingFlag const& flag) {
  if (flags_.is(flag.version, flag.forwards)) tell(flag.version);
}

void Forwarding::del(ForwardingFlag const& flag) {
  if (flags_.del(flag.version)) tell(flag.version);
}

void Forwarding::dumpEnd(bool whole) {
  if (!whole) return;
  // A version that the kernel lacks answers nothing to a dump, and is swept.
  for (auto const version : flags_.unmarked()) del({version, false});
}

void Forwarding::tell(IpVersion version) const {
  for (auto* observer : observers_) observer->onForwarding(version);
}

bool Forwarding::forwards(IpVersion version) const {
  auto const* flag = flags_.find(version);
  return flag && *flag;
}

std::string Forwarding::summary() const {
  auto const told = [this](IpVersion version) {
    auto const* flag = flags_.find(version);
    // To the operator a version that the kernel lacks is another thing than one that is switched
    // off.
    return !flag ? "absent" : *flag ? "on" : "off";
  };
  return fmt::format("IPv4 forwarding {}, IPv6 forwarding {}", told(IpVersion::v4),
                     told(IpVersion::v6));
}

}  // namespace Kelbase
