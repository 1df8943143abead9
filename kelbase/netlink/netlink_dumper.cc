#include "kelbase/netlink/netlink_dumper.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cmath>
#include <cstring>

#include <fmt/format.h>
#include <sys/epoll.h>

#include "kelbase/model/trace.h"

namespace Kelbase {
namespace {

/// 0.01 s, 0.02 s, 0.04 s ...
double backOff(unsigned tries, double max) { return std::min(0.01 * std::exp2(tries), max); }

/// ENOENT: the routing table has not been made yet (net/ipv4/fib_frontend.c, inet_dump_fib).
bool isUnsupported(int error) {
  return error == EOPNOTSUPP || error == EAFNOSUPPORT || error == ENOENT;
}

}  // namespace

NetlinkDumper::NetlinkDumper(Mav::Activity& activity, std::span<KernelSource* const> sources,
                             Hooks hooks)
    : activity_(activity),
      hooks_(std::move(hooks)),
      start_(activity.clock(), [this] { startNext(); }),
      timeout_(activity.clock(), [this] { startOver("the kernel does not answer"); }) {
  for (auto* source : sources) jobs_.push_back({.source = source});
  openSocket();
}

void NetlinkDumper::openSocket() {
  // Where the kernel refuses it, the old one is there still. A watch ends before its descriptor is
  // closed.
  NetlinkSocket socket;
  socket.strictChecksOn();
  // Of a link with some hundred names the kernel makes more than it does of any other list: the
  // next answer has to fit (net/core/rtnetlink.c, rtnl_calcit).
  if (socket_) socket.buffersLike(*socket_);
  watch_ = {};
  socket_ = std::move(socket);
  watch_ = activity_.watch(socket_->fd(), EPOLLIN, [this](std::uint32_t) { onReadable(); });
}

void NetlinkDumper::wantAll(double time) {
  for (auto& job : jobs_) job.wantedAt(time);
  if (!busy()) startNext();
}

void NetlinkDumper::want(KernelSource const& source, double time) {
  jobOf(source).wantedAt(time);
  // Else startNext() sets the time, when what is under way has ended.
  if (!busy()) start_.timeMinIs(std::min(start_.timeMin(), time));
}

void NetlinkDumper::wantLook(KernelSource const& source, double time) {
  auto& look = jobOf(source).look;
  look = std::min(look, time);
  if (!busy()) start_.timeMinIs(std::min(start_.timeMin(), time));
}

NetlinkDumper::Job& NetlinkDumper::jobOf(KernelSource const& source) {
  auto const job = std::ranges::find(jobs_, &source, &Job::source);
  assert(job != jobs_.end());
  return *job;
}

bool NetlinkDumper::known() const {
  return std::all_of(jobs_.begin(), jobs_.end(), [](Job const& job) { return job.known; });
}

bool NetlinkDumper::pending() const {
  return std::any_of(jobs_.begin(), jobs_.end(),
                     [](Job const& job) { return job.due != Mav::never; });
}

void NetlinkDumper::startNext() {
  if (busy()) return;
  double next = Mav::never;
  for (auto& job : jobs_) {
    auto const due = std::min(job.due, job.look);
    // The first of the sources, not the one that has waited longest: what others refer to comes
    // first.
    if (due <= Mav::now()) return start(job);
    next = std::min(next, due);
  }
  start_.timeMinIs(next);
  hooks_.idle();
}

void NetlinkDumper::start(Job& job) {
  // A dump does for the look that was wanted too. A look does not for the dump, which stays wanted.
  isLook_ = job.due > Mav::now();
  if (!isLook_) job.due = Mav::never;
  job.look = Mav::never;
  current_ = &job;
  request_ = 0;
  interrupted_ = false;
  // Before the request is sent: whatever the answer names is marked as of this dump.
  job.source->dumpBegin();
  send();
}

void NetlinkDumper::send() {
  timeout_.timeMinIs(Mav::now() + answerTimeout);
  // A request of several has one number each: the end of the first must not be taken for the
  // second's.
  if (!socket_->send(current_->source->requests()[request_], ++sequence_)) {
    giveUp(std::strerror(errno));
  }
}

void NetlinkDumper::onReadable() {
  // What is left keeps the descriptor readable, and comes in the next turn.
  for (std::size_t i = 0; i < sliceMax && receiveOne(); ++i) {
  }
}

/// False when there is nothing more to read now.
bool NetlinkDumper::receiveOne() {
  auto const received = socket_->receive();
  switch (received.outcome) {
    case NetlinkSocket::Outcome::empty:
      return false;
    case NetlinkSocket::Outcome::foreign:
      return true;
    case NetlinkSocket::Outcome::overrun:
    case NetlinkSocket::Outcome::truncated:
      startOver("a part of the answer was lost");
      return false;
    case NetlinkSocket::Outcome::datagram:
      break;
  }
  // A long answer is no missing one: each part of it begins the time anew.
  timeout_.timeMinIs(busy() ? Mav::now() + answerTimeout : Mav::never);
  try {
    forEachMessage(received.datagram, [this](NetlinkMessage const& message) {
      // What is left of a request that was given up comes under another number. A message may end
      // the request, and the next be sent, while this datagram is walked.
      if (busy() && message.sequence() == sequence_) onMessage(message);
    });
  } catch (BadMessage const& error) {
    startOver(error.what());
    return false;
  }
  if (busy()) current_->source->pieceEnd();
  return true;
}

void NetlinkDumper::onMessage(NetlinkMessage const& message) {
  // The list changed while the kernel wrote it (include/net/netlink.h, nl_dump_check_consistent):
  // something may be missing, or there twice.
  bool const isInterrupted = (message.flags() & NLM_F_DUMP_INTR) != 0;
  if (isInterrupted && !current_->source->requests()[request_].isInterruptedWhole()) {
    interrupted_ = true;
  }
  switch (message.type()) {
    case NLMSG_NOOP:
      return;
    // The kernel's word for data lost (linux/netlink.h): as good as an interruption.
    case NLMSG_OVERRUN:
      interrupted_ = true;
      return;
    case NLMSG_DONE:
    case NLMSG_ERROR:
      return onRequestEnd(message);
    default:
      hooks_.message(*current_->source, message);
  }
}

void NetlinkDumper::onRequestEnd(NetlinkMessage const& message) {
  auto const requests = current_->source->requests();
  int const error = errorOf(message);
  if (error == EINTR) {
    interrupted_ = true;
  } else if (error != 0 && !(isUnsupported(error) && requests[request_].isUnsupportedEmpty())) {
    return giveUp(fmt::format("{} {}", std::strerror(error), extendedErrorOf(message)));
  }
  // One request after the other: a socket of the kernel has one dump under way (EBUSY).
  if (++request_ < requests.size()) return send();
  onDumpEnd();
}

void NetlinkDumper::onDumpEnd() {
  Job& job = *current_;
  // First: from inside dumpEnd() a source may want the next dump.
  current_ = nullptr;
  timeout_.timeMinIs(Mav::never);
  job.failures = 0;
  if (!isLook_) ++counters_.dumps;
  if (isLook_) {
    job.source->dumpEnd(false);
    // What it was for may be missing.
    if (interrupted_) wantLook(*job.source, Mav::now() + lookDelay);
  } else if (interrupted_) {
    onInterrupted(job);
  } else {
    job.interruptions = 0;
    job.known = true;
    job.source->dumpEnd(true);
    MAV_TRACE(traceHandle(), 1, "dump of " << job.source->name() << ": " << job.source->summary());
  }
  startNext();
}

void NetlinkDumper::onInterrupted(Job& job) {
  ++counters_.interrupted;
  job.source->dumpEnd(false);
  if (++job.interruptions <= interruptedMax) {
    MAV_TRACE(traceHandle(), 1, "dump of " << job.source->name() << " interrupted: again");
    return job.wantedAt(Mav::now() + backOff(job.interruptions, settleDelay));
  }
  // They change faster than they can be listed. What was listed is true, and notifications tell
  // the rest; only what disappeared unseen has to wait for a quieter moment.
  MAV_TRACE(traceHandle(), 0,
            "dump of " << job.source->name() << " interrupted " << job.interruptions
                       << " times: left as it is, asked again in " << settleDelay << " s");
  // It counts as heard all the same: of a kernel that never rests nothing would be published
  // otherwise.
  job.interruptions = 0;
  job.known = true;
  job.wantedAt(Mav::now() + settleDelay);
}

/// The request under way has failed: its source is asked again later.
void NetlinkDumper::giveUp(std::string const& what) {
  ++counters_.failed;
  timeout_.timeMinIs(Mav::never);
  if (busy()) {
    Job& job = *current_;
    current_ = nullptr;
    // One line for a row of failures: the next try may be hundredths of a second away.
    if (job.failures == 0) {
      Mav::log(Mav::Severity::warning,
               fmt::format("cannot read {} from the kernel: {}; trying again", job.source->name(),
                           what));
    }
    // What did come is true and stays; nothing is taken to be gone.
    job.source->dumpEnd(false);
    // Until the next try nothing is busy: startNext() says so, and what was held back is replayed.
    job.wantedAt(Mav::now() + backOff(job.failures++, failureDelayMax));
  }
  startNext();
}

/// As giveUp, on a new socket: the kernel may still be busy with the old one's request.
void NetlinkDumper::startOver(std::string const& what) {
  try {
    openSocket();
  } catch (Mav::Exception const& error) {
    MAV_TRACE(traceHandle(), 0, error.what());  // the old one is there still
  }
  giveUp(what);
}

}  // namespace Kelbase
