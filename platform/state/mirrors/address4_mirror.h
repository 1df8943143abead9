#pragma once
// Keeps Ip::Config and Ip::Status as the address4 table and the links say. An interface has one
// address in these entities, so that a further address of a link has an IntfId of its own, with an
// Interface::IntfStatus of the link's ifIndex:
//
//   first address of the link     the link's name
//   further ones                  the label, where it is another one and free
//                                 NAME#2, NAME#3 ...: the smallest that is free
//
// An address keeps its IntfId while it lives, with one exception: a link that comes by that very
// name takes it, and the address comes again under another one. Link names may hold a '#', and
// labels need not hold a ':'.

#include <set>

#include <absl/container/flat_hash_map.h>

#include "platform/dovel/ip_addr_with_mask.h"
#include "platform/state/entities/ip_config.h"
#include "platform/state/entities/ip_status.h"
#include "platform/state/mirrors/address_mirror.h"

namespace State {

class Address4Mirror : public AddressMirror<Pondo::Address4Table, Dovel::IpAddrWithMask> {
 public:
  Address4Mirror(LinkMirror const& links, Mav::Ptr<Interface::AllIntfStatusDir> dir,
                 Mav::Ptr<Ip::Config> config, Mav::Ptr<Ip::Status> status)
      : AddressMirror(links),
        dir_(std::move(dir)),
        config_(std::move(config)),
        status_(std::move(status)) {}

  void interfaceChanged(Pondo::Snapshot const& snapshot, InterfaceChange const& change) override;
  void apply(Phase phase) override;

 private:
  /// The IntfIds of one link's addresses.
  struct LinkIds {
    bool own = false;         // the link's own is in use
    std::size_t further = 0;  // in use besides
    unsigned next = 2;        // no number from here on was ever in use
    std::set<unsigned> free;  // the ones below that are not in use
  };
  struct FurtherId {
    Key key;
    unsigned number = 0;  // 0: a label
  };

  Dovel::IpAddrWithMask addrWithMask(Key const& key, Record const& record) const override;
  bool active(Record const&) const override { return true; }
  bool keepsIntfId(Key const& key, Served const& served) const override;
  Dovel::IntfId intfIdFor(Key const& key, Record const& record) override;
  void interfaceIs(Key const& key, Served const& served, LinkRecord const& link) override;
  void intfIdFree(Key const& key, Served const& served) override;
  void addressIs(AddressSource source, Dovel::IntfId const& intfId,
                 Dovel::IpAddrWithMask const& addr) override;
  void addressDel(AddressSource source, Dovel::IntfId const& intfId,
                  Dovel::IpAddrWithMask const& addr) override;
  void addressAgain(AddressSource source, Dovel::IntfId const& intfId,
                    Dovel::IpAddrWithMask const& addr) override;

  bool isFree(Dovel::IntfId const& intfId) const;
  unsigned takeNumber(Dovel::IntfId const& link, LinkIds& ids) const;

  Mav::Ptr<Interface::AllIntfStatusDir> const dir_;
  Mav::Ptr<Ip::Config> const config_;
  Mav::Ptr<Ip::Status> const status_;
  absl::flat_hash_map<Dovel::IntfId, LinkIds> idsOf_;         // by link
  absl::flat_hash_map<Dovel::IntfId, FurtherId> furtherIds_;  // in use
  std::vector<Dovel::IntfId> going_;                          // interfaces without address by now
};

}  // namespace State
