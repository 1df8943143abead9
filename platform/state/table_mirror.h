#pragma once
// What all mirrors share: the records as filed, and the differences of the slice under way.

#include <map>
#include <vector>

#include "platform/state/mirror.h"

namespace State {

template <class Table>
class TableMirror : public Mirror {
 public:
  using Key = typename Table::Key;
  using Record = typename Table::Record;

  Pondo::TableId table() const final { return Table::id; }

  void begin() override { deltas_.clear(); }

  void read(Pondo::Snapshot const& snapshot, std::string_view keyBytes) override {
    auto const key = Pondo::decodeKey<Table>(keyBytes);
    if (!key) return;  // a foreign key names nothing that could be filed
    Delta delta{*key, std::nullopt, snapshot.get<Table>(*key)};
    if (auto const it = filed_.find(keyBytes); it != filed_.end()) delta.before = it->second;
    if (delta.before != delta.after) deltas_.push_back(std::move(delta));
  }

  void end() override {
    for (auto const& delta : deltas_) {
      auto key = Pondo::encodeKey<Table>(delta.key);
      if (delta.after) {
        filed_.insert_or_assign(std::move(key), *delta.after);
      } else {
        filed_.erase(key);
      }
    }
    deltas_.clear();
  }

  std::optional<std::string> filedKey(std::string_view from) const final {
    auto const it = filed_.lower_bound(from);
    if (it == filed_.end()) return std::nullopt;
    return it->first;
  }

 protected:
  /// A key whose record differs from what is filed; absent: nothing.
  struct Delta {
    Key key;
    std::optional<Record> before, after;
  };

  std::vector<Delta> const& deltas() const { return deltas_; }

 private:
  std::map<std::string, Record, std::less<>> filed_;  // by key bytes
  std::vector<Delta> deltas_;
};

}  // namespace State
