#pragma once
// An entity's keyed collection whose changes are announced to the entity's notifiees. The entity
// keeps one a collection and gives it the names that others see:
//
//   class RouteDir : public Mav::Entity {
//    public:
//     class NotifieeConst : public Mav::Notifiee<RouteDir const, NotifieeConst> {
//      public:
//       using Notifiee::Notifiee;
//       virtual void onRoute(Prefix const&) {}  // one member came, went or changed
//       virtual void onRoute() {}               // the collection as a whole
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
//     mutable Mav::NotifieeList<NotifieeConst> notifiees_;
//     Mav::AnnouncedMap<RouteMap, NotifieeConst, routeAttributeId, &NotifieeConst::onRoute,
//                       &NotifieeConst::onRoute>
//         route_{notifiees_};
//   };
//
// A change is made first and announced then, to the notifiees of that moment. Handlers may change
// the collection in their turn. One thread.

#include <utility>

#include "platform/mav/notifiee.h"
#include "platform/mav/ordered_map.h"

namespace Mav {

/// Map is an OrderedMap or a HashMap; N the notifiee interface; `id` the attribute's number.
template <class Map, class N, AttributeId id, void (N::*onMember)(typename Map::Key const&),
          void (N::*onWhole)()>
class AnnouncedMap {
 public:
  using Key = typename Map::Key;
  using Mapped = typename Map::Mapped;

  /// `notifiees` is the entity's list, which lives as long as this.
  explicit AnnouncedMap(NotifieeList<N>& notifiees) : notifiees_(notifiees) {}

  /// For lookups and iteration.
  Map const& map() const { return map_; }
  /// For iterators that give non-const entries. Changes made through it are not announced.
  Map& map() { return map_; }

  /// Get or create, of a map of Ptr. A member that exists is given to `check`, which throws when it
  /// was constructed otherwise, and is returned; one that is new is announced.
  template <class Create, class Check>
  Mapped is(Key key, Create const& create, Check const& check) {
    auto const [value, created] = map_.insertOrGet(key, create);
    Mapped member = value;
    if (created) {
      announce(key);
    } else {
      check(*member);
    }
    return member;
  }

  /// As above, for members that have no constructor parameters but their key.
  template <class Create>
  Mapped is(Key key, Create const& create) {
    return is(std::move(key), create, [](auto const&) {});
  }

  /// Inserts, or replaces a value that differs; announces either. The same value again does
  /// nothing.
  void put(Key key, Mapped value) {
    if (auto const* existing = map_.find(key); existing && *existing == value) return;
    map_.put(key, std::move(value));
    announce(key);
  }

  /// Announces the removal; no effect when there is no such member. The key is a copy: the caller's
  /// may live in the member.
  void del(Key key) {
    if (map_.erase(key)) announce(key);
  }

  /// Removes the members one by one, announcing each.
  void delAll() {
    for (auto member = std::as_const(map_).first(); member; ++member) del(member.key());
  }

  /// Says that a member changed within.
  void announce(Key const& key) {
    notifiees_.notify(id, [&key](N& notifiee) { (notifiee.*onMember)(key); });
  }

  /// Says that anything may have changed.
  void announceWhole() {
    notifiees_.notify(id, [](N& notifiee) { (notifiee.*onWhole)(); });
  }

 private:
  NotifieeList<N>& notifiees_;
  Map map_;
};

}  // namespace Mav
