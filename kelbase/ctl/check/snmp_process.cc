#include "kelbase/ctl/check/snmp_process.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string_view>

#include <fmt/format.h>
#include <sys/stat.h>
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

// Not known is not elsewhere: to another user than root the link of a foreign process is closed.
bool isElsewhere(fs::path const& directory) {
  std::error_code hidden;
  auto const its = fs::read_symlink(directory / "ns/net", hidden);
  return !hidden && its != fs::read_symlink("/proc/self/ns/net", hidden);
}

/// As the kernel judges: of owner, group and others the first that applies counts alone
/// (path_resolution(7)). Access control lists are not looked at.
bool mayUse(SnmpProcess const& process, struct stat const& status) {
  // Unless its capabilities were taken away (CAP_DAC_OVERRIDE), which is not looked at.
  if (process.user == 0) return true;
  if (process.user == status.st_uid) return (status.st_mode & S_IXUSR) != 0;
  if (std::ranges::find(process.groups, status.st_gid) != process.groups.end()) {
    return (status.st_mode & S_IXGRP) != 0;
  }
  return (status.st_mode & S_IXOTH) != 0;
}

Finding loadedFinding(SnmpProcess const& process) {
  auto const what = fmt::format("{} (pid {})", process.name, process.pid);
  if (!process.loaded) {
    return {Verdict::unknown, what, "what it has loaded is not to be seen", "run this as root"};
  }
  if (!*process.loaded) {
    return {Verdict::bad, what, "has not loaded the module",
            "put 'dlmod OvoSnmp /usr/lib/.../ovosnmp/libOvoSnmp.so' into its configuration and "
            "restart it"};
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
  if (!closed) return {Verdict::good, what, "open", {}};
  return {Verdict::bad, what,
          fmt::format("closed at {} for user {}", closed->string(), process.user),
          "put that user into the group of the directory, or start kelbased with --group; then "
          "restart the daemon"};
}

}  // namespace

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
    if (isElsewhere(entry.path())) continue;
    readOwner(entry.path(), process);
    readModule(entry.path(), process);
    found.push_back(std::move(process));
  }
  return found;
}

std::optional<fs::path> unreachable(SnmpProcess const& process, fs::path const& path) {
  fs::path way;
  // Each directory on the way has to let the process pass; which one does not is what to mend.
  for (auto const& part : fs::absolute(path).lexically_normal()) {
    way /= part;
    struct stat status {};
    if (::stat(way.c_str(), &status) != 0 || !mayUse(process, status)) return way;
  }
  return std::nullopt;
}

Findings processFindings(std::vector<SnmpProcess> const& processes, fs::path const& runDir) {
  if (processes.empty()) {
    return {{Verdict::bad, "snmpd", "is not running here", "systemctl start snmpd"}};
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
