#pragma once
// `kelbasectl check`: what is wrong on the road from the kernel to a manager, and what to do. It
// looks from outside, as an operator would: at the run directory, at the SNMP daemon's process in
// /proc, and at its answers, which it asks for by net-snmp's own tools. What it cannot look at
// (another user's process, no tools installed) it says so of, and judges nothing by it.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "kelbase/ctl/context.h"
#include "kelbase/ctl/status.h"

namespace Kelbase::Ctl {

enum class Verdict {
  good,
  bad,
  unknown,  // it could not be looked at, or may be meant so
};

/// What was found out about one thing. A script goes by the verdict; the texts are for people, and
/// name processes and paths as they are found.
struct Finding {
  Verdict verdict = Verdict::unknown;
  std::string what;    // "publisher", "ipAddrTable"
  std::string found;   // "alive"
  std::string remedy;  // what to do; empty when good
};

using Findings = std::vector<Finding>;

struct CheckOptions {
  std::string agent = "127.0.0.1";  // as net-snmp's tools take it: HOST, udp:HOST:PORT
  std::string community = "public";
  bool json = false;
};

/// Prints what it found. exitOk when nothing is wrong, else exitError. Never throws for what it
/// finds.
int check(Context const& context, std::filesystem::path const& runDir, CheckOptions const& options);

/// Of the publisher and its tables. `now`: seconds since 1970.
Findings publisherFindings(Status const& status, double now);
/// What works, and is seldom meant: a publisher of another network namespace, tables on a disk.
Findings placeFindings(Status const& status, double now);
/// Of the modules that have told of themselves; `version` is what they are to be of.
Findings readerFindings(Status const& status, std::string_view version);

}  // namespace Kelbase::Ctl
