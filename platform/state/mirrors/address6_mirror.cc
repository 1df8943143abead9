#include "platform/state/mirrors/address6_mirror.h"

namespace State {

Dovel::Ip6AddrWithMask Address6Mirror::addrWithMask(Key const& key, Record const& record) const {
  return {key.local, record.length};
}

bool Address6Mirror::active(Record const& record) const {
  // An address that may be another machine's is not in operation (RFC 4862, section 5.4).
  return !record.tentative && !record.dadFailed;
}

void Address6Mirror::addressIs(AddressSource source, Dovel::IntfId const& intfId,
                               Dovel::Ip6AddrWithMask const& addr) {
  inDir(source, *config_, *status_,
        [&](auto& dir) { dir.intfIs(intfId)->addrIs(Ip6::AddressInfo(addr)); });
}

void Address6Mirror::addressDel(AddressSource source, Dovel::IntfId const& intfId,
                                Dovel::Ip6AddrWithMask const& addr) {
  inDir(source, *config_, *status_, [&](auto& dir) {
    auto const intf = dir.intfIs(intfId);
    intf->addrDel(addr);
    if (!intf->hasAddr()) dir.intfDel(intfId);
  });
}

void Address6Mirror::addressAgain(AddressSource source, Dovel::IntfId const& intfId,
                                  Dovel::Ip6AddrWithMask const& addr) {
  inDir(source, *config_, *status_, [&](auto& dir) {
    auto const intf = dir.intfIs(intfId);
    // A copy, before the address goes. The interface stays, though it may have none in between: to
    // whoever hears, one address comes and goes.
    auto const info = intf->addr(addr);
    intf->addrDel(addr);
    intf->addrIs(info);
  });
}

}  // namespace State
