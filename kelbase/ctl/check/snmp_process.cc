#include "kelbase/ctl/check/snmp_process.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string_view>

#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>

namespace Kelbase::Ctl {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view moduleFile = "/libOvoSnmp.so";

std::string firstLine(fs::path const& file) {
  std::string line;
  std::ifstream in(file);
  std::getline(in, line);
  return line;
}

/// Lines "Uid:" and "Groups:" of /proc/PID/status (proc(5)), and "Gid:".
void readOwner(fs::path const& directory, SnmpProcess& process) {
  std::ifstream in(directory / "status");
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::string label;
    words >> label;
    if (label != "Uid:" && label != "Gid:" && label != "Groups:") continue;
    std::vector<gid_t> numbers;
    for (gid_t number = 0; words >> number;) numbers.push_back(number);
    if (label == "Uid:" && numbers.size() > 1) {
      // The second is the effective one (proc(5)).
      process.user = numbers[1];
    } else {
      process.groups.insert(process.groups.end(), numbers.begin(), numbers.end());
    }
  }
}

/// /proc/PID/maps opens for the process's own user and for root alone.
void readModule(fs::path const& directory, SnmpProcess& process) {
  std::ifstream in(directory / "maps");
  if (!in) return;
  // The subagent has the module within it.
  process.loaded = process.name == "ovosnmpd";
  for (std::string line; std::getline(in, line);) {
    if (line.find(moduleFile) == std::string::npos) continue;
    process.loaded = true;
    // The file was replaced after the process had mapped it (proc(5)).
    process.stale = process.stale || line.ends_with("(deleted)");
  }
}

/// As the kernel judges: of owner, group and others the first that applies counts alone
/// (path_resolution(7)). Access control lists are not looked at. `wanted`: of S_IRWXO's bits.
bool mayUse(SnmpProcess const& process, struct stat const& status, mode_t wanted) {
  // Unless its capabilities were taken away (CAP_DAC_OVERRIDE), which is not looked at.
  if (process.user == 0) return true;
  unsigned shift = 0;
  if (process.user == status.st_uid) {
    shift = 6;
  } else if (std::ranges::find(process.groups, status.st_gid) != process.groups.end()) {
    shift = 3;
  }
  return ((status.st_mode >> shift) & wanted) == wanted;
}

/// The path as this program has to name what the process finds there: a unit may have mounted
/// something else, or the same read-only. Without permission to look it is this program's own.
fs::path asSeenBy(SnmpProcess const& process, fs::path const& path) {
  auto const root = fs::path("/proc") / std::to_string(process.pid) / "root";
  std::error_code error;
  return fs::exists(root / ".", error) ? root / path.relative_path() : path;
}

bool isReadOnly(SnmpProcess const& process, fs::path const& runDir) {
  struct statvfs status {};
  auto const path = asSeenBy(process, fs::absolute(runDir));
  return ::statvfs(path.c_str(), &status) == 0 && (status.f_flag & ST_RDONLY) != 0;
}

Finding loadedFinding(SnmpProcess const& process) {
  auto const what = fmt::format("{} (pid {})", process.name, process.pid);
  if (!process.loaded) {
    return {Verdict::unknown, what, "what it has loaded is not to be seen", "run this as root"};
  }
  if (!*process.loaded) {
    return {Verdict::bad, what, "has not loaded the module",
            "install libovosnmp, see that snmpd.conf includes /etc/snmp/snmpd.conf.d, where the "
            "dlmod line is, and restart it"};
  }
  if (process.stale) {
    return {Verdict::bad, what, "has loaded a module that has been replaced since",
            "systemctl restart snmpd"};
  }
  return {Verdict::good, what, "has loaded the module", {}};
}

