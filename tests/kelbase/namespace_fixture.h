#pragma once
// A fresh network namespace for each case, in this process. Needs root; skipped visibly otherwise.

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "platform/mav/activity.h"

namespace Kelbase {

class NamespaceTest : public testing::Test {
 protected:
  void SetUp() override;

  /// `ip ARGUMENTS`, which must succeed.
  static void ip(std::string const& arguments);
  /// Many at once, one command a line; much faster.
  static void ipBatch(std::string const& lines);
  /// Writes /proc/sys/net/PATH of the namespace.
  static void sysctl(std::string const& path, int value);

  /// Turns the activity, waiting on its descriptor in between, until `condition` holds: false when
  /// it does not within `seconds`.
  bool turnUntil(std::function<bool()> const& condition, double seconds = 20.0);

  Mav::Activity activity_;
};

}  // namespace Kelbase
