#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "handlers/trace.h"

namespace Testing {

/// The texts that the handlers trace at level 0 and at one more, while it lives.
class Traces {
 public:
  explicit Traces(int level) : level_(level) {
    IpSnmp::snmpTraceHandle().enabledIs(level_, true);
    Mav::traceSinkIs([this](Mav::Severity, std::string_view line) {
      lines.emplace_back(line.substr(line.find(": ") + 2));
    });
  }
  ~Traces() {
    if (level_ != 0) IpSnmp::snmpTraceHandle().enabledIs(level_, false);
    Mav::traceSinkIs({});
  }
  Traces(Traces const&) = delete;
  Traces& operator=(Traces const&) = delete;

  std::size_t count(std::string_view text) const {
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(),
                      [text](auto const& line) { return line.find(text) != std::string::npos; }));
  }

  std::vector<std::string> lines;

 private:
  int const level_;
};

}  // namespace Testing
