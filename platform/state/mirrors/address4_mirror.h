#pragma once
// Keeps Ip::Config and Ip::Status as the address4 table and the links say. An interface has one
// address in these entities, so that each further address of a link has an IntfId of its own, with
// an Interface::IntfStatus of the link's ifIndex:
//
//   an address of the link     the link's name
//   the others                 NAME#2, NAME#3 ...: the smallest number that is free
//
// An address keeps its IntfId while it lives. Which of a link's addresses has which number is
// history, and shows nowhere but for one case: a link that has one address under several prefix
// lengths. There the smallest IntfId decides what is served, and it is to be that of the shortest
// prefix, whatever came first. So the numbers of one address rise with the lengths, and where
// another length comes, all of them are drawn again. Labels decide nothing.

#include <set>

#include <absl/container/btree_map.h>

#include "platform/dovel/addr_with_mask.h"
#include "platform/state/entities/ip_addresses.h"
#include "platform/state/mirrors/address_mirror.h"

namespace State {

class Address4Mirror
    : public AddressMirror<Pondo::Address4Table, Dovel::IpAddrWithMask, Ip::Config, Ip::Status> {
 public:
  Address4Mirror(LinkMirror const& links, Mav::Ptr<Interface::AllIntfStatusDir> dir,
                 Mav::Ptr<Ip::Config> config, Mav::Ptr<Ip::Status> status)
      : AddressMirror(links, std::move(config), std::move(status)), dir_(std::move(dir)) {}

  void apply(Phase phase) override;

 private:
  /// Of one link's addresses, from 1 on: the link's own name. What is given back is taken first:
  /// the numbers never grow beyond what a link has had at a time.
  class Numbers {
   public:
    /// The smallest that is free.
    unsigned take();
    void give(unsigned number) { free_.insert(number); }
    /// No address of the link is left.
    bool unused() const { return free_.size() + 1 == next_; }

   private:
    unsigned next_ = 1;        // no number from here on was ever in use
    std::set<unsigned> free_;  // the ones below that are not in use
  };

  Dovel::IpAddrWithMask addrWithMask(Key const& key, Record const& record) const override;
  /// The kernel has no tentative address of IPv4.
  bool active(Record const&) const override { return true; }
  bool keepsIntfId(Key const& key) const override { return !renumbered_.contains(key); }
  Dovel::IntfId intfIdFor(Key const& key) override;
  /// Adds the IntfStatus of a further interface, or tells it that its link went up or down.
  void interfaceIs(Key const& key, Served const& served, LinkRecord const& link) override;
  /// Gives the number back; the further interface itself goes in the next phase (going_).
  void intfIdFree(Key const& key, Served const& served) override;
  void addressIs(AddressSource source, Dovel::IntfId const& intfId,
                 Dovel::IpAddrWithMask const& addr) override;
  void addressDel(AddressSource source, Dovel::IntfId const& intfId,
                  Dovel::IpAddrWithMask const& addr) override;
  void addressAgain(AddressSource source, Dovel::IntfId const& intfId,
                    Dovel::IpAddrWithMask const& addr) override;

  /// Finds the addresses that leave and come again, since another length of theirs comes.
  void renumber();

  Mav::Ptr<Interface::AllIntfStatusDir> const dir_;
  absl::btree_map<Dovel::IntfId, Numbers> numbersOf_;  // by link
  absl::btree_set<Key> renumbered_;                    // in this slice
  std::vector<Dovel::IntfId> going_;                   // interfaces without address by now
};

}  // namespace State
