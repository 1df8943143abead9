#pragma once
// Shared tables in a directory of their own, written and handed to mirrors slice by slice.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "platform/pondo/environment/writer.h"
#include "platform/state/mirrors/mirrors.h"
#include "tests/support/scratch_dir.h"

namespace State {

class TableSlices {
 public:
  template <class Table>
  void put(typename Table::Key const& key, typename Table::Record const& record) {
    edits_.push_back([=](Pondo::Writer& writer) { writer.put<Table>(key, record); });
    changed<Table>(key);
  }
  template <class Table>
  void erase(typename Table::Key const& key) {
    edits_.push_back([=](Pondo::Writer& writer) { writer.erase<Table>(key); });
    changed<Table>(key);
  }
  template <class Table>
  void changed(typename Table::Key const& key) {
    changes_.push_back({Table::id, Table::encodeKey(key)});
  }

  /// What has been written and not yet handed over; to be reordered or cut at will.
  std::vector<Pondo::Change>& changes() { return changes_; }

  /// Writes, and hands over the first `limit` changes.
  void slice(Mirrors& mirrors, std::size_t limit = SIZE_MAX) {
    write();
    auto const end =
        changes_.begin() + static_cast<std::ptrdiff_t>(std::min(limit, changes_.size()));
    std::vector<Pondo::Change> const now(changes_.begin(), end);
    changes_.erase(changes_.begin(), end);
    Pondo::Reader const reader(dir_.path());
    mirrors.onChanges(reader.snapshot(), now);
  }

 private:
  // Its own scope: a process has one environment open at a time.
  void write() {
    if (edits_.empty() && written_) return;
    written_ = true;
    Pondo::Writer::Options options;
    options.mapSize = std::size_t{64} << 20U;
    Pondo::Writer writer(dir_.path(), options);
    for (auto const& edit : std::exchange(edits_, {})) edit(writer);
    writer.commitComplete();
  }

  ScratchDir dir_;
  std::vector<std::function<void(Pondo::Writer&)>> edits_;
  std::vector<Pondo::Change> changes_;
  bool written_ = false;
};

/// Hears of mounts and does nothing.
struct NoMountObserver : MountObserver {
  void mountsWillChange() noexcept override {}
  void mountsHaveChanged() override {}
  void stateIsKnown() override {}
};

}  // namespace State
