#pragma once
// Keeps Arp::NeighborDir as the neighbour table and the links say: an Arp::ArpIntfStatus for every
// link, which holds the link's neighbours. The further IntfIds of a link's addresses have none.
//
// An ARP status goes when its link leaves or changes its ifIndex, and comes, empty, when that is
// settled; its neighbours come one by one. Whoever hears that it went withdraws everything of that
// ifIndex, so no two of them ever stand for one: should the tables be read at a moment at which
// they name two links of one ifIndex, the first by name has the ARP status.

#include <absl/container/btree_set.h>

#include "platform/state/entities/arp_neighbor_dir.h"
#include "platform/state/mirrors/link_mirror.h"
#include "platform/state/mirrors/table_mirror.h"

namespace State {

class Neighbour4Mirror : public TableMirror<Pondo::Neighbour4Table> {
 public:
  explicit Neighbour4Mirror(Mav::Ptr<Arp::NeighborDir> dir) : dir_(std::move(dir)) {}

  void begin() override;
  void interfaceChanged(Pondo::Snapshot const& snapshot, InterfaceChange const& change) override;
  void apply(Phase phase) override;

 private:
  /// Links in the order of ifIndex, then name: the first of an ifIndex owns its ARP status.
  struct LinkOfIndex {
    std::int32_t ifIndex = 0;
    Dovel::IntfId link;
    auto operator<=>(LinkOfIndex const&) const = default;
  };

  /// Before any interface goes: what a reactor has filed it withdraws by the ifIndex that it knows.
  void withdraw();
  /// Makes the ARP statuses of what has settled, and fills them; then files what came.
  void announce();
  /// The link that has the ARP status of the ifIndex; null when no link has the ifIndex.
  Dovel::IntfId const* ownerOf(std::int32_t ifIndex) const;
  void statusDel(Dovel::IntfId const& link) { dir_->arpIntfStatusDel(link.stringValue()); }
  /// Announces all neighbours of the link that are filed and stay.
  void fill(Arp::ArpIntfStatus& status, Dovel::IntfId const& link) const;

  Mav::Ptr<Arp::NeighborDir> const dir_;
  absl::btree_set<LinkOfIndex> links_;
  std::vector<InterfaceChange> changes_;     // of this slice, those of a name or an ifIndex
  absl::btree_set<std::int32_t> unsettled_;  // ifIndexes of `changes_`
};

}  // namespace State
