#pragma once
// The views of one set of tables, written together: by Publisher turn by turn, by `kelbasectl load`
// at one go.
//
//   writeAll                                once, whatever the tables hold
//   writeChanges, as long as hasMore        then, and whenever the model has changed
//   writeUnused                             once there is no more
//
// Commits nothing; what a write throws leaves it to the caller to write all again. One thread.
//
// A view must have been written whole once before it is asked for changes: its first writeAll()
// finds what an earlier publisher has left in the table.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <absl/functional/function_ref.h>

#include "kelbase/model/kernel.h"
#include "kelbase/publish/table_view.h"

namespace Kelbase {

class TableViews {
 public:
  using Counts = Pondo::Writer::SyncCounts;

  /// In the order in which readers are to hear of what comes. What refers stands behind what it
  /// refers to.
  void add(std::unique_ptr<TableView> view) { views_.push_back(std::move(view)); }

  /// Makes the tables equal to the model, and tells what of each differed.
  void writeAll(Pondo::Writer& writer,
                absl::FunctionRef<void(TableView const&, Counts const&)> told) const {
    for (auto const& view : views_) told(*view, view->writeAll(writer));
  }
  /// What hangs on a link goes before it, and comes after it.
  void writeChanges(Pondo::Writer& writer) const {
    // All in one transaction, if it fits one; the order is for the change log, which readers take
    // slice by slice.
    for (auto view = views_.rbegin(); view != views_.rend(); ++view) {
      (*view)->writeRemovals(writer);
    }
    for (auto const& view : views_) view->writeRest(writer);
  }
  bool hasMore() const {
    for (auto const& view : views_) {
      if (view->hasMore()) return true;
    }
    return false;
  }
  void writeUnused(Pondo::Writer& writer) const {
    for (auto const& view : views_) view->writeUnused(writer);
  }
  /// For the operator: "3 links, IPv4 forwarding on, IPv6 forwarding off, 2 IPv4 addresses, ...".
  std::string summary() const {
    std::string result;
    for (auto const& view : views_) {
      if (view->name().empty()) continue;
      if (!result.empty()) result += ", ";
      result += view->summary();
    }
    return result;
  }

  auto begin() const { return views_.begin(); }
  auto end() const { return views_.end(); }

 private:
  std::vector<std::unique_ptr<TableView>> views_;
};

/// Whose tables are written: `kelbasectl load` leaves out what its files do not speak of, since a
/// view would make its table equal to an empty model. Forwarding's always is: its record is what
/// tells readers that somebody has published here.
struct KernelParts {
  bool links = true;
  bool addresses = true;
  bool neighbours = true;
  bool routes = true;  // and next hops
};

/// `kernel` must outlive them. What is in it already is written by TableViews::writeAll().
TableViews makeTableViews(Kernel& kernel, KernelParts const& parts = {});

}  // namespace Kelbase
