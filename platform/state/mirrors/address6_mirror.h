#pragma once
// Keeps Ip6::Config and Ip6::Status as the address6 table and the links say. All addresses of a
// link stand under its name. In operation are those of a link that is up that are neither tentative
// nor known not to be unique. Link-local ones are announced like any other; the state machines drop
// them. On the agent's thread.

#include "platform/dovel/addr_with_mask.h"
#include "platform/state/entities/ip6_config.h"
#include "platform/state/entities/ip6_status.h"
#include "platform/state/mirrors/address_mirror.h"

namespace State {

/// Which IntfId an address has is no question here: a link's entity holds any number.
class Address6Mirror : public AddressMirror<Pondo::Address6Table, Dovel::Ip6AddrWithMask> {
 public:
  Address6Mirror(LinkMirror const& links, Mav::Ptr<Ip6::Config> config,
                 Mav::Ptr<Ip6::Status> status)
      : AddressMirror(links), config_(std::move(config)), status_(std::move(status)) {}

 private:
  Dovel::Ip6AddrWithMask addrWithMask(Key const& key, Record const& record) const override;
  bool active(Record const& record) const override;
  /// Never freed: nothing hangs on it here.
  Dovel::IntfId intfIdFor(Key const& key) override { return key.link; }
  void addressIs(AddressSource source, Dovel::IntfId const& intfId,
                 Dovel::Ip6AddrWithMask const& addr) override;
  void addressDel(AddressSource source, Dovel::IntfId const& intfId,
                  Dovel::Ip6AddrWithMask const& addr) override;
  void addressAgain(AddressSource source, Dovel::IntfId const& intfId,
                    Dovel::Ip6AddrWithMask const& addr) override;
  /// RFC 4293 would have them with their zone; the state machines serve none, and so the ledger
  /// counts none.
  bool reachesTables(Dovel::Ip6Addr const& addr) const override { return !addr.isLinkLocal(); }

  Mav::Ptr<Ip6::Config> const config_;
  Mav::Ptr<Ip6::Status> const status_;
};

}  // namespace State
