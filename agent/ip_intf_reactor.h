#pragma once
// The reactors of one interface's IPv4 address: MavIpIntfConfig and MavIpIntfStatus. On every
// change, and when the interface's status comes, the address handed over last is withdrawn and the
// current one handed over. Side tells what is watched and how it is called.

#include "agent/intf_reactor.h"

namespace IpSnmp {

struct IpIntfConfigSide {
  using Entity = Ip::IpIntfConfig;
  static constexpr AddressSource source = addressSourceConfig;
  static constexpr auto address = &Entity::addrWithMask;
  static constexpr char const* handleAddrSignature =
      "void IpSnmp::IpAddressTableSm::MavIpIntfConfig::handleAddr()";
  static constexpr char const* handleDelSignature =
      "void IpSnmp::IpAddressTableSm::MavIpIntfConfig::handleDel()";
};

struct IpIntfStatusSide {
  using Entity = Ip::IpIntfStatus;
  static constexpr AddressSource source = addressSourceStatus;
  static constexpr auto address = &Entity::activeAddrWithMask;
  static constexpr char const* handleAddrSignature =
      "void IpSnmp::IpAddressTableSm::MavIpIntfStatus::handleAddr()";
  static constexpr char const* handleDelSignature =
      "void IpSnmp::IpAddressTableSm::MavIpIntfStatus::handleDel()";
};

template <class Side>
class IpIntfReactor : public IntfReactor<typename Side::Entity> {
 public:
  IpIntfReactor(IpAddressTableSm& sm, Mav::Ptr<typename Side::Entity const> const& entity)
      : IntfReactor<typename Side::Entity>(sm, entity) {
    this->synchronize();
  }

  void handleAddr() final;
  void handleDel() final;

 protected:
  /// What was handed over last.
  Dovel::IpAddrWithMask const& oldAddress() const { return oldAddress_; }

 private:
  Dovel::IpAddrWithMask oldAddress_;
};

class IpAddressTableSm::MavIpIntfConfig final : public IpIntfReactor<IpIntfConfigSide> {
 public:
  using IpIntfReactor::IpIntfReactor;
  Dovel::IpAddrWithMask const& oldAddrWithMask() const { return oldAddress(); }
  void onAddrWithMask() override { handleAddr(); }
};

class IpAddressTableSm::MavIpIntfStatus final : public IpIntfReactor<IpIntfStatusSide> {
 public:
  using IpIntfReactor::IpIntfReactor;
  Dovel::IpAddrWithMask const& oldActiveAddrWithMask() const { return oldAddress(); }
  void onActiveAddrWithMask() override { handleAddr(); }
};

}  // namespace IpSnmp
