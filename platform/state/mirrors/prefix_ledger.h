#pragma once
// Which served address leads to which prefix, kept beside the address tables that the state
// machines make of the mirrors' entities, to know when a prefix that is still in use loses its row.
//
// An address can be present on several interfaces, as configured and as in operation. The tables
// show the prefix of its first presence alone: in operation before configured, then by IntfId. Each
// such prefix has one row, which addresses share. When the first presence of one of them goes, or
// another takes its place, the row may go with it, though others still lead to it. The row comes
// back when any of these is announced again, and repairs() names one for each such prefix.
//
// So 10.0.0.1/24 and 10.0.0.2/24 of one link share the row of 10.0.0.0/24, which the one that came
// last has filed (IpAddressTableSm). When that one goes, the state machine takes away the row as
// its own; the other still leads there, and is announced again.
//
// What is named is the last presence of its address. Where there are several, that one leads to no
// row: taking it away makes the tables put back the row of the first, and adding it changes
// nothing. So one repair never makes another necessary.
//
// Everything costs the logarithm of the number of addresses. One thread.

#include <cstdint>
#include <optional>
#include <tuple>
#include <vector>

#include <absl/container/btree_map.h>
#include <absl/container/btree_set.h>

#include "platform/dovel/intf_id.h"

namespace State {

/// In the order in which presences of one address come first.
enum class AddressSource : std::uint8_t { status, config };

template <class Addr>
class PrefixLedger {
 public:
  /// An address on one interface, configured or in operation: what the state machines hear of one
  /// by one.
  struct Presence {
    Addr addr;
    AddressSource source = AddressSource::status;
    Dovel::IntfId intfId;
    auto operator<=>(Presence const&) const = default;
  };

  /// A row of ipAddressPrefixTable (RFC 4293), by its instance but for the version of IP.
  struct Prefix {
    std::int32_t ifIndex = 0;
    Addr subnet;
    unsigned length = 0;
    auto operator<=>(Prefix const&) const = default;
  };

  /// What to withdraw and announce again.
  struct Repair {
    Presence presence;
    unsigned length = 0;  // of its prefix
  };

  // Where an allocation fails, the ledger is not what is served, until all is made anew
  // (mav/memory_failure.h): a presence may be unknown, and a user have none.

  /// `presence` is new.
  void added(Presence const& presence, Prefix const& prefix) {
    auto const first = firstOf(presence.addr);
    bool const none = first == presences_.end();
    // A presence behind the first changes no row, and nobody's use of one.
    if (none || presence < first->first) {
      if (!none) leave(first->second, presence.addr, prefix);
      users_.insert({prefix, presence.addr});
    }
    presences_.emplace(presence, prefix);
  }

  /// `presence` is there.
  void removed(Presence const& presence) {
    auto const it = presences_.find(presence);
    if (it == presences_.end()) return;
    bool const wasFirst = it == firstOf(presence.addr);
    auto const prefix = it->second;
    presences_.erase(it);
    // A presence behind the first had no row.
    if (!wasFirst) return;
    auto const next = firstOf(presence.addr);
    bool const none = next == presences_.end();
    leave(prefix, presence.addr, none ? Prefix{} : next->second);
    if (!none) users_.insert({next->second, presence.addr});
  }

  /// The presences to withdraw and announce again, so that every prefix in use has its row. At most
  /// one for each prefix that lost a user: a slice that changes little repairs little.
  std::vector<Repair> repairs() const {
    std::vector<Repair> result;
    for (auto const& prefix : shaken_) {
      auto const user = users_.lower_bound({prefix, Addr{}});
      if (user == users_.end() || user->first != prefix) continue;
      if (auto const last = lastOf(user->second)) result.push_back(*last);
    }
    return result;
  }
  /// They have been made.
  void repaired() { shaken_.clear(); }

 private:
  using Presences = absl::btree_map<Presence, Prefix>;

  typename Presences::const_iterator firstOf(Addr const& addr) const {
    auto const it = presences_.lower_bound({addr, AddressSource::status, {}});
    return it != presences_.end() && it->first.addr == addr ? it : presences_.end();
  }

  std::optional<Repair> lastOf(Addr const& addr) const {
    std::optional<Repair> last;
    for (auto it = firstOf(addr); it != presences_.end() && it->first.addr == addr; ++it) {
      last = Repair{it->first, it->second.length};
    }
    return last;
  }

  /// The address leads to `next` from now on. A prefix that keeps its row by that is not shaken:
  /// the same row is put back by whoever comes first now.
  void leave(Prefix const& prefix, Addr const& addr, Prefix const& next) {
    users_.erase({prefix, addr});
    if (prefix != next) shaken_.insert(prefix);
  }

  Presences presences_;
  absl::btree_set<std::pair<Prefix, Addr>> users_;  // addresses whose first presence leads there
  absl::btree_set<Prefix> shaken_;                  // lost a user since the last repair
};

}  // namespace State
