#include "kelbase/netlink/neighbour_source.h"

#include <algorithm>
#include <ctime>

namespace Kelbase {
namespace {

// Of the processor, not of the clock: a machine that is busy with other things makes no look dear.
// The kernel's work for this thread is in it, and that is the most of a look.
double processorTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

bool hasHosts(Link const& link) { return link.isUp && !link.isLoopback; }

}  // namespace

NeighbourSource::NeighbourSource(Neighbours& neighbours, Links& links)
    : ModelSource(neighbours), links_(links) {
  // For as long as both live: the model outlives its sources (Daemon's members).
  links.observerIs(*this);
}

void NeighbourSource::dumpBegin() {
  ModelSource::dumpBegin();
  heard_ = 0;
  hasNews_ = false;
  // The dumper has dropped a look that was planned: this dump tells as much.
  isLookPlanned_ = false;
  begunAt_ = processorTime();
}

void NeighbourSource::receive(NetlinkMessage const& message) {
  auto const neighbour = NeighbourDecoder::read(message);
  if (!neighbour) return;
  ++heard_;
  // Counted, because the model's is() says true of a new state too.
  auto const before = model().size();
  message.type() == RTM_NEWNEIGH ? model().is(*neighbour) : model().del(*neighbour);
  // One that came or went changes how many there are; a new state of one does not.
  hasNews_ |= model().size() != before;
}

void NeighbourSource::dumpEnd(bool whole) {
  // Before the sweep: what a whole dump has left out is news as well.
  std::size_t const before = model().size();
  ModelSource::dumpEnd(whole);
  if (whole) confirm(before);
  if (!whole)
    cost_ = processorTime() - begunAt_;  // a dump of all costs more once, where all is new
  // Each dump or look plans the next: nothing else repeats them.
  bool hasAny = false;
  links_.forEach([&](Link const& link) { hasAny |= hasHosts(link); });
  // Else the looks rest until a link comes up (onLink()).
  if (hasAny) planLook();
}

void NeighbourSource::confirm(std::size_t before) {
  // An answer of one datagram is made in one go, and has left nothing out.
  bool const isInDoubt = heard_ > onePiece && (hasNews_ || model().size() != before);
  confirms_ = isInDoubt ? confirms_ + 1 : 0;
  if (isInDoubt && confirms_ <= confirmMax) wantDump(confirmDelay);
}

void NeighbourSource::onLink(Link const* /*before*/, Link const& now) {
  if (hasHosts(now)) planLook();
}

void NeighbourSource::planLook() {
  if (isLookPlanned_) return;
  isLookPlanned_ = true;
  wantLook(std::max(lookInterval, cost_ / lookShare));
}

}  // namespace Kelbase
