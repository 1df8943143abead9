#pragma once
// The reactors of ArpTableSm: those of its inputs, and MavArpIntfStatus, which files one
// interface's neighbours. The state machine owns them, and lets them go before it does. On the
// agent's thread.

#include "agent/arp_table_sm.h"

namespace IpSnmp {

/// Nothing that happens in IpMib concerns arpTable's only writer.
class ArpTableSm::MavIpMib final : public IpMib::NotifieeConst {
 public:
  using IpMib::NotifieeConst::NotifieeConst;
};

/// Keeps one reactor for each interface of the directory. Its constructor only registers; the
/// handler of the whole collection makes the first pass.
class ArpTableSm::MavStatus final : public Arp::NeighborDir::NotifieeConst {
 public:
  MavStatus(ArpTableSm& sm, Mav::Ptr<Arp::NeighborDir const> status)
      : NotifieeConst(std::move(status)), sm_(sm) {}
  /// One interface: its reactor is made, or withdraws and goes.
  void onArpIntfStatus(Mav::Name const& name) override;
  /// All of them: those without a reactor get one, those that have gone lose theirs.
  void onArpIntfStatus() override;

 private:
  ArpTableSm& sm_;
};

/// One interface's neighbours, and the ifIndex under which they are filed. The rows refer to the
/// entity that it watches, and to nothing of the reactor.
class ArpTableSm::MavArpIntfStatus final : public Reactor<ArpTableSm, Arp::ArpIntfStatus> {
 public:
  static Mav::Name keyOf(Arp::ArpIntfStatus const& entity) { return entity.name(); }

  MavArpIntfStatus(ArpTableSm& sm, Mav::Ptr<Arp::ArpIntfStatus const> const& entity);

  /// Null once the state machine has let the reactor go.
  ArpTableSm* arpTableSm() const { return sm(); }

  /// What its rows are filed under; -1 until an interface status with an index is known.
  std::int32_t ifIndex() const { return ifIndex_; }
  void ifIndexIs(std::int32_t ifIndex) { ifIndex_ = ifIndex; }

  /// Files the neighbour, or removes its row when there is none. No effect without an ifIndex.
  void handleArpEntry(Dovel::IpAddr address);
  /// Every neighbour.
  void handleArpEntry();
  /// Takes over the ifIndex and files every neighbour under it; no effect without a status.
  void handleIntfStatus() override;
  /// Looks for the interface's status.
  void handleNew();
  /// Removes every row of the ifIndex.
  void handleDel() override;

  // The mirror announces a neighbour when it comes, when it goes, and when it changes.
  void onArpEntry(Dovel::IpAddr const& address) override { handleArpEntry(address); }
  void onArpEntry() override { handleArpEntry(); }

 private:
  std::int32_t ifIndex_ = -1;
};

}  // namespace IpSnmp
