#include "tests/kelbase/namespace_fixture.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <poll.h>
#include <sched.h>

namespace Kelbase {

void NamespaceTest::SetUp() {
  if (unshare(CLONE_NEWNET) != 0) GTEST_SKIP() << "no network namespace: " << std::strerror(errno);
}

void NamespaceTest::ip(std::string const& arguments) {
  ASSERT_EQ(std::system(("ip " + arguments).c_str()), 0) << arguments;
}

void NamespaceTest::ipBatch(std::string const& lines) {
  FILE* const pipe = popen("ip -batch -", "w");
  ASSERT_NE(pipe, nullptr);
  ASSERT_EQ(std::fwrite(lines.data(), 1, lines.size(), pipe), lines.size());
  ASSERT_EQ(pclose(pipe), 0);
}

void NamespaceTest::sysctl(std::string const& path, int value) {
  std::ofstream file("/proc/sys/net/" + path);
  ASSERT_TRUE(file << value << std::flush) << path;
}

bool NamespaceTest::turnUntil(std::function<bool()> const& condition, double seconds) {
  double const deadline = Mav::now() + seconds;
  while (!condition()) {
    double const left = deadline - Mav::now();
    if (left <= 0) return false;
    pollfd entry{activity_.fd(), POLLIN, 0};
    poll(&entry, 1, static_cast<int>(left * 1000) + 1);
    activity_.deliver();
  }
  return true;
}

}  // namespace Kelbase
