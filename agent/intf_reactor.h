#pragma once
// What the four reactors of one interface's addresses share: the back pointer to the state machine
// and the interface's status, without which they file nothing.
//
// Entity is what is watched (Ip::IpIntfConfig ...). A reactor lives in a ReactorSet of the state
// machine while its entity is in the collection that it came from. One thread.

#include "agent/ip_address_table_sm.h"

namespace IpSnmp {

template <class Entity>
class IntfReactor : public Mav::Counted<IntfReactor<Entity>>, public Entity::NotifieeConst {
 public:
  /// Null once the state machine has let the reactor go.
  IpAddressTableSm* ipAddressTableSm() const { return ipAddressTableSm_; }
  Dovel::IntfId const& intfId() const { return intfId_; }
  /// Null while the interface has no status.
  Mav::Ptr<Interface::IntfStatus const> const& intfStatus() const { return intfStatus_; }

  /// Another status (or none) than the one held is held from now on, and handleAddr() runs.
  void intfStatusIs(Mav::Ptr<Interface::IntfStatus const> intfStatus) {
    if (intfStatus_ == intfStatus) return;
    intfStatus_ = std::move(intfStatus);
    handleAddr();
  }

  /// Hands over what the entity holds now.
  virtual void handleAddr() = 0;
  /// The entity has left: withdraws what was handed over. Without a status nothing is withdrawn.
  virtual void handleDel() = 0;

  /// The state machine lets go: nothing is heard or handed over from now on.
  void disconnect() {
    this->notifierIs(nullptr);
    ipAddressTableSm_ = nullptr;
  }

 protected:
  IntfReactor(IpAddressTableSm& sm, Mav::Ptr<Entity const> const& entity)
      : Entity::NotifieeConst(entity), ipAddressTableSm_(&sm), intfId_(entity->intfId()) {}

  /// The first synchronisation; ends the constructor of the class that has handleAddr().
  void synchronize() {
    handleAddr();
    intfStatusIs(ipAddressTableSm_->intfStatus(intfId_));
    handleAddr();
  }

 private:
  IpAddressTableSm* ipAddressTableSm_;
  Dovel::IntfId const intfId_;
  Mav::Ptr<Interface::IntfStatus const> intfStatus_;
};

}  // namespace IpSnmp
