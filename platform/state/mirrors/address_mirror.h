#pragma once
// What the mirrors of both address tables share: from records and links to which address is to be
// announced where, and the order in which that happens.
//
// An address is served while its link is known: as configured always, as in operation while it is
// active(). What is served stays untouched until it goes, or until its interface, its ifIndex or
// its prefix length is another one: then it goes and comes again. What becomes active or inactive
// comes or goes on the side of the status alone.
//
// At the end of the slice every prefix that may have lost its row gets it back (PrefixLedger).
//
// The deriving class says under which IntfId an address is served and speaks to its entities.

#include <type_traits>

#include <absl/container/btree_map.h>
#include <absl/container/btree_set.h>

#include "platform/state/mirrors/link_mirror.h"
#include "platform/state/mirrors/prefix_ledger.h"
#include "platform/state/mirrors/table_mirror.h"

namespace State {

/// AddrWithMask is Dovel::IpAddrWithMask or Dovel::Ip6AddrWithMask, Config and Status the entities
/// of that version. What is served is known by what was announced (Served), not by what is filed: a
/// slice that is taken again goes on where it failed.
template <class Table, class AddrWithMask, class Config, class Status>
class AddressMirror : public TableMirror<Table> {
 public:
  using typename TableMirror<Table>::Key;
  using typename TableMirror<Table>::Record;
  using LinkRecord = Pondo::LinkTable::Record;

  /// `links` must outlive the mirror, and stand before it in the list of mirrors.
  AddressMirror(LinkMirror const& links, Mav::Ptr<Config> config, Mav::Ptr<Status> status)
      : links_(links), config_(std::move(config)), status_(std::move(status)) {}

  void read(Pondo::Snapshot const& snapshot, std::string_view keyBytes) override {
    auto const known = this->deltas().size();
    TableMirror<Table>::read(snapshot, keyBytes);
    // Only where the record differs: a comparison reads every address, and touches none that is the
    // same.
    if (this->deltas().size() != known) touch(this->deltas().back().key);
  }

  void interfaceChanged(Pondo::Snapshot const& snapshot, InterfaceChange const& change) override {
    // What is left to change of a link changes no address: that it is administratively up.
    bool const same = change.before && change.after && !leaves(change) &&
                      change.before->operUp == change.after->operUp;
    if (same) return;
    this->forEachFiled(Pondo::addressKeysOf(change.key), [&](std::string_view keyBytes) {
      read(snapshot, keyBytes);
      // Also where the record is the same: it is the link under it that differs.
      touch(*Table::decodeKey(keyBytes));
    });
  }

  void apply(Phase phase) override {
    if (phase == Phase::withdraw) withdraw();
    if (phase == Phase::interfacesCome) admit();
    if (phase == Phase::announce) announce();
  }

  void end() override {
    TableMirror<Table>::end();
    touched_.clear();
  }

 protected:
  /// What was announced of an address, and as what: it is withdrawn as that, whatever is known by
  /// then.
  struct Served {
    Dovel::IntfId intfId;
    std::int32_t ifIndex = 0;
    AddrWithMask addr;
    bool config = false, status = false;  // announced there
  };

  /// The links, as this slice leaves them.
  LinkMirror const& links() const { return links_; }

  /// To look at `key` in this slice, whether its record has changed or not. Kept until the slice
  /// has succeeded.
  void touch(Key const& key) { touched_.insert(key); }
  absl::btree_set<Key> const& touched() const { return touched_; }

  /// Whether the address will be announced in this slice, as one that was not there.
  bool comes(Key const& key) const {
    auto const want = wanted(key);
    auto const it = served_.find(key);
    return want && (it == served_.end() || !stays(key, it->second, want));
  }

  /// What is served under keys from `from` on, before `to`: begin and end.
  auto servedBetween(Key const& from, Key const& to) const {
    return std::pair(served_.lower_bound(from), served_.lower_bound(to));
  }

  /// Calls call(dir) for the entity of the source.
  template <class Call>
  void inDir(AddressSource source, Call const& call) const {
    if (source == AddressSource::config) {
      call(*config_);
    } else {
      call(*status_);
    }
  }

 private:
  using Addr = std::remove_cvref_t<decltype(AddrWithMask().address())>;
  using Ledger = PrefixLedger<Addr>;

  /// The address and length of a record, as the entities have them.
  virtual AddrWithMask addrWithMask(Key const& key, Record const& record) const = 0;
  /// Given that its link is up.
  virtual bool active(Record const& record) const = 0;
  /// Whether an address that is served can go on under its IntfId.
  virtual bool keepsIntfId(Key const&) const { return true; }
  /// The IntfId for an address that comes. Called once for it, in the order of keys.
  virtual Dovel::IntfId intfIdFor(Key const& key) = 0;
  /// Its interface, if it is not the link's own.
  virtual void interfaceIs(Key const&, Served const&, LinkRecord const&) {}
  /// The address has gone; so may its IntfId, once this phase is over.
  virtual void intfIdFree(Key const&, Served const&) {}

