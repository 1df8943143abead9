#pragma once
// The sets of next hops that the kernel's routes use: a million routes have some hundred of them.
// Routes of both versions of IP share them.
//
// A set is either written out in its routes (equal ones are one set, as long as equally many of
// their next hops are alive: the dead ones are left out) or is a nexthop object, single or group.
// Which sets, and so routes, lead through a link or use an object is looked up, never searched for.
//
// The routes count their references; a set without any is told to the observer, which says when it
// may be forgotten: rows may refer to what they show of it until then. One thread.

#include <cstdint>
#include <span>
#include <vector>

#include <absl/container/flat_hash_map.h>

#include "kelbase/model/family.h"
#include "kelbase/model/links.h"
#include "kelbase/model/nexthops.h"
#include "kelbase/model/relation.h"

namespace Kelbase {

class NextHopSets : private Links::Observer, private Nexthops::Observer {
 public:
  /// Names a set while it has references, and until forget() after that.
  using Handle = std::uint32_t;
  static constexpr Handle none = 0;

  /// Hears of changes after they were made, from inside the call that made them; must not make
  /// any.
  class Observer {
   public:
    virtual ~Observer() = default;
    /// A set that routes use is new, or what it consists of is another, or the name of a link.
    virtual void onSet(Handle handle) = 0;
    /// No route uses the set (yet, or any more).
    virtual void onSetUnused(Handle handle) = 0;
  };

  /// Both must outlive it.
  NextHopSets(Links& links, Nexthops& nexthops);
  NextHopSets(NextHopSets const&) = delete;
  NextHopSets& operator=(NextHopSets const&) = delete;

  /// The one observer there is; it must forget the sets. Before the first set is made.
  void observerIs(Observer& observer) { observer_ = &observer; }

  /// The set of these next hops; none: `none`. A set that is new has no reference yet: until ref()
  /// it may be forgotten.
  Handle inlineSet(std::span<NextHop const> hops);
  /// The set that the nexthop object is, whether it is known already or not.
  Handle objectSet(std::uint32_t object);
  /// One more route, or one less, that uses the set. `none` is allowed. By version, because the
  /// kernel takes the routes of each away by rules of its own (usesLink()).
  void ref(Handle handle, IpVersion version);
  void unref(Handle handle, IpVersion version);
  /// The set is unused, and its handle free for another.
  void forget(Handle handle);

  bool isUsed(Handle handle) const { return sets_[handle].refs4 + sets_[handle].refs6 > 0; }
  /// The nexthop object that the set is; 0: its next hops are written out.
  std::uint32_t objectOf(Handle handle) const { return sets_[handle].object; }
  /// False: an object that is not known (any more).
  bool isKnown(Handle handle) const;
  /// What is sent to it is dropped.
  bool isBlackhole(Handle handle) const;
  /// As they are now; of an object that is not known none.
  std::vector<NextHop> hopsOf(Handle handle) const;
  /// Those of a set that is written out, none of another; until the set is forgotten.
  std::span<NextHop const> inlineHops(Handle handle) const;
  /// Calls visit(handle) for every set, used or not.
  template <class Visit>
  void forEach(Visit const& visit) const {
    for (Handle handle = none + 1; handle < sets_.size(); ++handle) {
      if (sets_[handle].isThere()) visit(handle);
    }
  }

  /// Whether routes of the version, or nexthop objects, lead through the link.
  bool usesLink(std::int32_t ifIndex, IpVersion version) const;
  /// Whether routes of the version use the object, alone or in a group.
  bool usesObject(std::uint32_t id, IpVersion version) const;
  /// Sets that routes use.
  std::size_t size() const { return used_; }

 private:
  using Hops = std::vector<NextHop>;
  struct Set {
    std::uint32_t object = 0;  // 0: inline
    std::uint32_t refs4 = 0;
    std::uint32_t refs6 = 0;
    Hops hops;  // inline

    bool isThere() const { return object != 0 || !hops.empty(); }
    std::uint32_t& refs(IpVersion version) { return version == IpVersion::v4 ? refs4 : refs6; }
    bool isUsedBy(IpVersion version) const {
      return (version == IpVersion::v4 ? refs4 : refs6) > 0;
    }
  };
  struct HopsHash {
    using is_transparent = void;
    std::size_t operator()(std::span<NextHop const> hops) const;
  };
  struct HopsEqual {
    using is_transparent = void;
    bool operator()(std::span<NextHop const> a, std::span<NextHop const> b) const;
  };

  void onLinkName(std::int32_t index, Dovel::IntfId const& name) override;
  void onNexthop(std::uint32_t id) override { changeWith(id); }
  void onNexthopGone(std::uint32_t id) override { changeWith(id); }
  void tell(Handle handle) const {
    if (observer_) observer_->onSet(handle);
  }
  void tellUnused(Handle handle) const {
    if (observer_) observer_->onSetUnused(handle);
  }
  void changeWith(std::uint32_t object);
  Handle make(Set set);

  Links const& links_;
  Nexthops const& nexthops_;
  Observer* observer_ = nullptr;
  // By handle: every set, and empty ones at the handles that are free. An index of four octets,
  // where a pointer would put eight into each route.
  std::vector<Set> sets_{1};
  std::vector<Handle> free_;  // but `none`, which names no set ever
  // Every set is in one of the two, which find it by what it is.
  absl::flat_hash_map<Hops, Handle, HopsHash, HopsEqual> inline_;
  absl::flat_hash_map<std::uint32_t, Handle> objectSets_;
  Relation setsOfLink_;  // inline ones
  std::size_t used_ = 0;
};

}  // namespace Kelbase
