#pragma once
// Links as rows of Pondo::LinkTable: one row a name.
//
// A link is shown under the name that is its own by now: of two that claimed one name, the last.
// The loser has no row until the kernel names it anew.

#include "kelbase/model/links.h"
#include "kelbase/publish/row_view.h"

namespace Kelbase {

class LinkView : public RowView<Pondo::LinkTable>, private Links::Observer {
 public:
  /// `links` must outlive it.
  explicit LinkView(Links& links) : links_(links) { links.observerIs(*this); }

  std::string_view name() const override { return "links"; }
  std::string summary() const override { return links_.summary(); }

  std::optional<Record> find(Key const& name) const override {
    auto const* link = links_.find(name);
    return link ? std::optional(recordOf(*link)) : std::nullopt;
  }

 private:
  static Record recordOf(Link const& link) {
    // A link that is down is not in operation, whatever else is told of it (RFC 2863, section
    // 3.1.13).
    return {link.index, link.isUp, link.isUp && link.isRunning};
  }
  void forEachRow(Visit visit) const override {
    links_.forEach([&](Link const& link) { visit(link.name, recordOf(link)); });
  }
  /// Told of a name that is lost and of one that is won: both rows are others.
  void onLinkName(std::int32_t /*index*/, Dovel::IntfId const& name) override { mark(name); }
  /// Flags that no row shows mark it as well: the writer finds it unchanged.
  void onLink(Link const* before, Link const& now) override {
    if (!before || *before != now) mark(now.name);
  }

  Links const& links_;
};

}  // namespace Kelbase
