#pragma once
// The reactors of one kind in a state machine, by the key that the reactor's class gives their
// entity (keyOf). Finding one costs a descent of a small tree. One thread.
//
// The state machine has one for each kind of entity, and the reactors have no other owner; who asks
// for one by get() may keep it alive for longer, disconnected. A walk over the set survives what
// the reactors do to it.

#include "platform/dovel/intf_id.h"
#include "platform/mav/object.h"
#include "platform/mav/ordered_map.h"

namespace IpSnmp {

/// React derives from Reactor. It may be incomplete where the set is declared.
template <class React, class Key = Dovel::IntfId>
class ReactorSet {
 public:
  /// Null when there is none.
  Mav::Ptr<React> get(Key const& key) const { return reactors_.get(key); }
  std::size_t size() const { return reactors_.size(); }

  /// Creates the reactor of `entity`, unless it is there. One of another entity, whose place this
  /// one took, goes first. The constructor of a reactor files what the entity holds. One that
  /// throws leaves no reactor, and what it has filed so far: for want of memory everything starts
  /// over (memory_failure.h).
  template <class Sm, class Entity>
  void is(Sm& sm, Mav::Ptr<Entity const> const& entity) {
    Key const key = React::keyOf(*entity);
    if (auto const existing = get(key)) {
      if (existing->notifier() == entity) return;
      del(key);
    }
    reactors_.put(key, Mav::makeObject<React>(sm, entity));
  }

  /// Removes the reactor, which withdraws what it filed. The key is a copy: the caller's may live
  /// in the reactor.
  void del(Key key) {
    auto const reactor = get(key);
    if (!reactor) return;
    // Out of the set before it withdraws: whoever hears of that finds it gone. It lives until the
    // end of this function.
    reactors_.erase(key);
    reactor->handleDel();
    reactor->disconnect();
  }

  /// Removes those whose key `stays` denies.
  template <class Stays>
  void delUnless(Stays const& stays) {
    for (auto reactor = reactors_.first(); reactor; ++reactor) {
      if (!stays(reactor.key())) del(reactor.key());
    }
  }

  /// Removes all; nothing is withdrawn. For an end of the state machine or an input taken away: the
  /// caches stay as they are.
  void delAll() {
    for (auto reactor = reactors_.first(); reactor; ++reactor) reactor->disconnect();
    reactors_.clear();
  }

  template <class Call>
  void forEach(Call const& call) {
    for (auto reactor = reactors_.first(); reactor; ++reactor) call(*reactor.value());
  }

 private:
  Mav::OrderedMap<Key, Mav::Ptr<React>> reactors_;
};

}  // namespace IpSnmp
