#pragma once
// The reactors of the state machine's inputs. Those of the four address entities keep one reactor
// for each interface of their entity; their constructors only register, and the handler of the
// whole collection makes the first pass.

#include "agent/ip6_intf_reactor.h"
#include "agent/ip_intf_reactor.h"

namespace IpSnmp {

class IpAddressTableSm::MavIntfStatusDir final : public Interface::AllIntfStatusDir::NotifieeConst {
 public:
  MavIntfStatusDir(IpAddressTableSm& sm, Mav::Ptr<Interface::AllIntfStatusDir const> dir)
      : NotifieeConst(std::move(dir)), sm_(sm) {}
  void onIntfStatus(Dovel::IntfId const& intf) override { sm_.handleIntfStatus(intf); }
  void onIntfStatus() override;

 private:
  IpAddressTableSm& sm_;
};

/// Nothing that happens in IpMib concerns its only writer.
class IpAddressTableSm::MavIpMib final : public IpMib::NotifieeConst {
 public:
  using IpMib::NotifieeConst::NotifieeConst;
};

class IpAddressTableSm::MavConfig final : public Ip::Config::NotifieeConst {
 public:
  MavConfig(IpAddressTableSm& sm, Mav::Ptr<Ip::Config const> config)
      : NotifieeConst(std::move(config)), sm_(sm) {}
  void onIpIntfConfig(Dovel::IntfId const& intf) override;
  void onIpIntfConfig() override;

 private:
  IpAddressTableSm& sm_;
};

class IpAddressTableSm::MavStatus final : public Ip::Status::NotifieeConst {
 public:
  MavStatus(IpAddressTableSm& sm, Mav::Ptr<Ip::Status const> status)
      : NotifieeConst(std::move(status)), sm_(sm) {}
  void onIpIntfStatus(Dovel::IntfId const& intf) override;
  void onIpIntfStatus() override;

 private:
  IpAddressTableSm& sm_;
};

class IpAddressTableSm::MavConfig6 final : public Ip6::Config::NotifieeConst {
 public:
  MavConfig6(IpAddressTableSm& sm, Mav::Ptr<Ip6::Config const> config)
      : NotifieeConst(std::move(config)), sm_(sm) {}
  void onIntf(Dovel::IntfId const& intf) override;
  void onIntf() override;

 private:
  IpAddressTableSm& sm_;
};

class IpAddressTableSm::MavStatus6 final : public Ip6::Status::NotifieeConst {
 public:
  MavStatus6(IpAddressTableSm& sm, Mav::Ptr<Ip6::Status const> status)
      : NotifieeConst(std::move(status)), sm_(sm) {}
  void onIntf(Dovel::IntfId const& intf) override;
  void onIntf() override;

 private:
  IpAddressTableSm& sm_;
};

}  // namespace IpSnmp
