#pragma once
// A keyed collection of an entity that announces its changes to the entity's notifiees. The entity
// has one for each collection and gives it the names that others see:
//
//   class RouteDir : public Mav::Entity {
//    public:
//     class NotifieeConst : public Mav::Notifiee<RouteDir const, NotifieeConst> {
//      public:
//       using Notifiee::Notifiee;
//       virtual void onRoute(Prefix const&) {}  // one member came, went or changed
//     };
//     using RouteMap = Mav::OrderedMap<Prefix, Mav::Ptr<Route>>;
//     using RouteIteratorConst = RouteMap::IteratorConst;
//
//     Mav::Ptr<Route const> route(Prefix const& key) const { return route_.map().get(key); }
//     RouteIteratorConst routeIterator() const { return route_.map().first(); }
//     Mav::Ptr<Route> routeIs(Prefix const& key, Metric metric) {
//       return route_.is(
//           key, [&] { return Mav::makeObject<Route>(key, metric); },
//           [&](Route const& r) { Mav::checkConstructorParameter("_metric", metric, r.metric());
//           });
//     }
//     void routeDel(Prefix const& key) { route_.del(key); }
//     void routeDelAll() { route_.delAll(); }
//
//    private:
//     Mav::AnnouncedMap<RouteMap, NotifieeConst, routeAttributeId, &NotifieeConst::onRoute>
//         route_{*this};
//   };
//
// A change is made first and announced then, to the notifiees that are registered at that moment.
// A handler may change the collection again: that change is announced inside the first
// announcement. The map owns its entries by what Mapped is, a Ptr or a value. One thread.

#include <utility>

#include "platform/mav/entity.h"
#include "platform/mav/ordered_map.h"

namespace Mav {

/// Map is an OrderedMap, N the notifiee interface of the entity, `id` the attribute's number.
template <class Map, class N, AttributeId id, void (N::*onMember)(typename Map::Key const&)>
class AnnouncedMap {
 public:
  using Key = typename Map::Key;
  using Mapped = typename Map::Mapped;

  /// A member of `entity`.
  explicit AnnouncedMap(Entity const& entity) : entity_(entity) {}

  /// Serves lookups and iteration.
  Map const& map() const { return map_; }
  /// Serves iterators that give non-const entries. A change made through it is not announced.
  Map& map() { return map_; }

  /// Gets the member of `key`, or creates it (in a map of Ptr). A member that exists is given to
  /// `check`, which throws when it was constructed otherwise; a new one is announced.
  template <class Create, class Check>
  Mapped is(Key key, Create const& create, Check const& check) {
    auto const [value, created] = map_.insertOrGet(key, create);
    // A copy, and with a Ptr a reference: who hears of the member may delete it again.
    Mapped member = value;
    if (created) {
      announce(key);
    } else {
      check(*member);
    }
    return member;
  }

  /// The same for members whose only constructor parameter is their key.
  template <class Create>
  Mapped is(Key key, Create const& create) {
    return is(std::move(key), create, [](auto const&) {});
  }

  /// Inserts the value, or replaces one that differs, and announces that. The same value again does
  /// nothing.
  void put(Key key, Mapped value) {
    if (auto const* existing = map_.find(key); existing && *existing == value) return;
    map_.put(key, std::move(value));
    announce(key);
  }

  /// Removes the member and announces that; has no effect when there is none. The key is a copy,
  /// because the caller's may live in the member.
  void del(Key key) {
    if (map_.erase(key)) announce(key);
  }

  /// Removes the members one by one, announcing each.
  void delAll() {
    for (auto member = std::as_const(map_).first(); member; ++member) del(member.key());
  }

  /// Announces that a member has changed within.
  void announce(Key const& key) { entity_.notify(id, onMember, key); }

 private:
  Entity const& entity_;
  Map map_;
};

}  // namespace Mav
