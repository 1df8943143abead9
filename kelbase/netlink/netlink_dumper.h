#pragma once
// Asks the kernel for all objects of a source, one source at a time, and repeats until it has a
// whole answer. Used by NetlinkFeed alone.
//
//   wanted ──► under way ──► whole: dumpEnd(true)
//     ▲            │
//     │            ├── interrupted (NLM_F_DUMP_INTR: the objects changed meanwhile): again, up to
//     │            │   interruptedMax times in a row, backed off; then what came is let stand
//     │            │   (dumpEnd(false)) and asked again after settleDelay
//     └── failed ◄─┘   error, lost datagram, no answer: a new socket, again, backed off
//
// Between two tries it is not busy(): notifications may be applied then. Of a look (wantLook) each
// try ends in dumpEnd(false): one that was interrupted comes again after lookDelay, one that failed
// becomes a dump.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kelbase/netlink/kernel_source.h"
#include "kelbase/netlink/netlink_socket.h"
#include "platform/mav/activity.h"

namespace Kelbase {

class NetlinkDumper {
 public:
  static constexpr unsigned interruptedMax = 8;
  static constexpr double settleDelay = 5.0;     // seconds
  static constexpr double lookDelay = 0.5;       // seconds
  static constexpr double answerTimeout = 10.0;  // seconds without a datagram
  static constexpr double failureDelayMax = 30.0;
  static constexpr std::size_t sliceMax = 16;  // datagrams a turn

  struct Counters {
    std::uint64_t dumps = 0;  // without looks
    std::uint64_t interrupted = 0;
    std::uint64_t failed = 0;
  };

  /// Called from within a turn of the activity.
  struct Hooks {
    /// A message of the answer, for `source`.
    std::function<void(KernelSource& source, NetlinkMessage const&)> message;
    /// A round ended: nothing more is under way now.
    std::function<void()> idle;
  };

  NetlinkDumper(Mav::Activity& activity, std::span<KernelSource* const> sources, Hooks hooks);

  /// Wants a fresh dump of every source from `time` on (platform time). One that is under way ends
  /// first and is repeated. Where the time has come and nothing is under way it begins within this
  /// call: from then on notifications are held back.
  void wantAll(double time);
  /// Of one source. Never starts at once: several can be asked for, and come in their order.
  void want(KernelSource const& source, double time);
  /// As want(), but a look: nothing is in doubt until then, so that it is not pending(). Any dump
  /// of the source that begins before does for it.
  void wantLook(KernelSource const& source, double time);

  /// While true, notifications are to be held back.
  bool busy() const { return current_ != nullptr; }
  /// A dump is wanted, now or later, which is no look.
  bool pending() const;
  /// Every source has been dumped at least once. From then on there is something to publish. Whole,
  /// or, of what never rests, as good as it gets.
  bool known() const;
  Counters const& counters() const { return counters_; }

 private:
  struct Job {
    KernelSource* source;
    // `source` belongs to NetlinkFeed's caller, and outlives the dumper.
    double due = Mav::never;   // wanted from then on
    double look = Mav::never;  // likewise
    unsigned interruptions = 0;
    unsigned failures = 0;
    bool known = false;

    /// One that was wanted sooner stays so: a delay puts nothing off that somebody else waits for.
    void wantedAt(double time) { due = std::min(due, time); }
  };

  void openSocket();
  void startNext();
  void start(Job& job);
  void send();
  void onReadable();
  bool receiveOne();
  void onMessage(NetlinkMessage const& message);
  void onRequestEnd(NetlinkMessage const& message);
  void onDumpEnd();
  void onInterrupted(Job& job);
  void giveUp(std::string const& what);
  void startOver(std::string const& what);
  Job& jobOf(KernelSource const& source);

  Mav::Activity& activity_;
  Hooks hooks_;
  std::vector<Job> jobs_;
  // Made anew when an answer went wrong. An answer to the old one's last request can then reach
  // nobody.
  std::optional<NetlinkSocket> socket_;
  Mav::Activity::Watch watch_;
  Mav::Timer start_;
  Mav::Timer timeout_;

  Job* current_ = nullptr;
  std::size_t request_ = 0;  // of the current source's requests
  // Counts requests, of all sources and sockets: an answer under another number is of one that was
  // given up.
  std::uint32_t sequence_ = 0;
  bool interrupted_ = false;
  bool isLook_ = false;
  Counters counters_;
};

}  // namespace Kelbase
