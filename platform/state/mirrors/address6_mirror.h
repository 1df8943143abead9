#pragma once
// Keeps Ip6::Config and Ip6::Status as the address6 table and the links say. All addresses of a
// link stand under its name. In operation are those of a link that is up that are neither tentative
// nor known not to be unique. Link-local ones are announced like any other; the state machines drop
// them. On the agent's thread.

#include "platform/dovel/addr_with_mask.h"
#include "platform/state/entities/ip6_addresses.h"
#include "platform/state/mirrors/address_mirror.h"

namespace State {

/// Which IntfId an address has is no question here: a link's entity holds any number.
class Address6Mirror
    : public AddressMirror<Pondo::Address6Table, Dovel::Ip6AddrWithMask, Ip6::Config, Ip6::Status> {
 public:
  using AddressMirror::AddressMirror;

 private:
  Dovel::Ip6AddrWithMask addrWithMask(Key const& key, Record const& record) const override {
    return {key.local, record.length};
  }
  bool active(Record const& record) const override {
    // An address that may be another machine's is not in operation (RFC 4862, section 5.4).
    return !record.tentative && !record.dadFailed;
  }
  /// Never freed: nothing hangs on it here.
  Dovel::IntfId intfIdFor(Key const& key) override { return key.link; }
  void addressIs(AddressSource source, Dovel::IntfId const& intfId,
                 Dovel::Ip6AddrWithMask const& addr) override {
    inDir(source, [&](auto& dir) { dir.intfIs(intfId)->addrIs(Ip6::AddressInfo(addr)); });
  }
  void addressDel(AddressSource source, Dovel::IntfId const& intfId,
                  Dovel::Ip6AddrWithMask const& addr) override {
    inDir(source, [&](auto& dir) {
      auto const intf = dir.intfIs(intfId);
      intf->addrDel(addr);
      if (!intf->hasAddr()) dir.intfDel(intfId);
    });
  }
  void addressAgain(AddressSource source, Dovel::IntfId const& intfId,
                    Dovel::Ip6AddrWithMask const& addr) override {
    inDir(source, [&](auto& dir) {
      auto const intf = dir.intfIs(intfId);
      // A copy, before the address goes. The interface stays, though it may have none in between:
      // to whoever hears, one address comes and goes.
      auto const info = intf->addr(addr);
      intf->addrDel(addr);
      intf->addrIs(info);
    });
  }
  /// RFC 4293 would have them with their zone; the state machines serve none, and so the ledger
  /// counts none.
  bool reachesTables(Dovel::Ip6Addr const& addr) const override { return !addr.isLinkLocal(); }
};

}  // namespace State
