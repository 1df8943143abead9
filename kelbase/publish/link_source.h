#pragma once
// Interfaces: RTM_NEWLINK and RTM_DELLINK (rtnetlink(7)) to Pondo::LinkTable.
//
// The kernel identifies a link by its index, the table by its name; a rename is a message like any
// other. So the source remembers index to link and name to index, and a name belongs to whichever
// index claimed it last: swapped names, a name that comes back with another index, and an index
// that comes back with another name all end right, whatever was lost in between.

#include <absl/container/btree_set.h>
#include <absl/container/flat_hash_map.h>

#include "kelbase/model/link_names.h"
#include "kelbase/netlink/table_source.h"

namespace Kelbase {

class LinkSource : public TableSource, public LinkNames {
 public:
  LinkSource();

  std::string_view name() const override { return "links"; }
  std::span<unsigned const> groups() const override;
  std::span<NetlinkRequest const> requests() const override { return {&request_, 1}; }
  bool takes(std::uint16_t messageType) const override;
  void dumpBegin() override { ++dump_; }
  void dumpEnd(bool whole) override;
  void receive(NetlinkMessage const& message) override;
  void writeRemovals(Pondo::Writer& writer) override;
  void writeRest(Pondo::Writer& writer) override;
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override;
  std::string summary() const override;

  std::optional<Dovel::IntfId> linkName(std::int32_t index) const override;
  std::optional<std::int32_t> linkIndex(Dovel::IntfId const& name) const override;

  /// What the table is to hold.
  Pondo::LinkTable::Record const* find(Dovel::IntfId const& name) const;
  std::size_t size() const { return indexByName_.size(); }

 private:
  struct Link {
    Dovel::IntfId name;
    Pondo::LinkTable::Record record;
    std::uint64_t dump = 0;  // the last dump that mentioned it
  };

  void linkIs(Dovel::IntfId const& name, Pondo::LinkTable::Record const& record);
  void linkDel(std::int32_t index);
  void nameDel(Dovel::IntfId const& name, std::int32_t index);

  NetlinkRequest request_;
  absl::flat_hash_map<std::int32_t, Link> links_;  // by index
  absl::flat_hash_map<Dovel::IntfId, std::int32_t> indexByName_;
  absl::btree_set<Dovel::IntfId> changed_;
  std::uint64_t dump_ = 0;
};

}  // namespace Kelbase
