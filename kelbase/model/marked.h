#pragma once
// What the kernel has of one kind of object, by the key that the kernel tells them apart by, kept
// in step by mark and sweep: whatever is heard of an object marks it with the dump under way; what
// a whole dump left unmarked does not exist any more.
//
//   objects.dumpBegin();
//   objects.is(key, value) ...                     each object of the dump; notifications likewise
//   for (auto const& key : objects.unmarked()) objects.del(key);     once the dump has ended whole
//
// Pointers and references to values live until the next change, as the map's own do. One thread.
//
// Each object costs eight octets for its mark, and a dump nothing but the marking; routes, of which
// there may be a million, have marks of their own (RouteBook).

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

namespace Kelbase {

template <class Value>
struct Marked {
  Value value{};
  std::uint64_t dump = 0;  // the last dump that began before the object was heard of
};

template <class Map>
class MarkedMap {
 public:
  using Key = typename Map::key_type;
  using Value = decltype(Map::mapped_type::value);
  using Iterator = typename Map::const_iterator;

  /// Marks the object, which is made where it is not known, and returns its value, and whether it
  /// was made. Also of an object that is as it was: a notification during a dump says as well as
  /// the dump that the object is there.
  std::pair<Value&, bool> mark(Key const& key) {
    auto const [entry, isNew] = map_.try_emplace(key);
    entry->second.dump = dump_;
    return {entry->second.value, isNew};
  }

  /// The kernel has this. True when it was not known, or was another.
  bool is(Key const& key, Value value) {
    auto const [known, isNew] = mark(key);
    // What is the same is told to nobody: a dump of all would write every record again.
    if (!isNew && known == value) return false;
    known = std::move(value);
    return true;
  }

  /// The kernel has it no more. True when it was known.
  bool del(Key const& key) { return map_.erase(key) != 0; }

  void dumpBegin() { ++dump_; }

  /// The objects that nothing was heard of since dumpBegin(), in the order of the map. By value,
  /// because an erasure may end a walk over the map.
  std::vector<Key> unmarked() const {
    std::vector<Key> result;
    for (auto const& [key, object] : map_) {
      if (object.dump != dump_) result.push_back(key);
    }
    return result;
  }

  /// Null when it is not known.
  Value const* find(Key const& key) const {
    auto const found = map_.find(key);
    return found == map_.end() ? nullptr : &found->second.value;
  }

  /// Pairs of a key and a Marked<Value>.
  Iterator begin() const { return map_.begin(); }
  Iterator end() const { return map_.end(); }
  /// The first that is not before `key`; of maps in order alone.
  Iterator lowerBound(Key const& key) const { return map_.lower_bound(key); }
  std::size_t size() const { return map_.size(); }

 private:
  Map map_;
  std::uint64_t dump_ = 0;
};

/// For what is only looked up.
template <class Key, class Value>
using MarkedHash = MarkedMap<absl::flat_hash_map<Key, Marked<Value>>>;

/// For what is walked in order: all that hangs on one link.
template <class Key, class Value>
using MarkedTree = MarkedMap<absl::btree_map<Key, Marked<Value>>>;

}  // namespace Kelbase
