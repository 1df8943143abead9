#pragma once

#include <string>
#include <utility>
#include <vector>

#include "agent/trace.h"

using Texts = std::vector<std::string>;

/// The state machines' lines up to `levelMax`, without the head that names file and line.
class AgentLines {
 public:
  explicit AgentLines(int levelMax) : levelMax_(levelMax) {
    Mav::traceSinkIs([this](Mav::Severity, std::string_view line) {
      lines_.emplace_back(line.substr(line.find(' ', line.find(' ') + 1) + 1));
    });
    enable(true);
  }
  ~AgentLines() {
    enable(false);
    Mav::traceSinkIs({});
  }
  /// What was written since the last call.
  Texts take() { return std::exchange(lines_, {}); }

 private:
  void enable(bool on) {
    for (int level = 1; level <= levelMax_; ++level) {
      IpSnmp::agentTraceHandle().enabledIs(level, on);
    }
  }
  int const levelMax_;
  Texts lines_;
};
