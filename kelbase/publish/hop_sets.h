#pragma once
// The sets of next hops that routes use, and their records in Pondo::FecTable.
//
// A set is either written out in its routes (equal ones are one set) or is a nexthop object of the
// kernel, single or group (ip-nexthop(8)). The fec of an object has the object's id, so that
// replacing the object writes one record; the others have ids from inlineFecMin on, drawn when
// first written. A set that no route refers to has no record, and an inline one is forgotten.
//
// Fecs name their links. A link that is renamed, or comes, has every set through it written again;
// a link that goes has not: its routes are about to go too, and until then nothing is made up.
//
// Told by NexthopSource and RouteSource, which write it: writeFecs() before the routes, until it
// has no more; eraseUnused() once no published route can refer to what it takes away.
//
// Made for 100,000 sets: what a link or an object is used by is looked up, never searched for. One
// thread.

#include <cstdint>
#include <deque>
#include <span>
#include <utility>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include "kelbase/model/hop.h"
#include "kelbase/model/link_names.h"
#include "kelbase/model/relation.h"
#include "kelbase/model/route.h"
#include "kelbase/model/slots.h"
#include "platform/pondo/environment/writer.h"

namespace Kelbase {

class HopSets : private LinkNames::Observer {
 public:
  /// Names a set while it has references, and until eraseUnused() after that.
  using Handle = std::uint32_t;
  static constexpr Handle none = 0;
  static constexpr std::uint64_t inlineFecMin = std::uint64_t{1} << 32U;
  static constexpr double sliceTime = 0.004;  // seconds

  enum class Way {
    unknown,  // nothing to publish: an object that is not known, a link without a name
    forward,  // has a fec
    discard,  // an object that drops what is sent to it
  };

  /// `names` must outlive it.
  explicit HopSets(LinkNames& names);

  /// The set of these next hops; none: `none`. The fec has the first Pondo::Fib::viasMax of them.
  Handle inlineSet(std::span<Hop const> hops);
  /// The set that the nexthop object is, whether it is known already or not.
  Handle objectSet(std::uint32_t object);
  /// One more route, or one less, that uses the set. `none` is allowed.
  void ref(Handle handle);
  void unref(Handle handle);

  void objectIs(ListedNexthop const& object);
  /// Its routes go with it, and so the set stays as it was until they have.
  void objectDel(std::uint32_t id);
  void dumpBegin() { ++dump_; }
  void dumpEnd(bool whole);

  /// As of the last writeFecs() that left nothing.
  Way way(Handle handle) const { return sets_[handle].way; }
  /// For those that forward.
  Pondo::Fib::FecId fecId(Handle handle) const;

  /// Writes fecs that changed, for at most sliceTime. The caller commits.
  void writeFecs(Pondo::Writer& writer);
  /// Some are left: a route that is written now might refer to one.
  bool hasMore() const { return !dirty_.empty(); }
  /// Finds again, by their content, the fecs that an earlier publisher wrote, and writes the
  /// difference; what is superfluous is left to eraseUnused().
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer);
  void eraseUnused(Pondo::Writer& writer);
  /// The sets whose way is another since they were last taken: their routes are to be written
  /// again.
  bool hasTurned() const { return !turned_.empty(); }
  std::vector<Handle> takeTurned() { return std::exchange(turned_, {}); }

  /// Whether routes, or nexthop objects, lead through the link.
  bool usesLink(std::int32_t ifIndex) const;
  /// Whether routes use the object, alone or in a group.
  bool usesObject(std::uint32_t id) const;
  /// Whether it is the object, or a member of its group.
  bool consistsOf(std::uint32_t object, std::uint32_t part) const;
  /// Whether the object, or the group's one member, is a blackhole.
  bool discards(std::uint32_t object) const;

  /// Sets that routes use.
  std::size_t size() const { return used_; }
  std::size_t objects() const { return objects_.size(); }
  /// Sets that have more next hops than a fec has room for.
  std::size_t cut() const { return cut_; }

 private:
  using Hops = std::vector<Hop>;
  struct Set {
    std::uint32_t object = 0;  // 0: inline
    std::uint32_t refs = 0;
    std::uint64_t fecId = 0;  // 0: not drawn yet
    Hops hops;                // inline
    Way way = Way::unknown;
    bool isSettled = false;  // routes may have been written by its way
    bool isDirty = false;    // in dirty_
    bool isUnused = false;   // in unused_
    bool isCut = false;
  };
  struct Object {
    ListedNexthop content;
    std::uint64_t dump = 0;  // the last dump that mentioned it
  };
  struct HopsHash {
    using is_transparent = void;
    std::size_t operator()(std::span<Hop const> hops) const;
  };
  struct HopsEqual {
    using is_transparent = void;
    bool operator()(std::span<Hop const> a, std::span<Hop const> b) const;
  };

  void onLinkName(std::int32_t index, Dovel::IntfId const& name) override;
  void onLinkGone(std::int32_t /*index*/) override {}

  void dirty(Handle handle);
  void unused(Handle handle);
  bool isUsed(std::uint32_t object) const;
  void dirtyObject(std::uint32_t object);
  void dirtyWithGroups(std::uint32_t object);
  void dirtyChangedObjects();
  void contentIs(ListedNexthop& content, ListedNexthop const& message);
  void cutIs(Set& set, std::size_t hops);
  Hops hopsOf(Set const& set) const;
  Pondo::Fib::Fec fecOf(Set& set);
  bool isContentKnown(Set const& set) const;
  static bool isPublished(Set const& set) { return set.refs > 0 && set.way == Way::forward; }
  void wayIs(Handle handle, Way way);
  /// True when the fec was written and is another than before.
  bool writeFec(Pondo::Writer& writer, Handle handle);
  absl::flat_hash_set<std::uint64_t> adopt(Pondo::Writer& writer);
  void forget(Handle handle);

  LinkNames const& names_;
  Slots<Set> sets_;
  absl::flat_hash_map<Hops, Handle, HopsHash, HopsEqual> inline_;
  absl::flat_hash_map<std::uint32_t, Handle> objectSets_;
  absl::flat_hash_map<std::uint32_t, Object> objects_;
  Relation setsOfLink_;     // inline ones
  Relation objectsOfLink_;  // single ones
  Relation groupsOfMember_;

  std::deque<Handle> dirty_;    // to be written, where they still are dirty
  std::vector<Handle> unused_;  // to be erased, if they still are
  std::vector<Handle> turned_;
  std::vector<std::uint64_t> superfluous_;  // fecs of an earlier publisher
  absl::flat_hash_set<std::uint32_t> changedObjects_;
  std::uint64_t fecNext_ = inlineFecMin;
  std::uint64_t dump_ = 0;
  std::size_t used_ = 0;
  std::size_t cut_ = 0;
  bool isCutTold_ = false;
};

}  // namespace Kelbase
