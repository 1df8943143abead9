#include "kelbase/netlink/netlink_feed.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>
#include <sys/epoll.h>

#include "kelbase/model/trace.h"
#include "platform/mav/time.h"

namespace Kelbase {
namespace {

/// Repeats `step` until it says false or the time is up, which is false.
template <class Step>
bool repeatFor(double seconds, Step const& step) {
  // A step may be one small message: the clock is not read for each.
  constexpr std::size_t stepsALook = 32;
  double const end = Mav::now() + seconds;
  for (std::size_t steps = 1; step(); ++steps) {
    if (steps % stepsALook == 0 && Mav::now() > end) return false;
  }
  return true;
}

}  // namespace

NetlinkFeed::NetlinkFeed(Mav::Activity& activity, std::span<KernelSource* const> sources,
                         Options options, std::function<void(double delay)> onSettled)
    : activity_(activity),
      sources_(sources.begin(), sources.end()),
      options_(options),
      onSettled_(std::move(onSettled)),
      events_(batch),
      dumper_(
          activity, sources_,
          {[this](KernelSource& source, NetlinkMessage const& message) { give(source, message); },
           [this] { onDumpsIdle(); }}),
      stream_(activity.clock(), [this] { onStreamTime(); }),
      replay_(activity.clock(), [this] { replay(); }) {
  // Before any group is joined: nothing finds the small buffer of the start.
  counters_.buffer = events_.receiveBufferIs(options_.eventBuffer);
  MAV_TRACE(traceHandle(), 1, "notification buffer: " << counters_.buffer << " bytes");
  // Before the first dump: what changes after it was begun is heard.
  for (auto const* source : sources_) {
    for (unsigned const group : source->groups()) events_.subscribe(group);
  }
  for (auto* source : sources_) {
    source->dumpWishIs([this, source](double delay) { dumper_.want(*source, Mav::now() + delay); });
    source->lookWishIs(
        [this, source](double delay) { dumper_.wantLook(*source, Mav::now() + delay); });
  }
  watchEvents();
  // Last: it begins the first dump here and now, and what that source asks for has to find its
  // wishes.
  dumper_.wantAll(Mav::now());
}

void NetlinkFeed::watchEvents() {
  watch_ = activity_.watch(events_.fd(), EPOLLIN, [this](std::uint32_t) { onReadable(); });
}

void NetlinkFeed::onReadable() {
  double const now = Mav::now();
  if (gauge_.isStream(now)) return readAt(now + readDelay(now));
  // What is left then may have been fetched from the kernel, so that the socket rings no more.
  if (read(0.0) == Found::more) readAt(Mav::asap);
}

void NetlinkFeed::readAt(double time) {
  // Level-triggered: while it is watched, a socket with a notification in it would begin every
  // turn.
  watch_ = {};
  stream_.timeMinIs(time);
}

void NetlinkFeed::onStreamTime() {
  double const now = Mav::now();
  double const delay = readDelay(now);
  double const rest = gauge_.isStream(now) ? gauge_.delay(now) - delay : 0.0;
  stream_.timeMinIs(now + delay);  // whatever the reading throws
  auto const found = read(rest);
  if (found == Found::more) return stream_.timeMinIs(Mav::asap);
  // Where the buffer is small, single ones of a stream come further apart than that.
  if (found == Found::all && rest == 0.0) return;
  stream_.timeMinIs(Mav::never);
  watchEvents();
}

/// How long a stream may be left unread: not until it could fill half of the buffer.
double NetlinkFeed::readDelay(double now) const {
  return std::min(gauge_.delay(now), static_cast<double>(counters_.buffer) / bytesMaxASecond);
}

/// All that has come, for at most sliceTime. It is published `publishDelay` seconds later.
NetlinkFeed::Found NetlinkFeed::read(double publishDelay) {
  std::size_t datagrams = 0;
  bool const isEmpty = repeatFor(sliceTime, [&] { return receiveOne() && ++datagrams > 0; });
  gauge_.add(datagrams, Mav::now());
  // Also where nothing has changed: to find out costs the publisher less than to be told each time.
  if (settled()) onSettled_(publishDelay);
  if (!isEmpty) return Found::more;
  return datagrams > 0 ? Found::all : Found::nothing;
}

/// False when there is nothing more to read now.
bool NetlinkFeed::receiveOne() {
  auto const received = events_.receive();
  switch (received.outcome) {
    case NetlinkSocket::Outcome::empty:
      onReadEmpty();
      return false;
    case NetlinkSocket::Outcome::foreign:
      ++counters_.foreign;
      MAV_TRACE(traceHandle(), 0,
                "a netlink message from another process than the kernel: ignored");
      return true;
    case NetlinkSocket::Outcome::truncated:
      onLoss("a notification was larger than the buffer");
      return true;
    case NetlinkSocket::Outcome::overrun:
      onLoss("more notifications than the socket holds");
      return true;
    case NetlinkSocket::Outcome::datagram:
      break;
  }
  // Not counted as an event either: nobody gets it.
  if (lost_) return true;  // older than the dump to come: the faster read empty, the better
  // Also behind what is held from before: notifications are applied in the order in which they
  // came.
  if (isHolding_ || dumper_.busy() || !held_.empty()) {
    hold(received.datagram);
  } else {
    apply(received.datagram);
  }
  return true;
}

void NetlinkFeed::onLoss(char const* what) {
  ++counters_.overruns;
  MAV_TRACE(traceHandle(), 1, what << ": reading everything again");
  // The dump that follows costs the kernel's time and ours: in a storm it would come too late
  // again.
  bool const calm = Mav::now() - lastLoss_ > overrunCalm;
  // Once a loss, of which there may be many signs until the socket has been read empty.
  if (!lost_) overrunDelay_ = calm ? 0.0 : std::clamp(2 * overrunDelay_, 0.01, overrunDelayMax);
  lost_ = true;
  dropHeld();
  lastLoss_ = Mav::now();
}

void NetlinkFeed::onReadEmpty() {
  if (!lost_) return;
  lost_ = false;
  // Not before: until now the kernel went on dropping (netlink_socket.h).
  dumper_.wantAll(Mav::now() + overrunDelay_);
}

void NetlinkFeed::hold(Bytes datagram) {
  if (heldBytes_ + datagram.size() > options_.backlogMax) {
    // As good as lost in the socket's buffer.
    onLoss("more notifications during a dump than memory is meant for");
    return;
  }
  heldBytes_ += datagram.size();
  held_.emplace_back(datagram.begin(), datagram.end());
}

void NetlinkFeed::dropHeld() {
  held_.clear();
  heldBytes_ = 0;
  replayLeftIs(0);
}

void NetlinkFeed::replayLeftIs(std::size_t left) {
  bool const wasOn = std::exchange(replayLeft_, left) > 0;
  if (wasOn == (left > 0)) return;
  for (auto* source : sources_) source->replayIs(left > 0);
}

/// What came before the dump's end, and was not read since. As much as fits a large buffer: more
/// may be coming as fast as it is read.
void NetlinkFeed::holdUnread() {
  constexpr std::size_t datagramsMax = 65536;
  // Held, not applied at once: the sources are to know that these may be older than the dump
  // (replayIs), as the ones that came before them.
  isHolding_ = true;
  std::size_t left = datagramsMax;
  while (left > 0 && receiveOne()) --left;
  isHolding_ = false;
  if (left > 0) return;
  // What was fetched behind the last one rings no more.
  readAt(Mav::asap);
}

void NetlinkFeed::onDumpsIdle() {
  holdUnread();
  if (dumper_.busy()) return;  // a loss came to light
  // What comes to be held behind them is newer than the dump, and no replay.
  replayLeftIs(held_.size());
  if (!held_.empty()) replay_.timeMinIs(Mav::asap);
  if (settled()) onSettled_(0.0);
}

void NetlinkFeed::replay() {
  repeatFor(sliceTime, [this] { return replayOne(); });
  if (!held_.empty() && !dumper_.busy()) replay_.timeMinIs(Mav::asap);
  if (settled()) onSettled_(0.0);
}

/// False when there is nothing more to replay now.
bool NetlinkFeed::replayOne() {
  if (held_.empty() || dumper_.busy()) return false;
  // Taken out before it is applied: a loss that comes to light then drops all that is held.
  auto const datagram = std::move(held_.front());
  held_.pop_front();
  heldBytes_ -= datagram.size();
  apply(datagram);
  // Unless it has just been dropped.
  if (replayLeft_ > 0) replayLeftIs(replayLeft_ - 1);
  return true;
}

void NetlinkFeed::apply(Bytes datagram) {
  try {
    forEachMessage(datagram, [this](NetlinkMessage const& message) {
      // The messages of a datagram that came with a loss are applied: they are as true as any.
      if (message.type() == NLMSG_OVERRUN) onLoss("the kernel says that notifications were lost");
      for (auto* source : sources_) {
        if (!source->takes(message.type())) continue;
        ++counters_.events;
        give(*source, message);
      }
    });
  } catch (BadMessage const& error) {
    ++counters_.rejected;
    MAV_TRACE(traceHandle(), 0, "rejected: " << error.what());
  }
}

void NetlinkFeed::give(KernelSource& source, NetlinkMessage const& message) {
  // An answer may have what its source does not take: RouteSource asks for nexthop objects for the
  // sake of a lock.
  if (!source.takes(message.type())) return;
  try {
    source.receive(message);
  } catch (Mav::Exception const& error) {
    ++counters_.rejected;
    MAV_TRACE(traceHandle(), 0, "rejected: " << error.what());
  }
}

}  // namespace Kelbase
