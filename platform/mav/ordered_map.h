#pragma once
// An ordered collection whose iterators survive every change of it.
//
// It is a b-tree and a count of modifications. Mapped is a Ptr to an entry, or a plain value. To
// insert, find or erase descends the tree once. Memory is what keys and values need, and about a
// quarter more.
//
// An iterator holds its key and a copy of its value (of a Ptr, a counted reference), so that a row
// which was erased under it can still be read. A step goes to the next greater key that the map
// holds at that moment: it costs an increment while the map has not changed, and a descent from the
// root after it has. Rows that stay are neither repeated nor skipped, whatever comes and goes in
// between. A step allocates nothing. An iterator may outlive its map, but not step then.
//
// Entries may look into the map while they are destroyed: it is whole at that moment. One thread.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <utility>

#include <absl/container/btree_map.h>

#include "platform/mav/key_order.h"
#include "platform/mav/object.h"

namespace Mav {

namespace Detail {
/// The type through which a const collection shows a value: the entry of a Ptr becomes const.
template <class Mapped>
struct ConstMapped {
  using Type = Mapped;
};
template <class Entry>
struct ConstMapped<Ptr<Entry>> {
  using Type = Ptr<Entry const>;
};
}  // namespace Detail

template <class KeyType, class MappedType>
class OrderedMap {
  using Tree = absl::btree_map<KeyType, MappedType, Detail::KeyOrder>;

 public:
  using Key = KeyType;
  using Mapped = MappedType;
  using MappedConst = typename Detail::ConstMapped<Mapped>::Type;

  template <class Value>
  class BasicIterator;
  using Iterator = BasicIterator<Mapped>;
  using IteratorConst = BasicIterator<MappedConst>;
  class Cursor;  // ordered_map_cursor.h

  OrderedMap() = default;
  /// The map is empty and whole when its entries go: they may look into it.
  ~OrderedMap() { clear(); }
  OrderedMap(OrderedMap const&) = delete;
  OrderedMap& operator=(OrderedMap const&) = delete;

  std::size_t size() const { return tree_.size(); }
  bool empty() const { return tree_.empty(); }
  bool contains(Key const& key) const { return tree_.contains(key); }

  /// The value of `key`, valid until the next modification; null when there is none.
  Mapped const* find(Key const& key) const {
    auto const found = tree_.find(key);
    return found == tree_.end() ? nullptr : &found->second;
  }

  /// The value of `key`, or an empty one (a null Ptr). A copy: it stays when the row goes.
  Mapped get(Key const& key) const {
    auto const* found = find(key);
    return found ? *found : Mapped{};
  }

  /// Gives the value of `key`, which `create()` makes when there is none, and whether it was made.
  /// The reference is valid until the next modification. `create` may modify the map.
  template <class Create>
  std::pair<Mapped const&, bool> insertOrGet(Key const& key, Create const& create) {
    auto place = tree_.lower_bound(key);
    if (place != tree_.end() && place->first == key) return {place->second, false};
    // create() may change the map, and may even enter the key: the place is sought again then, and
    // what stands there stays.
    auto const before = modifications_;
    Mapped value = create();
    if (modifications_ != before) place = tree_.lower_bound(key);
    // With a place given, try_emplace() does not tell whether it has inserted.
    auto const sizeBefore = tree_.size();
    place = tree_.try_emplace(place, key, std::move(value));
    bool const inserted = tree_.size() != sizeBefore;
    if (inserted) ++modifications_;
    return {place->second, inserted};
  }

  /// Inserts the value or overwrites one; true when it inserted. An iterator that stands on an
  /// overwritten row keeps the value that it has. To overwrite leaves the set of keys as it is: no
  /// step costs a descent by it.
  bool put(Key const& key, Mapped value) {
    // try_emplace() leaves `value` alone where the key is there, which emplace() does not promise.
    auto const [place, inserted] = tree_.try_emplace(key, std::move(value));
    if (inserted) {
      ++modifications_;
    } else {
      std::swap(place->second, value);  // the old one is destroyed after the map is whole
    }
    return inserted;
  }

  /// Erases the row; false when there was none.
  bool erase(Key const& key) {
    auto const found = tree_.find(key);
    if (found == tree_.end()) return false;
    [[maybe_unused]] Mapped const erased =
        std::move(found->second);  // destroyed after the map is whole
    tree_.erase(found);
    ++modifications_;
    return true;
  }

  /// Erases all rows; the map is empty by the time that the first of them is destroyed.
  void clear() {
    // First out of the way, then destroyed: entries that look into the map find it empty.
    Tree erased;
    erased.swap(tree_);
    ++modifications_;
  }

  /// On the first row.
  Iterator first() { return {this, tree_.begin()}; }
  IteratorConst first() const { return {this, tree_.begin()}; }
  /// On the row of `key`; at the end when there is none.
  Iterator at(Key const& key) { return {this, tree_.find(key)}; }
  IteratorConst at(Key const& key) const { return {this, tree_.find(key)}; }
  /// On the first row whose key is not less than `key`.
  Iterator atOrAfter(Key const& key) { return {this, tree_.lower_bound(key)}; }
  IteratorConst atOrAfter(Key const& key) const { return {this, tree_.lower_bound(key)}; }

  /// On the first row after a place, or at or after it. The place need not be a key: `order(key)`
  /// tells how a key stands to it, in the order of the map. So a request's instance is searched as
  /// it came, without a key made of it.
  template <class Order>
  IteratorConst firstAfter(Order const& order) const {
    return {this, tree_.upper_bound(Detail::Bound<Order>{order})};
  }
  template <class Order>
  IteratorConst firstAtOrAfter(Order const& order) const {
    return {this, tree_.lower_bound(Detail::Bound<Order>{order})};
  }

 private:
  Tree tree_;
  std::uint64_t modifications_ = 0;  // of the set of keys
};

/// Stands on a row, or at the end, where it is false, has neither key nor value, and stays.
template <class KeyType, class MappedType>
template <class Value>
class OrderedMap<KeyType, MappedType>::BasicIterator {
 public:
  /// At the end of nothing. To copy an iterator copies its key and its value.
  BasicIterator() = default;

  explicit operator bool() const { return isOnRow_; }
  Key const& key() const { return key_; }
  Value const& value() const { return value_; }
  /// The entry of a map of Ptr, or the value.
  auto* operator->() const {
    if constexpr (requires { value_.get(); }) {
      return value_.get();
    } else {
      return &value_;
    }
  }

  BasicIterator& operator++() {
    if (!isOnRow_) return *this;
    // No row came or went since: the b-tree's own iterator is still good.
    if (modifications_ == map_->modifications_) {
      ++position_;
    } else {
      position_ = map_->tree_.upper_bound(key_);
    }
    settle();
    return *this;
  }

 private:
  friend class OrderedMap;
  using Position = typename Tree::const_iterator;

  BasicIterator(OrderedMap const* map, Position position) : map_(map), position_(position) {
    settle();
  }

  // Copies what it stands on: a row may be erased before it is read.
  void settle() {
    modifications_ = map_->modifications_;
    isOnRow_ = position_ != map_->tree_.end();
    if (isOnRow_) {
      key_ = position_->first;
      value_ = position_->second;
    } else {
      // An iterator that has come to its end keeps no entry alive.
      value_ = Value{};
    }
  }

  OrderedMap const* map_ = nullptr;
  Position position_;
  std::uint64_t modifications_ = 0;
  Key key_{};
  Value value_{};
  bool isOnRow_ = false;
};

}  // namespace Mav
