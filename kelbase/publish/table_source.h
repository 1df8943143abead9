#pragma once
// A kind of kernel object whose messages and rows are still one class: nexthop objects and routes.

#include "kelbase/netlink/kernel_source.h"
#include "kelbase/publish/table_view.h"

namespace Kelbase {

class TableSource : public KernelSource, public TableView {
 public:
  std::string_view name() const override = 0;
  std::string summary() const override = 0;
};

}  // namespace Kelbase
