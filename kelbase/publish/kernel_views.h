#pragma once
// Every part of the model that is published, and the table that shows it.

#include <memory>
#include <vector>

#include "kelbase/model/kernel.h"
#include "kelbase/publish/table_view.h"

namespace Kelbase {

using TableViews = std::vector<std::unique_ptr<TableView>>;

/// In the order in which readers are to hear of what comes: links before what hangs on them.
/// `kernel` must outlive them.
TableViews makeTableViews(Kernel& kernel);

}  // namespace Kelbase
