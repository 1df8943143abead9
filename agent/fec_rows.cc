#include "agent/fec_rows.h"

#include <algorithm>

#include "platform/state/entities/intf_details_provider.h"

namespace IpSnmp {

FecRows::FecRows(Pondo::Fib::Fec const& fec, Interface::AllIntfStatusDir const* intfStatusDir)
    : vias_(fec.vias.size()) {
  // What is beyond is no error yet: checkVias() raises it when the rows of the first ones stand.
  std::size_t const end = std::min(vias_, Pondo::Fib::viasMax);
  hops_.reserve(end);
  for (std::size_t i = 0; i < end; ++i) add(fec.vias[i], intfStatusDir);
}

void FecRows::checkVias() const {
  if (vias_ <= Pondo::Fib::viasMax) return;
  throw Mav::RangeException("ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed");
}

void FecRows::add(Pondo::Fib::Via const& via, Interface::AllIntfStatusDir const* intfStatusDir) {
  if (via.intfId.empty()) {
    // 0 says that no interface is specified (RFC 4292, inetCidrRouteIfIndex).
    if (!via.nextHop.isUnspecified()) addHop(via, 0);
    return;
  }
  // By name: the via's own ifIndex is that of the time when it was published.
  auto const status = intfStatusDir ? intfStatusDir->intfStatus(via.intfId) : nullptr;
  if (!status) return refusals_.push_back({Refusal::Reason::noIntfStatus, via});
  auto const ifIndex = Intf::ifIndex(*status);
  // -1: nobody provides ifIndexes (Intf::ifIndex).
  if (ifIndex < 0) return refusals_.push_back({Refusal::Reason::negativeIfIndex, via, ifIndex});
  addHop(via, ifIndex);
}

void FecRows::addHop(Pondo::Fib::Via const& via, std::int32_t ifIndex) {
  IpForwardMib::RowHop const hop{via.nextHop, static_cast<std::uint32_t>(ifIndex),
                                 !via.nextHop6.isUnspecified()};
  // Inserted in order: sets are short, 128 at most.
  auto const place = std::lower_bound(
      hops_.begin(), hops_.end(), hop.nextHop,
      [](auto const& known, Dovel::IpAddr const& nextHop) { return known.nextHop < nextHop; });
  // The index of ipCidrRouteTable ends with the next hop (RFC 4292): of several vias with the same
  // one, the first has the row.
  if (place == hops_.end() || place->nextHop != hop.nextHop) {
    hops_.insert(place, hop);
  } else if (*place != hop) {
    refusals_.push_back({Refusal::Reason::nextHopTaken, via, ifIndex});
  }
}

}  // namespace IpSnmp
