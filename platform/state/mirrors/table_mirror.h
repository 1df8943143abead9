#pragma once
// What all mirrors share: the records as filed, and the differences of the slice under way. What is
// filed is replaced at the end of a slice, when all mirrors have applied it: until then the slice
// can be taken again from the start.

#include <map>
#include <vector>

#include "platform/state/mirrors/mirror.h"

namespace State {

/// The records of one table, a copy each: some thousand links, addresses and neighbours, never
/// routes.
template <class Table>
class TableMirror : public Mirror {
 public:
  using Key = typename Table::Key;
  using Record = typename Table::Record;

  Pondo::TableId table() const final { return Table::id; }

  /// What a slice that failed had worked out is of no use: it is read again.
  void begin() override { forgetDeltas(); }

  /// Files nothing: that is done by end().
  void read(Pondo::Snapshot const& snapshot, std::string_view keyBytes) override {
    auto const key = Table::decodeKey(keyBytes);
    if (!key) return;  // a foreign key names nothing that could be filed
    // Named again for the sake of its interface (interfaceChanged).
    if (deltaOf_.contains(keyBytes)) return;
    Delta delta{*key, std::nullopt, snapshot.get<Table>(*key)};
    if (auto const it = filed_.find(keyBytes); it != filed_.end()) delta.before = it->second;
    // A comparison names every key: what is the same ends here.
    if (delta.before == delta.after) return;
    deltaOf_.emplace(keyBytes, deltas_.size());
    deltas_.push_back(std::move(delta));
  }

  void end() override {
    for (auto const& delta : deltas_) {
      auto key = Table::encodeKey(delta.key);
      if (delta.after) {
        filed_.insert_or_assign(std::move(key), *delta.after);
      } else {
        filed_.erase(key);
      }
    }
    forgetDeltas();
  }

  /// A comparison asks it: what is filed and no longer in the table has gone.
  std::optional<std::string> filedKey(std::string_view from) const final {
    auto const it = filed_.lower_bound(from);
    if (it == filed_.end()) return std::nullopt;
    return it->first;
  }

 protected:
  /// In the order in which the slice named the keys.
  using Delta = RecordChange<Table>;
  std::vector<Delta> const& deltas() const { return deltas_; }

  /// The record of `key` as this slice leaves it. Known before it is filed: the mirrors that come
  /// behind ask it while the phases run.
  std::optional<Record> now(Key const& key) const {
    auto const bytes = Table::encodeKey(key);
    // What the slice says of it goes before what is filed.
    if (auto const delta = deltaOf_.find(bytes); delta != deltaOf_.end()) {
      return deltas_[delta->second].after;
    }
    auto const filed = filed_.find(bytes);
    if (filed == filed_.end()) return std::nullopt;
    return filed->second;
  }

  /// Calls visit(key bytes) for what is filed under keys that begin with `prefix`, in order. Cheap
  /// for a prefix that few keys begin with: a search, and a step a key.
  template <class Visit>
  void forEachFiled(std::string_view prefix, Visit const& visit) const {
    for (auto it = filed_.lower_bound(prefix); it != filed_.end(); ++it) {
      if (!it->first.starts_with(prefix)) return;
      visit(std::string_view(it->first));
    }
  }

 private:
  void forgetDeltas() {
    deltas_.clear();
    deltaOf_.clear();
  }

  // By bytes, because a comparison goes in their order, and because all keys of a link begin with
  // the same.
  std::map<std::string, Record, std::less<>> filed_;  // by key bytes
  std::vector<Delta> deltas_;
  std::map<std::string, std::size_t, std::less<>> deltaOf_;  // by key bytes: where in deltas_
};

}  // namespace State
