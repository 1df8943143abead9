#include "kelbase/netlink/neighbour_source.h"

namespace Kelbase {

void NeighbourSource::dumpBegin() {
  ModelSource::dumpBegin();
  heard_ = 0;
  hasNews_ = false;
}

void NeighbourSource::receive(NetlinkMessage const& message) {
  auto const neighbour = NeighbourDecoder::read(message);
  if (!neighbour) return;
  ++heard_;
  hasNews_ |= message.type() == RTM_NEWNEIGH ? model().is(*neighbour) : model().del(*neighbour);
}

void NeighbourSource::dumpEnd(bool whole) {
  std::size_t const before = model().size();
  ModelSource::dumpEnd(whole);
  if (!whole) return;
  bool const isInDoubt = heard_ > onePiece && (hasNews_ || model().size() != before);
  confirms_ = isInDoubt ? confirms_ + 1 : 0;
  if (isInDoubt && confirms_ <= confirmMax) wantDump(confirmDelay);
}

}  // namespace Kelbase
