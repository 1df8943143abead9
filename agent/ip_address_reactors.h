#pragma once
// The reactors of the state machine's inputs. Those of the four address entities keep one reactor
// for each interface of their entity. IpAddressTableSm owns them all. On the agent's thread.

#include "agent/ip6_intf_reactor.h"
#include "agent/ip_intf_reactor.h"
#include "platform/blipmark/blipmark.h"

namespace IpSnmp {

/// Nothing that happens in IpMib concerns its only writer.
class IpAddressTableSm::MavIpMib final : public IpMib::NotifieeConst {
 public:
  using IpMib::NotifieeConst::NotifieeConst;
};

/// Dir is the entity (Ip::Config ...), React what watches one of its interfaces.
template <class Dir, class React>
class IntfDirReactor : public Dir::NotifieeConst {
 public:
  /// Only registers: handleIntf() makes the first pass. `reactors` is a member of the state
  /// machine, which owns this.
  IntfDirReactor(IpAddressTableSm& sm, ReactorSet<React>& reactors, Mav::Ptr<Dir const> dir)
      : Dir::NotifieeConst(std::move(dir)), sm_(sm), reactors_(reactors) {}

  /// The interface came or went. An entity that came back in between has another reactor:
  /// ReactorSet compares the entities.
  void handleIntf(Dovel::IntfId const& intf) {
    if (auto const entity = this->notifier()->intf(intf)) {
      reactors_.is(sm_, entity);
    } else {
      reactors_.del(intf);
    }
  }
  /// Any may have come or gone.
  void handleIntf() {
    for (auto i = this->notifier()->intfIterator(); i; ++i) reactors_.is(sm_, i.value());
    reactors_.delUnless(
        [this](Dovel::IntfId const& intf) { return bool(this->notifier()->intf(intf)); });
  }

 private:
  IpAddressTableSm& sm_;
  ReactorSet<React>& reactors_;
};

// One class for each side and version, with the name that traces and counts of calls give it:
// configured, and in operation.
class IpAddressTableSm::MavConfig final : public IntfDirReactor<Ip::Config, MavIpIntfConfig> {
 public:
  using IntfDirReactor::IntfDirReactor;
  void onIpIntfConfig(Dovel::IntfId const& intf) override {
    Blipmark::Timer const blip(
        "void IpSnmp::IpAddressTableSm::MavConfig::onIpIntfConfig(Dovel::IntfId)");
    handleIntf(intf);
  }
};

class IpAddressTableSm::MavStatus final : public IntfDirReactor<Ip::Status, MavIpIntfStatus> {
 public:
  using IntfDirReactor::IntfDirReactor;
  void onIpIntfStatus(Dovel::IntfId const& intf) override {
    Blipmark::Timer const blip(
        "void IpSnmp::IpAddressTableSm::MavStatus::onIpIntfStatus(Dovel::IntfId)");
    handleIntf(intf);
  }
};

class IpAddressTableSm::MavConfig6 final : public IntfDirReactor<Ip6::Config, MavIp6IntfConfig> {
 public:
  using IntfDirReactor::IntfDirReactor;
  void onIntf(Dovel::IntfId const& intf) override {
    Blipmark::Timer const blip("void IpSnmp::IpAddressTableSm::MavConfig6::onIntf(Dovel::IntfId)");
    handleIntf(intf);
  }
};

class IpAddressTableSm::MavStatus6 final : public IntfDirReactor<Ip6::Status, MavIp6IntfStatus> {
 public:
  using IntfDirReactor::IntfDirReactor;
  void onIntf(Dovel::IntfId const& intf) override {
    Blipmark::Timer const blip("void IpSnmp::IpAddressTableSm::MavStatus6::onIntf(Dovel::IntfId)");
    handleIntf(intf);
  }
};

}  // namespace IpSnmp
