#pragma once
// What a fec comes to in ipCidrRouteTable: the same for every route that uses it, so that a pass
// looks at vias and interfaces once a fec. Good for one pass: it is as old as the fec and the
// interfaces that it was made from.

#include <vector>

#include "model/ip_forward_mib.h"
#include "platform/pondo/tables/fib_values.h"
#include "platform/state/entities/all_intf_status_dir.h"

namespace IpSnmp {

class FecRows {
 public:
  /// A via that gives no row although it names a next hop or an interface.
  struct Refusal {
    /// The interface is not known (yet): the prefix waits for it. It is known without an ifIndex:
    /// nothing is waited for. Another via of the fec has the row.
    enum class Reason { noIntfStatus, negativeIfIndex, nextHopTaken };
    Reason reason;
    Pondo::Fib::Via via;
    std::int32_t ifIndex = 0;  // that the interface's status has
  };

  /// `intfStatusDir` may be null: then no interface has a status.
  FecRows(Pondo::Fib::Fec const& fec, Interface::AllIntfStatusDir const* intfStatusDir);

  /// In the order of next hops, which differ: of several vias with one next hop, the first that
  /// gives a row has it. So they go into the collection in one walk, whatever the order of the
  /// kernel's set is.
  std::vector<IpForwardMib::RowHop> const& hops() const { return hops_; }
  /// In the order of the vias.
  std::vector<Refusal> const& refusals() const { return refusals_; }
  /// Mav::RangeException when the fec has more vias than a fec may have.
  void checkVias() const;

 private:
  void add(Pondo::Fib::Via const& via, Interface::AllIntfStatusDir const* intfStatusDir);
  void addHop(Pondo::Fib::Via const& via, std::int32_t ifIndex);

  // How many the fec has, those beyond the last that counts among them.
  std::size_t const vias_;
  std::vector<IpForwardMib::RowHop> hops_;
  std::vector<Refusal> refusals_;
};

}  // namespace IpSnmp
