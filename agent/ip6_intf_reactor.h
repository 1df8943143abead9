#pragma once
// The reactors of one interface's IPv6 addresses: MavIp6IntfConfig and MavIp6IntfStatus. An address
// that is present is handed over, without being withdrawn first; one that is absent is withdrawn.
// Link-local addresses are passed over. Side tells what is watched and how it is called.

#include "agent/intf_reactor.h"

namespace IpSnmp {

struct Ip6IntfConfigSide {
  using Entity = Ip6::IntfConfig;
  static constexpr AddressSource source = addressSourceConfig;
  static constexpr char const* handleAddrSignature =
      "void IpSnmp::IpAddressTableSm::MavIp6IntfConfig::handleAddr("
      "const Dovel::Ip6AddrWithMask&)";
  static constexpr char const* handleAllSignature =
      "void IpSnmp::IpAddressTableSm::MavIp6IntfConfig::handleAddr()";
  static constexpr char const* handleDelSignature =
      "void IpSnmp::IpAddressTableSm::MavIp6IntfConfig::handleDel()";
};

struct Ip6IntfStatusSide {
  using Entity = Ip6::IntfStatus;
  static constexpr AddressSource source = addressSourceStatus;
  static constexpr char const* handleAddrSignature =
      "void IpSnmp::IpAddressTableSm::MavIp6IntfStatus::handleAddr("
      "const Dovel::Ip6AddrWithMask&)";
  static constexpr char const* handleAllSignature =
      "void IpSnmp::IpAddressTableSm::MavIp6IntfStatus::handleAddr()";
  static constexpr char const* handleDelSignature =
      "void IpSnmp::IpAddressTableSm::MavIp6IntfStatus::handleDel()";
};

template <class Side>
class Ip6IntfReactor : public IntfReactor<typename Side::Entity> {
 public:
  /// An address as it was handed over.
  struct MavOldAddr {
    Ip6::AddressInfo info;
  };
  using OldAddrMap = Mav::OrderedMap<Dovel::Ip6AddrWithMask, MavOldAddr>;

  Ip6IntfReactor(IpAddressTableSm& sm, Mav::Ptr<typename Side::Entity const> const& entity)
      : IntfReactor<typename Side::Entity>(sm, entity) {
    this->synchronize();
  }

  OldAddrMap const& oldAddr() const { return oldAddr_; }

  void handleAddr() final;
  void handleAddr(Dovel::Ip6AddrWithMask const& address);
  void handleDel() final;

  void onAddr(Dovel::Ip6AddrWithMask const& address) final { handleAddr(address); }
  /// Also withdraws what is no longer there.
  void onAddr() final;

 private:
  OldAddrMap oldAddr_;
};

class IpAddressTableSm::MavIp6IntfConfig final : public Ip6IntfReactor<Ip6IntfConfigSide> {
 public:
  using Ip6IntfReactor::Ip6IntfReactor;
};

class IpAddressTableSm::MavIp6IntfStatus final : public Ip6IntfReactor<Ip6IntfStatusSide> {
 public:
  using Ip6IntfReactor::Ip6IntfReactor;
};

}  // namespace IpSnmp
