#pragma once
// A fresh network namespace for each case, in this process. Needs root; skipped visibly otherwise.

#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>

#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>

#include "platform/mav/activity.h"
#include "platform/mav/time.h"

namespace Kelbase {

class NamespaceTest : public testing::Test {
 protected:
  void SetUp() override {
    if (unshare(CLONE_NEWNET) != 0) GTEST_SKIP() << "no network namespace: " << strerror(errno);
  }

  /// Commands for `ip`, one a line, which must succeed.
  static void ip(std::string const& lines) {
    ASSERT_EQ(run("ip -batch -", lines), 0) << lines.substr(0, 1000);
  }
  /// Writes /proc/sys/net/PATH of the namespace.
  static void sysctl(std::string const& path, int value) {
    std::ofstream file("/proc/sys/net/" + path);
    ASSERT_TRUE(file << value << std::flush) << path;
  }

  /// Turns the activity, waiting on its descriptor in between, until `condition` holds: false when
  /// it does not within 20 s.
  bool turnUntil(std::function<bool()> const& condition) {
    double const deadline = Mav::now() + 20.0;
    while (!condition()) {
      double const left = deadline - Mav::now();
      if (left <= 0) return false;
      pollfd entry{activity_.fd(), POLLIN, 0};
      poll(&entry, 1, static_cast<int>(left * 1000) + 1);
      activity_.deliver();
    }
    return true;
  }

  Mav::Activity activity_;

 private:
  static int run(char const* command, std::string const& lines) {
    FILE* const pipe = popen(command, "w");
    if (!pipe || std::fwrite(lines.data(), 1, lines.size(), pipe) != lines.size()) return -1;
    return pclose(pipe);
  }
};

}  // namespace Kelbase