  /// Announces it on one side; makes the interface's entity where it is the first.
  virtual void addressIs(AddressSource source, Dovel::IntfId const& intfId,
                         AddrWithMask const& addr) = 0;
  virtual void addressDel(AddressSource source, Dovel::IntfId const& intfId,
                          AddrWithMask const& addr) = 0;
  /// Withdraws it and announces it again. For the prefix row that it puts back
  /// (PrefixLedger::repairs()); the interface stays.
  virtual void addressAgain(AddressSource source, Dovel::IntfId const& intfId,
                            AddrWithMask const& addr) = 0;
  /// Whether the state machines pass such an address on to the tables.
  virtual bool reachesTables(Addr const&) const { return true; }

  /// An address and its link as this slice leaves them, where both are there.
  struct Wanted {
    Record record;
    LinkRecord link;
  };

  /// Nothing where either is missing: an address that comes before its link waits, filed.
  std::optional<Wanted> wanted(Key const& key) const {
    auto const record = this->now(key);
    auto const link = links_.link(key.link);
    if (!record || !link) return std::nullopt;
    return Wanted{*record, *link};
  }

  /// Whether what is announced is still right, but for whether it is in operation.
  bool stays(Key const& key, Served const& served, std::optional<Wanted> const& want) const {
    return want && want->link.ifIndex == served.ifIndex &&
           addrWithMask(key, want->record) == served.addr && keepsIntfId(key);
  }

  /// In operation: its link is up, and nothing is known against the address itself.
  bool wantsStatus(Wanted const& want) const { return want.link.operUp && active(want.record); }

  /// Takes away what goes, while its interface is still there: state machines withdraw nothing of
  /// one that has no status (agent/ip_intf_reactor.h).
  void withdraw() {
    for (auto const& key : touched_) {
      auto const it = served_.find(key);
      if (it == served_.end()) continue;
      auto& served = it->second;
      auto const want = wanted(key);
      bool const remains = stays(key, served, want);
      // Configured first: of the two it stands behind, and no row changes hands before it goes
      // altogether.
      if (!remains) sourceIs(served, AddressSource::config, served.config, false);
      if (!remains || !wantsStatus(*want)) {
        sourceIs(served, AddressSource::status, served.status, false);
      }
      if (remains) continue;
      intfIdFree(key, served);
      served_.erase(it);
    }
  }

  /// Finds an IntfId for what comes, when all that goes has given its own back.
  void admit() {
    for (auto const& key : touched_) {
      auto const want = wanted(key);
      if (!want) continue;
      auto it = served_.find(key);
      if (it == served_.end()) {
        Served const served{intfIdFor(key), want->link.ifIndex, addrWithMask(key, want->record)};
        it = served_.emplace(key, served).first;
      }
      // Also of one that stays: its link may have gone up or down.
      interfaceIs(key, it->second, want->link);
    }
  }

  /// Tells of what has come, now that its interface is there; then puts the prefixes right.
  void announce() {
    for (auto const& key : touched_) {
      auto const it = served_.find(key);
      if (it == served_.end()) continue;
      auto& served = it->second;
      // In operation first: what is configured then changes no row.
      if (wantsStatus(*wanted(key))) {
        sourceIs(served, AddressSource::status, served.status, true);
      }
      sourceIs(served, AddressSource::config, served.config, true);
    }
    for (auto const& [presence, length] : ledger_.repairs()) {
      addressAgain(presence.source, presence.intfId, {presence.addr, length});
    }
    ledger_.repaired();
  }

  /// Announces or withdraws one side of an address, and has the ledger know of it before the state
  /// machines do.
  void sourceIs(Served const& served, AddressSource source, bool& present, bool wanted) {
    if (present == wanted) return;
    // Where an allocation fails behind this, the slice does not make up for it: all is made anew
    // then (mav/memory_failure.h).
    present = wanted;
    typename Ledger::Presence const presence{served.addr.address(), source, served.intfId};
    bool const counts = reachesTables(presence.addr);
    if (wanted) {
      if (counts) {
        ledger_.added(presence, {served.ifIndex, served.addr.subnet(), served.addr.length()});
      }
      addressIs(source, served.intfId, served.addr);
    } else {
      if (counts) ledger_.removed(presence);
      addressDel(source, served.intfId, served.addr);
    }
  }

  LinkMirror const& links_;
  Mav::Ptr<Config> const config_;
  Mav::Ptr<Status> const status_;
  // What is announced now, and what to look at: the latter is emptied by a slice that succeeds.
  absl::btree_map<Key, Served> served_;
  absl::btree_set<Key> touched_;
  Ledger ledger_;
};

}  // namespace State
