#include "plugin/plugin.h"

#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>

#include "platform/blipmark/blipmark.h"
#include "platform/mav/memory_failure.h"
#include "platform/mav/trace_handle.h"
#include "platform/pondo/tables/format.h"
#include "platform/snmp/callback.h"
#include "plugin/health_source.h"
#include "stats/stats_file.h"
#include "stats/stats_scan.h"

namespace OvoSnmp {
namespace {

// A layout of /proc/net/snmp that the reader of the IPv4 counters refuses: the publisher keeps the
// same in the known one (kelbase/publish/net_snmp_file.h). The reader chooses its path once, so it
// is led there from the beginning, whether the file is there yet or not.
void chooseIpv4Counters(std::filesystem::path const& runDir) {
  constexpr auto* variable = "PROC_NET_SNMP";
  // What an operator has set stands.
  std::string text;
  if (std::getenv(variable) || !Ip::readStatsFile("/proc/net/snmp", text)) return;
  if (text.find('\n') + 1 == Ip::snmpHeaderLength) return;
  auto const file = std::filesystem::absolute(runDir) / Pondo::Format::netSnmpFile;
  ::setenv(variable, file.c_str(), 0);
}

/// As a warning: whoever switched counting on wants to read it in a log that drops the rest.
void logTimes() {
  if (!Blipmark::enabled()) return;
  std::stringstream report;
  Blipmark::report(report);
  for (std::string line; std::getline(report, line);) Mav::log(Mav::Severity::warning, line);
}

}  // namespace

Plugin::Plugin(std::filesystem::path const& runDir, std::function<void()> startOver)
    : mirrors_(Mav::Directory::root(), *this),
      caches_(Mav::Directory::root(), activity_, mirrors_, fib_),
      health_(Mav::makeObject<IpSnmp::Health>("health")),
      filing_(activity_.clock(), [this] { serveOnceFiled(); }),
      startOver_(activity_.clock(), std::move(startOver)),
      // Interfaces before the routes through them.
      follower_(activity_, runDir, {&mirrors_, &caches_.neighbours(), &fib_}, OVO_VERSION),
      loopWatch_(activity_) {
  // Before any handler is registered: nobody has asked for a counter yet.
  chooseIpv4Counters(runDir);
  // The follower exists by now; until its first turn there is nothing to read.
  fib_.followerIs(&follower_);
  health_->sourceIs(HealthSource(runDir, follower_));
  Mav::Directory::root().mount(IpSnmp::Health::path, health_);
  // Moves a timer and no more: a hook may neither throw nor allocate. Each further failure puts it
  // off.
  Mav::memoryFailureHookIs([this] { startOver_.timeMinIs(Mav::now() + calm); });
}

Plugin::~Plugin() {
  Mav::memoryFailureHookIs({});
  Snmp::guarded("times", logTimes);  // memory may be what has run out
  framework_.unregisterAll();
  Mav::Directory::root().unmount(IpSnmp::Health::path);
  // Whoever holds these entities may hold them longer than the follower lives, which they read.
  health_->sourceIs(nullptr);
  fib_.followerIs(nullptr);
}

void Plugin::takeIn() {
  double const until = Mav::now() + takeInMax;
  do {
    activity_.deliver();
    // Without the pause that it would make until it looks again.
    if (filing_.timeMin() != Mav::never) serveOnceFiled();
  } while (!stateKnown_ && follower_.state() != Pondo::Follower::State::waiting &&
           Mav::now() < until);
}

void Plugin::mountsWillChange() noexcept { framework_.unregisterAll(); }

void Plugin::mountsHaveChanged() {
  if (stateKnown_) framework_.registerAll();
}

void Plugin::stateIsKnown() {
  if (filedBy_ != Mav::never) return;  // known before
  filedBy_ = Mav::now() + filingMax;
  serveOnceFiled();
}

void Plugin::serveOnceFiled() {
  // Routes that cannot be filed keep the other objects from being served for that long, and no
  // longer.
  // Asked again and again: nobody tells when a backlog has become empty.
  if (!caches_.areFiled() && Mav::now() < filedBy_) {
    return filing_.timeMinIs(Mav::now() + filingCheck);
  }
  stateKnown_ = true;
  framework_.registerAll();
}

}  // namespace OvoSnmp
