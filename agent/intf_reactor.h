#pragma once
// What the four reactors of one interface's addresses share. React is the class itself (CRTP),
// whose `name` the traces give; Entity is what is watched (Ip::IpIntfConfig ...), `source` the side
// that it stands for. Another status of the interface means that the addresses are handed over
// again. One thread.
//
// A reactor comes before its interface's status or behind it: whichever comes last has the
// addresses filed.

#include "agent/ip_address_table_sm.h"
#include "agent/reactor.h"
#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"
#include "platform/state/entities/intf_details_provider.h"

namespace IpSnmp {

template <class React, class Entity, AddressSource source>
class IntfReactor : public Reactor<IpAddressTableSm, Entity> {
 public:
  static Dovel::IntfId keyOf(Entity const& entity) { return entity.intfId(); }

  /// Null once the state machine has let the reactor go.
  IpAddressTableSm* ipAddressTableSm() const { return this->sm(); }
  Dovel::IntfId const& intfId() const { return intfId_; }

  /// Hands over what the entity holds now. Twice to the same: whatever was handed over before is
  /// withdrawn, or found to be there.
  virtual void handleAddr() = 0;
  void handleIntfStatus() final { handleAddr(); }

 protected:
  IntfReactor(IpAddressTableSm& sm, Mav::Ptr<Entity const> const& entity)
      : Reactor<IpAddressTableSm, Entity>(sm, entity), intfId_(entity->intfId()) {}

  /// The first synchronisation; ends the constructor of the class that has handleAddr().
  void synchronize() {
    handleAddr();
    this->intfStatusIs(ipAddressTableSm()->intfStatus(intfId_));
    handleAddr();
  }

  /// "void IpSnmp::IpAddressTableSm::MavIpIntfConfig", then the function. A string of each class
  /// and function, made once: a Timer keeps the pointer.
  static std::string signature(std::string_view function) {
    return std::string("void IpSnmp::IpAddressTableSm::").append(React::name).append(function);
  }

 private:
  Dovel::IntfId const intfId_;
};

}  // namespace IpSnmp
