#pragma once
// The kernel's statistics files: where they are, and their text.
//
// Each path is chosen once a process, when it is first asked for: the value of its environment
// variable if that is set (empty counts as set), else the default. One thread.
//
// A path of one's own is for kernels whose file has another layout (plugin/plugin.cc leads the
// reader to what the publisher keeps), and for tests.

#include <cstddef>
#include <string>

namespace Ip {

enum class StatsFile {
  snmp,     // "PROC_NET_SNMP", "/proc/net/snmp"
  netstat,  // "PROC_NET_NETSTAT", "/proc/net/netstat"
  snmp6,    // "PROC_NET_SNMP6", "/proc/net/snmp6"
};

/// Good for the life of the process, or until forgetStatsPaths().
std::string const& statsPath(StatsFile file);

/// For tests: the next statsPath() looks at the environment again.
void forgetStatsPaths();

/// What is behind this much of a file is not read: the real files have a few KiB.
inline constexpr std::size_t statsFileSizeMax = 1U << 20U;

/// Replaces `text` by the file's content; false when it is no readable regular file. Never blocks
/// on what the path may name instead (FIFO, terminal, device), never reads more than
/// statsFileSizeMax. The files of /proc/net are made whole by one read: the counters in `text` are
/// of one moment.
bool readStatsFile(std::string const& path, std::string& text);

}  // namespace Ip
