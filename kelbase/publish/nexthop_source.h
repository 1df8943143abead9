#pragma once
// Nexthop objects: RTM_NEWNEXTHOP and RTM_DELNEXTHOP (ip-nexthop(8), kernels from 5.3 on), and with
// them Pondo::FecTable, in which the next hops of all routes are (hop_sets.h).

#include "kelbase/publish/hop_sets.h"
#include "kelbase/publish/table_source.h"

namespace Kelbase {

class NexthopSource : public TableSource {
 public:
  /// `names` must outlive it.
  explicit NexthopSource(LinkNames& names);

  HopSets& sets() { return sets_; }

  std::string_view name() const override { return "nexthop objects"; }
  std::span<unsigned const> groups() const override;
  std::span<NetlinkRequest const> requests() const override { return {&request_, 1}; }
  bool takes(std::uint16_t messageType) const override;
  void dumpBegin() override { sets_.dumpBegin(); }
  void dumpEnd(bool whole) override { sets_.dumpEnd(whole); }
  void receive(NetlinkMessage const& message) override;
  void writeRemovals(Pondo::Writer& /*writer*/) override {}
  void writeRest(Pondo::Writer& writer) override { sets_.writeFecs(writer); }
  bool hasMore() const override { return sets_.hasMore(); }
  void writeUnused(Pondo::Writer& writer) override { sets_.eraseUnused(writer); }
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override {
    return sets_.writeAll(writer);
  }
  std::string summary() const override;

 private:
  HopSets sets_;
  NetlinkRequest request_;
};

}  // namespace Kelbase
