#pragma once
// The log lines and traces of this process, while it lives: as they are, or without what stands
// before the text.

#include <string>
#include <utility>
#include <vector>

#include "platform/mav/trace_handle.h"

class LogLines {
 public:
  LogLines() {
    Mav::traceSinkIs([this](Mav::Severity, std::string_view line) { lines_.emplace_back(line); });
  }
  ~LogLines() { Mav::traceSinkIs({}); }
  LogLines(LogLines const&) = delete;
  LogLines& operator=(LogLines const&) = delete;

  /// The lines since the last call.
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};
