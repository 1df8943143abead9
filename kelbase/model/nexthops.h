#pragma once
// The kernel's nexthop objects (ip-nexthop(8), kernels from 5.3 on): next hops, blackholes, and
// groups of them, which routes name by their id. What an object is part of, and what leads through
// a link, is looked up and never searched for: made for 100,000 of them.
//
// Filled by netlink's decoder or from a file, asked by the sets of next hops. One thread.
//
// The kernel keeps groups consistent: when a member is removed by request it tells the group anew,
// and removes a group that has none left. What goes with a link it tells of neither
// (SilentChanges).

#include <cstdint>
#include <string>
#include <vector>

#include "kelbase/model/marked.h"
#include "kelbase/model/relation.h"
#include "kelbase/model/route.h"

namespace Kelbase {

class Nexthops {
 public:
  /// Hears of changes after they were made, from inside the call that made them; must not make
  /// any. Must live as long as the objects.
  class Observer {
   public:
    virtual ~Observer() = default;
    /// The object is new, or is not as it was; a group is told for itself, not for its members.
    virtual void onNexthop(std::uint32_t id) = 0;
    /// The object is gone. Told of each removal that the kernel tells, of objects that were not
    /// known too.
    virtual void onNexthopGone(std::uint32_t id) = 0;
  };

  Nexthops() = default;
  Nexthops(Nexthops const&) = delete;
  Nexthops& operator=(Nexthops const&) = delete;

  void observerIs(Observer& observer) { observers_.push_back(&observer); }

  /// Where it is as it was nobody is told.
  void is(ListedNexthop const& object);
  void del(ListedNexthop const& object) { del(object.id); }
  void del(std::uint32_t id);
  void dumpBegin() { objects_.dumpBegin(); }
  void dumpEnd(bool whole);

  bool isKnown(std::uint32_t id) const { return objects_.find(id) != nullptr; }
  /// Whether the object, or the group's one member, is a blackhole.
  bool isBlackhole(std::uint32_t id) const;
  /// Of an object one, of a group those of its members that are known.
  std::vector<NextHop> hopsOf(std::uint32_t id) const;
  /// Calls visit(id) for the object, and for each group that it is a member of, until one says
  /// true; that is returned. One level is all there is: no group is a member of another
  /// (net/ipv4/nexthop.c, valid_group_nh).
  template <class Visit>
  bool anyWith(std::uint32_t id, Visit const& visit) const {
    if (visit(id)) return true;
    for (auto const& [member, group] : groupsOfMember_.of(id)) {
      if (visit(group)) return true;
    }
    return false;
  }
  /// The objects, groups not among them, that lead through a link: pairs of the link and an id.
  Relation::Range ofLink(std::int32_t ifIndex) const {
    return objectsOfLink_.of(static_cast<std::uint32_t>(ifIndex));
  }
  std::size_t size() const { return objects_.size(); }
  /// "3 nexthop objects"
  std::string summary() const;

 private:
  void relate(ListedNexthop const& object);
  void unrelate(ListedNexthop const& object);

  // The relations below hold exactly what these objects say of links and members.
  MarkedHash<std::uint32_t, ListedNexthop> objects_;
  Relation objectsOfLink_;
  Relation groupsOfMember_;
  std::vector<Observer*> observers_;
};

}  // namespace Kelbase
