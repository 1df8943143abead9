#pragma once
// Whether the machine forwards, as rows of Pondo::ForwardingTable: one row a version of IP. A
// version that the kernel lacks is not forwarded; with no row at all, readers could not tell that
// from a publisher that has yet to come, and the object would end a manager's walk with genErr.
//
// It hears of each change of the model's flags; a row is rewritten where it says otherwise than
// before.

#include <array>

#include "kelbase/model/forwarding.h"
#include "kelbase/publish/row_view.h"

namespace Kelbase {

class ForwardingView : public RowView<Pondo::ForwardingTable>, private Forwarding::Observer {
 public:
  /// `forwarding` must outlive it.
  explicit ForwardingView(Forwarding& forwarding) : forwarding_(forwarding) {
    forwarding.observerIs(*this);
  }

  std::string_view name() const override { return "forwarding"; }
  std::string summary() const override { return forwarding_.summary(); }

  /// Never nothing: both rows are always there.
  std::optional<Record> find(Key const& family) const override {
    bool const isV4 = family == Pondo::Family::ipv4;
    return Record{forwarding_.forwards(isV4 ? IpVersion::v4 : IpVersion::v6)};
  }

 private:
  static constexpr std::array families{Pondo::Family::ipv4, Pondo::Family::ipv6};

  void forEachRow(Visit visit) const override {
    for (auto const family : families) visit(family, *find(family));
  }
  void onForwarding(IpVersion version) override {
    mark(version == IpVersion::v4 ? Pondo::Family::ipv4 : Pondo::Family::ipv6);
  }

  Forwarding const& forwarding_;
};

}  // namespace Kelbase
