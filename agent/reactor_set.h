#pragma once
// The reactors of one kind, by interface. Finding one costs a descent of a small tree.

#include "platform/dovel/intf_id.h"
#include "platform/mav/object.h"
#include "platform/mav/ordered_map.h"

namespace IpSnmp {

class IpAddressTableSm;

/// Reactor derives from IntfReactor. It may be incomplete where the set is declared.
template <class Reactor>
class ReactorSet {
 public:
  /// Null when the interface has none.
  Mav::Ptr<Reactor> get(Dovel::IntfId const& intfId) const { return reactors_.get(intfId); }
  std::size_t size() const { return reactors_.size(); }

  /// Creates the reactor of `entity`, unless it is there. One of another entity, whose place this
  /// one took, goes first.
  template <class Entity>
  void is(IpAddressTableSm& sm, Mav::Ptr<Entity const> const& entity) {
    Dovel::IntfId const intfId = entity->intfId();
    if (auto const existing = get(intfId)) {
      if (existing->notifier() == entity) return;
      del(intfId);
    }
    reactors_.put(intfId, Mav::makeObject<Reactor>(sm, entity));
  }

  /// Removes the reactor of the interface, which withdraws what it handed over.
  void del(Dovel::IntfId const& intfId) {
    auto const reactor = get(intfId);
    if (!reactor) return;
    reactors_.erase(intfId);
    reactor->handleDel();
    reactor->disconnect();
  }

  /// Removes those whose interface `stays` denies.
  template <class Stays>
  void delUnless(Stays const& stays) {
    for (auto reactor = reactors_.first(); reactor; ++reactor) {
      if (!stays(reactor.key())) del(reactor.key());
    }
  }

  /// Removes all; nothing is withdrawn.
  void delAll() {
    for (auto reactor = reactors_.first(); reactor; ++reactor) reactor->disconnect();
    reactors_.clear();
  }

  template <class Call>
  void forEach(Call const& call) {
    for (auto reactor = reactors_.first(); reactor; ++reactor) call(*reactor.value());
  }

 private:
  Mav::OrderedMap<Dovel::IntfId, Mav::Ptr<Reactor>> reactors_;
};

}  // namespace IpSnmp