Finding reachFinding(SnmpProcess const& process, fs::path const& runDir) {
  auto const what = fmt::format("{}'s way to {}", process.name, runDir.string());
  auto const closed = unreachable(process, runDir);
  if (!closed && isReadOnly(process, runDir)) {
    return {Verdict::bad, what, "mounted read-only",
            "give its unit ReadWritePaths=/run (systemctl edit snmpd), and restart it"};
  }
  std::error_code error;
  bool const isShown = fs::exists(runDir / "tables", error) || !error;
  if (!closed && !isShown) return {Verdict::unknown, what, "not to be seen", "run this as root"};
  if (!closed) return {Verdict::good, what, "open", {}};
  if (!fs::exists(asSeenBy(process, *closed), error) && !error) {
    return {Verdict::bad, what, closed->string() + " is not there", "systemctl start kelbased"};
  }
  return {Verdict::bad, what,
          fmt::format("closed at {} for user {}", closed->string(), process.user),
          "put that user into the group of the directory (or start kelbased with --group), and "
          "restart the daemon; where it is a member, restart kelbased, which sets the modes anew"};
}

}  // namespace

// Not known is not elsewhere: to another user than root the link of a foreign process is closed.
bool isElsewhere(std::int64_t pid) {
  std::error_code hidden;
  auto const its = fs::read_symlink(fs::path("/proc") / std::to_string(pid) / "ns/net", hidden);
  return !hidden && its != fs::read_symlink("/proc/self/ns/net", hidden);
}

std::vector<SnmpProcess> snmpProcesses() {
  std::vector<SnmpProcess> found;
  std::error_code error;
  for (auto const& entry : fs::directory_iterator("/proc", error)) {
    SnmpProcess process;
    auto const number = entry.path().filename().string();
    std::from_chars(number.data(), number.data() + number.size(), process.pid);
    // What is no number is no process.
    if (process.pid == 0) continue;
    // By its name, which any process can have: nothing but advice hangs on it.
    process.name = firstLine(entry.path() / "comm");
    if (process.name != "snmpd" && process.name != "ovosnmpd") continue;
    // A daemon in another network namespace serves the state of that one.
    if (isElsewhere(process.pid)) continue;
    readOwner(entry.path(), process);
    readModule(entry.path(), process);
    found.push_back(std::move(process));
  }
  return found;
}

std::optional<fs::path> unreachable(SnmpProcess const& process, fs::path const& runDir) {
  auto const isClosed = [&](fs::path const& one, mode_t wanted) {
    struct stat status {};
    // What is closed to this program itself says nothing of the process.
    if (::stat(asSeenBy(process, one).c_str(), &status) != 0) return errno != EACCES;
    return !mayUse(process, status, wanted);
  };
  fs::path way;
  // Each directory on the way has to let the process pass; which one does not is what to mend.
  for (auto const& part : fs::absolute(runDir / "tables").lexically_normal()) {
    way /= part;
    if (isClosed(way, S_IXOTH)) return way;
  }
  // A reader notes in the lock file what it reads.
  if (isClosed(way / "data.mdb", S_IROTH)) return way / "data.mdb";
  if (isClosed(way / "lock.mdb", S_IROTH | S_IWOTH)) return way / "lock.mdb";
  return std::nullopt;
}

bool canRead(SnmpProcess const& process, fs::path const& runDir) {
  return !unreachable(process, runDir) && !isReadOnly(process, runDir);
}

Findings processFindings(std::vector<SnmpProcess> const& processes, fs::path const& runDir) {
  if (processes.empty()) {
    return {{Verdict::bad, "snmpd", "is not running here",
             "systemctl start snmpd; journalctl -u snmpd tells why it ended"}};
  }
  // Beside a daemon with the module there may be others, which are nobody's concern here.
  auto const isOurs = [](SnmpProcess const& process) { return process.loaded.value_or(false); };
  bool const oursAlone = std::ranges::any_of(processes, isOurs);
  Findings findings;
  for (auto const& process : processes) {
    if (oursAlone && !isOurs(process)) continue;
    findings.push_back(loadedFinding(process));
    findings.push_back(reachFinding(process, runDir));
  }
  return findings;
}

}  // namespace Kelbase::Ctl
