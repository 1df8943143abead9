#include "platform/state/mirrors/address6_mirror.h"

namespace State {

namespace {

template <class Dir>
void del(Dir& dir, Dovel::IntfId const& intfId, Dovel::Ip6AddrWithMask const& addr) {
  auto const intf = dir.intfIs(intfId);
  intf->addrDel(addr);
  if (!intf->hasAddr()) dir.intfDel(intfId);
}

template <class Dir>
void again(Dir& dir, Dovel::IntfId const& intfId, Dovel::Ip6AddrWithMask const& addr) {
  auto const intf = dir.intfIs(intfId);
  // A copy, before the address goes. The interface stays, though it may have none in between: to
  // whoever hears, one address comes and goes.
  auto const info = intf->addr(addr);
  intf->addrDel(addr);
  intf->addrIs(info);
}

}  // namespace

Dovel::Ip6AddrWithMask Address6Mirror::addrWithMask(Key const& key, Record const& record) const {
  return {key.local, record.length};
}

bool Address6Mirror::active(Record const& record) const {
  // An address that may be another machine's is not in operation (RFC 4862, section 5.4).
  return !record.tentative && !record.dadFailed;
}

void Address6Mirror::addressIs(AddressSource source, Dovel::IntfId const& intfId,
                               Dovel::Ip6AddrWithMask const& addr) {
  Ip6::AddressInfo const info(addr);
  if (source == AddressSource::config) {
    config_->intfIs(intfId)->addrIs(info);
  } else {
    status_->intfIs(intfId)->addrIs(info);
  }
}

void Address6Mirror::addressDel(AddressSource source, Dovel::IntfId const& intfId,
                                Dovel::Ip6AddrWithMask const& addr) {
  if (source == AddressSource::config) {
    del(*config_, intfId, addr);
  } else {
    del(*status_, intfId, addr);
  }
}

void Address6Mirror::addressAgain(AddressSource source, Dovel::IntfId const& intfId,
                                  Dovel::Ip6AddrWithMask const& addr) {
  if (source == AddressSource::config) {
    again(*config_, intfId, addr);
  } else {
    again(*status_, intfId, addr);
  }
}

}  // namespace State
