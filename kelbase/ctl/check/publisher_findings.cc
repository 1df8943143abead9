#include <fmt/format.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include "kelbase/ctl/check/check.h"
#include "kelbase/ctl/check/snmp_process.h"

namespace Kelbase::Ctl {
namespace {

// What kelbased asks for. A million routes that change at once fill it in some tenths of a second.
constexpr std::uint64_t bufferWanted = std::uint64_t{16} << 20U;

Finding publisherFinding(Status const& status, double now) {
  if (!status.publisherKnown) {
    return {Verdict::unknown, "publisher", status.error,
            "run this as root, or as a member of the run directory's group"};
  }
  if (!status.publisher) {
    return {Verdict::bad, "publisher", fmt::format("none has been in {}", status.runDir.string()),
            "systemctl start kelbased; or name its run directory with --rundir"};
  }
  auto const& publisher = *status.publisher;
  auto const told = fmt::format("{} {}, pid {}", publisher.name, publisher.version, publisher.pid);
  auto const age = spanText(publisher.age(now));
  switch (publisher.keeping(now)) {
    case Pondo::Keeping::exact:
      return {Verdict::good, "publisher", told + ", the tables are exact", {}};
    case Pondo::Keeping::gone:
      // Its process may be there: one that cannot use its run directory has let go of it.
      return {Verdict::bad, "publisher",
              fmt::format("{}, has gone; the state is {} old", told, age),
              "systemctl restart kelbased; journalctl -u kelbased tells why it went"};
    case Pondo::Keeping::still:
      return {Verdict::bad, "publisher",
              fmt::format("{}, stands still; the state is {} old", told, age),
              fmt::format("kill -CONT {}; or systemctl restart kelbased", publisher.pid)};
    // Not bad yet: large tables take some seconds to fill.
    case Pondo::Keeping::starting:
      return {Verdict::unknown, "publisher", told + ", has just been started", "wait a moment"};
    case Pondo::Keeping::behind:
      break;
  }
  return {Verdict::bad, "publisher",
          fmt::format("{}, cannot keep the tables exact: {}", told, publisher.trouble),
          "mend that; journalctl -u kelbased tells more"};
}

Finding tablesFinding(Status const& status) {
  if (!status.generation) {
    return {Verdict::bad, "tables", status.error, "see what the error says; else restart kelbased"};
  }
  // The agent does not ask whose they are, and serves them as this machine's.
  if (status.origin == Pondo::Origin::files) {
    return {Verdict::bad, "tables", "hold what 'kelbasectl load' read from files",
            "start kelbased, which publishes this machine's state"};
  }
  for (auto const& table : status.tables) {
    if (table.malformed == 0) continue;
    return {Verdict::bad, "tables",
            fmt::format("{} malformed records of {}", table.malformed, table.name),
            "install kelbased, the module and kelbasectl of one version; restart kelbased"};
  }
  return {
      Verdict::good, "tables", fmt::format("well-formed, generation {}", *status.generation), {}};
}

Finding bufferFinding(Pondo::Counters const& counters) {
  std::uint64_t buffer = 0;
  std::uint64_t overruns = 0;
  for (auto const& [name, count] : counters) {
    if (name == "bufferBytes") buffer = count;
    if (name == "overruns") overruns = count;
  }
  auto found =
      fmt::format("{} KiB for what the kernel tells; overrun {} times", buffer / 1024, overruns);
  if (buffer == 0) return {Verdict::unknown, "netlink buffer", "not told", {}};
  // With all that was asked for, an overrun is what a storm costs: nothing here would prevent it.
  if (buffer >= bufferWanted) return {Verdict::good, "netlink buffer", std::move(found), {}};
  // An overrun costs a fresh dump and loses nothing: a small buffer alone is no fault.
  return {overruns == 0 ? Verdict::good : Verdict::bad, "netlink buffer", std::move(found),
          fmt::format("sysctl -w net.core.rmem_max={}; then restart kelbased", bufferWanted)};
}

}  // namespace

Findings readerFindings(Status const& status, std::string_view version) {
  Findings findings;
  for (auto const& reader : status.readers.readers) {
    Finding finding{Verdict::good, "module", {}, {}};
    finding.found =
        fmt::format("version {} in {}, pid {}: {} resyncs, {} bad records", reader.version,
                    reader.program, reader.pid, reader.resyncs, reader.badRecords);
    if (reader.generation == 0) {
      finding.verdict = Verdict::bad;
      finding.found = fmt::format("version {} in {}, pid {}: has read nothing yet", reader.version,
                                  reader.program, reader.pid);
      finding.remedy = "journalctl -u snmpd -g OvoSnmp tells what it waits for";
    }
    if (reader.version != version || reader.badRecords != 0) {
      finding.verdict = Verdict::bad;
      finding.remedy = fmt::format(
          "install kelbased, the module and kelbasectl of one version (this is {}); restart {}",
          version, reader.program);
    }
    findings.push_back(std::move(finding));
  }
  return findings;
}

Findings placeFindings(Status const& status, double now) {
  Findings findings;
  if (status.kept(now) && isElsewhere(status.publisher->pid)) {
    auto const pid = status.publisher->pid;
    findings.push_back(
        {Verdict::unknown, "network namespace",
         fmt::format("kelbased (pid {}) shows the state of another one than this", pid),
         fmt::format("ip netns identify {}; where that is not meant, start kelbased here", pid)});
  }
  struct statfs mount {};
  if (::statfs(status.runDir.c_str(), &mount) == 0 && mount.f_type != TMPFS_MAGIC &&
      mount.f_type != RAMFS_MAGIC) {
    findings.push_back({Verdict::unknown, "run directory",
                        fmt::format("{} is not on a tmpfs: a disk is written to at least once a "
                                    "second",
                                    status.runDir.string()),
                        "mount a tmpfs there, or name another directory (kelbased --rundir; "
                        "KELBASE_RUNDIR of snmpd)"});
  }
  return findings;
}

Findings publisherFindings(Status const& status, double now) {
  Findings findings{publisherFinding(status, now)};
  if (!status.publisherKnown || !status.publisher) return findings;
  findings.push_back(tablesFinding(status));
  // Of one that stands still or has gone the counters are old, and another fault comes first.
  if (status.kept(now)) findings.push_back(bufferFinding(status.publisher->counters));
  return findings;
}

}  // namespace Kelbase::Ctl
