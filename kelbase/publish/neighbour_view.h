#pragma once
// The neighbours of both versions of IP as rows of Pondo::NeighbourTable: one row each, by the
// index of its link, whatever the link is called.
//
// By index and no name, because ipNetToPhysicalTable is indexed so (RFC 4293), and because a rename
// then writes nothing. Unlike the rows of OnLinksView these hear of what goes with its link one by
// one (onGoneWithLink).

#include "kelbase/model/neighbour.h"
#include "kelbase/publish/row_view.h"

namespace Kelbase {

class NeighbourView : public RowView<Pondo::NeighbourTable>, private Neighbours::Observer {
 public:
  /// `neighbours` must outlive it.
  explicit NeighbourView(Neighbours& neighbours) : neighbours_(neighbours) {
    neighbours.observerIs(*this);
  }

  std::string_view name() const override { return "neighbours"; }
  std::string summary() const override { return neighbours_.summary(); }

  std::optional<Record> find(Key const& key) const override;
  /// Takes over when each was updated, as the table has it: a publisher that starts again shows
  /// readers nothing.
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override;

 private:
  void forEachRow(Visit visit) const override;
  void onObject(Neighbour const& neighbour) override;
  void onObjectGone(Neighbour const& neighbour) override { onObject(neighbour); }
  void onGoneWithLink(std::int32_t link, Neighbour::Key const& key) override;

  // Not const: writeAll() corrects when each was updated.
  Neighbours& neighbours_;
};

}  // namespace Kelbase
