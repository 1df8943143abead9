#pragma once
// Every part of the model that is published, and the table that shows it.
//
// Called once by the daemon and by each `kelbasectl load`, which leaves out what its files do
// not speak of: a view would make its table equal to an empty model.

#include "kelbase/model/kernel.h"
#include "kelbase/publish/table_views.h"

namespace Kelbase {

/// Whose tables are written. Forwarding's always is: its record is what tells readers that somebody
/// has published here.
struct KernelParts {
  bool links = true;
  bool addresses = true;
  bool neighbours = true;
  bool routes = true;  // and next hops
};

/// `kernel` must outlive them. What is in it already is written by TableViews::writeAll().
TableViews makeTableViews(Kernel& kernel, KernelParts const& parts = {});

}  // namespace Kelbase
