#pragma once
// Two statistics objects over files of the test's own, on simulated time, with the trace lines that
// they write.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "platform/mav/time.h"
#include "stats/stats_file.h"
#include "stats/stats_scan.h"
#include "stats/sw_fwd_stats.h"
#include "tests/stats/stats_texts.h"
#include "tests/support/log_lines.h"
#include "tests/support/scratch_dir.h"

namespace Ip {

class SwFwdStatsFixture : public testing::Test {
 protected:
  SwFwdStatsFixture() {
    ::setenv("PROC_NET_SNMP", path("snmp").c_str(), 1);
    ::setenv("PROC_NET_NETSTAT", path("netstat").c_str(), 1);
    ::setenv("PROC_NET_SNMP6", path("snmp6").c_str(), 1);
    forgetStatsPaths();
  }

  ~SwFwdStatsFixture() override {
    for (char const* name : {"PROC_NET_SNMP", "PROC_NET_NETSTAT", "PROC_NET_SNMP6"}) {
      ::unsetenv(name);
    }
    forgetStatsPaths();
  }

  std::string path(std::string const& name) const { return (dir.path() / name).string(); }

  /// Replaces the file "snmp", "netstat" or "snmp6".
  void write(std::string const& name, std::string const& text) const {
    remove(name);
    std::ofstream(path(name)) << text;
  }
  void remove(std::string const& name) const { std::filesystem::remove_all(path(name)); }

  /// All files of a healthy kernel: IPv4 and IPv6 have received `inReceives` datagrams.
  void kernelReceived(std::uint64_t inReceives) const {
    std::string const number = std::to_string(inReceives);
    write("snmp", snmpText(number + " 2 3 4 6 7 8 9 10 11 12 13 14 15 16 17 18"));
    write("netstat", netstatText("21 22 23 24 25 26 27 28"));
    write("snmp6", snmp6Text({{"Ip6InReceives", number}, {"Ip6OutForwDatagrams", "7"}}));
  }

  /// The trace lines since the last call, without handle, level, file and line: "doRead: TEXT".
  std::vector<std::string> traced() {
    std::vector<std::string> texts;
    for (auto const& line : lines.take()) texts.push_back(line.substr(line.find("doRead: ")));
    return texts;
  }

  ScratchDir dir;
  Mav::SimulatedTime time;
  LogLines lines;
  Mav::Ptr<SwFwdStats> v4 = swFwdStatsFactory(ipVersion4);
  Mav::Ptr<SwFwdStats> v6 = swFwdStatsFactory(ipVersion6);
};

}  // namespace Ip
