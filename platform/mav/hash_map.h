#pragma once
// A hashed collection: rows are found by hash in constant time and walked in the order of their
// insertion. Its iterators survive every change, as those of OrderedMap do (ordered_map.h has the
// rules).
//
// It serves collections of few rows that have no order of their own: a row costs about twice what
// it costs in an OrderedMap. Keys have absl's hash and equality. One thread.

#include <cstddef>
#include <cstdint>
#include <utility>

#include <absl/container/flat_hash_map.h>

#include "platform/mav/ordered_map.h"

namespace Mav {

template <class KeyType, class MappedType>
class HashMap {
  struct Row {
    KeyType key{};
    MappedType value{};
  };
  using Rows = OrderedMap<std::uint64_t, Row>;  // by the number of the insertion

 public:
  using Key = KeyType;
  using Mapped = MappedType;
  using MappedConst = typename Detail::ConstMapped<Mapped>::Type;

  template <class Value>
  class BasicIterator {
   public:
    BasicIterator() = default;

    explicit operator bool() const { return static_cast<bool>(row_); }
    Key const& key() const { return row_.value().key; }
    Value value() const { return row_.value().value; }
    auto* operator->() const { return value().get(); }
    BasicIterator& operator++() {
      ++row_;
      return *this;
    }

   private:
    friend class HashMap;
    explicit BasicIterator(typename Rows::IteratorConst row) : row_(std::move(row)) {}
    typename Rows::IteratorConst row_;
  };
  using Iterator = BasicIterator<Mapped>;
  using IteratorConst = BasicIterator<MappedConst>;

  HashMap() = default;
  HashMap(HashMap const&) = delete;
  HashMap& operator=(HashMap const&) = delete;

  std::size_t size() const { return numbers_.size(); }
  bool empty() const { return numbers_.empty(); }
  bool contains(Key const& key) const { return numbers_.contains(key); }

  /// The value of `key`, valid until the next modification; null when there is none.
  Mapped const* find(Key const& key) const {
    auto const found = numbers_.find(key);
    return found == numbers_.end() ? nullptr : &rows_.find(found->second)->value;
  }

  /// The value of `key`, or an empty one (a null Ptr).
  Mapped get(Key const& key) const {
    auto const* found = find(key);
    return found ? *found : Mapped{};
  }

  /// Gives the value of `key`, which `create()` makes when there is none, and whether it was made.
  /// The reference is valid until the next modification. `create` may modify the map.
  template <class Create>
  std::pair<Mapped const&, bool> insertOrGet(Key const& key, Create const& create) {
    if (auto const* value = find(key)) return {*value, false};
    Mapped value = create();
    if (auto const* made = find(key)) return {*made, false};
    put(key, std::move(value));
    return {*find(key), true};
  }

  /// Inserts the value or overwrites one; true when it inserted. An overwritten row keeps its place
  /// in the order.
  bool put(Key const& key, Mapped value) {
    auto const [place, inserted] = numbers_.try_emplace(key, lastNumber_ + 1);
    if (inserted) ++lastNumber_;
    rows_.put(place->second, {key, std::move(value)});
    return inserted;
  }

  /// Erases the row; false when there was none.
  bool erase(Key const& key) {
    auto const found = numbers_.find(key);
    if (found == numbers_.end()) return false;
    auto const number = found->second;
    numbers_.erase(found);
    return rows_.erase(number);
  }

  void clear() {
    numbers_.clear();
    rows_.clear();
  }

  /// On the row that was inserted first.
  Iterator first() { return Iterator(std::as_const(rows_).first()); }
  IteratorConst first() const { return IteratorConst(rows_.first()); }
  /// On the row of `key`; at the end when there is none.
  Iterator at(Key const& key) { return Iterator(rowAt(key)); }
  IteratorConst at(Key const& key) const { return IteratorConst(rowAt(key)); }

 private:
  typename Rows::IteratorConst rowAt(Key const& key) const {
    auto const found = numbers_.find(key);
    return found == numbers_.end() ? typename Rows::IteratorConst{} : rows_.at(found->second);
  }

  absl::flat_hash_map<Key, std::uint64_t> numbers_;
  Rows rows_;
  std::uint64_t lastNumber_ = 0;
};

}  // namespace Mav
