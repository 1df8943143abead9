#pragma once
// What `kelbasectl check` has found out about one thing. Plain values: each look makes some, and
// check.h prints them all.
//
// A script goes by the verdict; the texts are for people, and name processes and paths as they are
// found.

#include <string>
#include <vector>

namespace Kelbase::Ctl {

enum class Verdict {
  good,
  bad,
  unknown,  // it could not be looked at, or may be meant so
};

struct Finding {
  Verdict verdict = Verdict::unknown;
  std::string what;    // "publisher", "ipAddrTable"
  std::string found;   // "alive"
  std::string remedy;  // what to do; empty when good
};

using Findings = std::vector<Finding>;

}  // namespace Kelbase::Ctl
