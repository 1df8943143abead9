#pragma once
// Keeps the sources in step with the kernel: subscribes, then dumps, then follows notifications.
//
// The order is what makes it exact. Subscribed first, every change after the dump's start is
// announced. Notifications that come until a dump has ended are held back (in memory, up to
// backlogMax bytes: the socket's own buffer is small for an unprivileged process) and replayed in
// order after it. The first of them may be older than the dump, or repeat it; the last are newer.
//
// When notifications were lost, the socket is first read empty (see netlink_socket.h), what was
// held back is dropped (it is older than the loss, and replaying it over a newer dump would be
// wrong for good), and every source is dumped again: mark and sweep. Losses in quick succession
// are backed off, up to overrunDelayMax; meanwhile the notifications that do come are applied.
//
// onSettled tells that the sources are worth publishing: no dump is under way and what was held
// back when the last one ended has been replayed, and how many seconds the publishing may wait.
// Called at most once a step, possibly without a change. One message that is not as declared is
// rejected, counted and traced; the rest goes on.
//
// A notification that comes alone is read at once. In a stream of them, a wake-up and a commit for
// each cost more than all the rest, here and in the readers: there the socket is not watched, but
// read some time after the first (StreamGauge::delay), all that has come, and as long as something
// has, after that time again. So one wake-up, one commit and one ring serve them. A small buffer,
// as a process without privilege has where nobody raised net.core.rmem_max, is read after a
// millisecond; then the commit and the ring wait for the rest of that time.
//
// Reads for at most sliceTime a turn. Never blocks. One thread.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <vector>

#include "kelbase/netlink/netlink_dumper.h"
#include "kelbase/netlink/stream_gauge.h"

namespace Kelbase {

class NetlinkFeed {
 public:
  static constexpr double sliceTime = 0.01;  // seconds
  /// The kernel takes 300,000 changes a second, and counts some 830 bytes for each.
  static constexpr double bytesMaxASecond = 250e6;
  static constexpr std::size_t batch = 32;        // datagrams a call of the kernel
  static constexpr double overrunDelayMax = 1.0;  // seconds
  static constexpr double overrunCalm = 5.0;      // seconds without one: the next is dumped at once

  struct Options {
    std::size_t eventBuffer = std::size_t{16} << 20U;
    std::size_t backlogMax = std::size_t{64} << 20U;
  };

  struct Counters {
    std::uint64_t events = 0;    // notifications given to a source
    std::uint64_t rejected = 0;  // messages that were not as declared
    std::uint64_t foreign = 0;   // datagrams not from the kernel
    std::uint64_t overruns = 0;  // losses noticed
    std::uint64_t buffer = 0;    // not a count: bytes of notifications that can wait
  };

  /// The sources must outlive the feed. Mav::Exception when the kernel refuses the sockets. The
  /// first dump has begun when the constructor returns; its answer is taken in turns of the
  /// activity, and onSettled called in them.
  NetlinkFeed(Mav::Activity& activity, std::span<KernelSource* const> sources, Options options,
              std::function<void(double delay)> onSettled);

  /// Every source has been heard once.
  bool known() const { return dumper_.known(); }
  /// The sources are worth publishing now.
  bool settled() const { return known() && !dumper_.busy() && replayLeft_ == 0; }
  /// Settled, and nothing is known to be missing: no loss, no dump to be repeated, nothing held.
  bool exact() const { return settled() && !lost_ && !dumper_.pending() && held_.empty(); }
  Counters const& counters() const { return counters_; }
  NetlinkDumper::Counters const& dumpCounters() const { return dumper_.counters(); }
  /// The notifications' port id, to which a test sends forgeries.
  std::uint32_t portId() const { return events_.portId(); }

 private:
  enum class Found { nothing, all, more };  // more: the time was up

  void watchEvents();
  void onReadable();
  void onStreamTime();
  double readDelay(double now) const;
  void readAt(double time);
  Found read(double publishDelay);
  bool receiveOne();
  void onLoss(char const* what);
  void onReadEmpty();
  void hold(Bytes datagram);
  void holdUnread();
  void dropHeld();
  void onDumpsIdle();
  void replay();
  void replayLeftIs(std::size_t left);
  bool replayOne();
  void apply(Bytes datagram);
  void give(KernelSource& source, NetlinkMessage const& message);

  Mav::Activity& activity_;
  std::vector<KernelSource*> const sources_;
  Options const options_;
  std::function<void(double delay)> const onSettled_;
  NetlinkSocket events_;
  NetlinkDumper dumper_;
  Mav::Activity::Watch watch_;  // none while stream_ is armed
  Mav::Timer stream_;
  Mav::Timer replay_;
  StreamGauge gauge_;

  // Whole datagrams, each in its own room: vector's allocation is aligned as nlmsghdr has to be.
  std::deque<std::vector<std::byte>> held_;
  std::size_t heldBytes_ = 0;
  std::size_t replayLeft_ = 0;  // held when the last dump ended, and not yet replayed
  bool isHolding_ = false;
  bool lost_ = false;  // a loss was noticed, and the socket not yet read empty
  // A loss soon after another waits twice as long for its dump.
  double lastLoss_ = -Mav::never;
  double overrunDelay_ = 0.0;
  Counters counters_;
};

}  // namespace Kelbase
