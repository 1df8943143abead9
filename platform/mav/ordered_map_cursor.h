#pragma once
// Changes an ordered map in the order of its keys (ordered_map.h). On the thread of the map.

#include <cstdint>
#include <iterator>
#include <utility>

#include "platform/mav/ordered_map.h"

namespace Mav {

/// Stands before a row, or at the end, and changes rows there: work that is done in the order of
/// keys costs no descent. When somebody else changes the set of keys, the cursor stands nowhere
/// until it seeks again. Iterators of the map survive what it does as they survive any other
/// change. It must not outlive its map.
template <class KeyType, class MappedType>
class OrderedMap<KeyType, MappedType>::Cursor {
 public:
  /// Stands nowhere: seek() comes first.
  explicit Cursor(OrderedMap& map) : map_(map), position_(map.tree_.end()) {}

  /// Goes to the first row whose key is not less than `key`. That costs a descent, or none when the
  /// cursor stands there already, or one row before.
  void seek(Key const& key) {
    if (isUnmoved() && (isPlaceOf(key) || isNextPlaceOf(key))) return;
    position_ = map_.tree_.lower_bound(key);
    modifications_ = map_.modifications_;
  }

  /// True when it stands before a row, whose key and value are valid until the next change.
  explicit operator bool() const { return position_ != map_.tree_.end(); }
  Key const& key() const { return position_->first; }
  Mapped const& value() const { return position_->second; }

  /// Goes to the next row.
  void step() { ++position_; }
  /// Gives the row another value. No key comes or goes, so that iterators need no descent for it.
  void replace(Mapped value) { std::swap(position_->second, value); }
  /// Erases the row and goes to the next one.
  void erase() {
    [[maybe_unused]] Mapped const erased = std::move(position_->second);  // destroyed at the end
    position_ = map_.tree_.erase(position_);
    modifications_ = ++map_.modifications_;
  }
  /// Inserts a row before the one that it stands on, and stays there. `key` is new, and the last
  /// seek() was to it.
  void insert(Key const& key, Mapped value) {
    position_ = std::next(map_.tree_.try_emplace(position_, key, std::move(value)));
    modifications_ = ++map_.modifications_;
  }

 private:
  bool isUnmoved() const { return modifications_ == map_.modifications_; }
  // One comparison with the row before, one with the row behind.
  bool isPlaceOf(Key const& key) const {
    if (position_ != map_.tree_.end() && position_->first < key) return false;
    return position_ == map_.tree_.begin() || std::prev(position_)->first < key;
  }
  bool isNextPlaceOf(Key const& key) {
    if (position_ == map_.tree_.end() || !(position_->first < key)) return false;
    auto const next = std::next(position_);
    if (next != map_.tree_.end() && next->first < key) return false;
    position_ = next;
    return true;
  }

  OrderedMap& map_;
  typename Tree::iterator position_;
  std::uint64_t modifications_ = 0;
};

}  // namespace Mav
