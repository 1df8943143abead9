#pragma once
// Named trace handles with levels 0 to 9, and the one way by which lines leave the program.
//
// A handle starts with level 0 on. The environment variable MAV_TRACE switches on more, by handle
// name: "Snmp/0-2,IpSnmpAgent/8" (trace_config.h has the syntax). It is read when the first handle
// is made, and each item that cannot be read gets a line then. Several handles may have one name.
// A line costs a test of one bit while its level is off; nothing is formatted then:
//
//   MAV_TRACE(traceHandle(), 2, "handle_ipForwarding - unknown mode from request: " << mode);
//
// writes "Snmp/2 ip_base.cc:123 handle_ipForwarding: text". Lines go to the sink, which is stderr
// until traceSinkIs() sets another (inside snmpd: snmpd's own log). A control character in a text
// is written as \xNN, so that one call is one line wherever the text came from. Level 0 goes to the
// sink as a warning, level 1 as info, the others as debug. Lines that repeat are thinned
// (line_thinner.h) while no level but 0 is on.
//
// log() speaks to the operator: a plain sentence that tells what is wrong and what to do. It is
// always written, to the same sink. docs/errors.md lists these sentences.

#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>

namespace Mav {

enum class Severity { error, warning, notice, info, debug };

/// Takes whole lines, without a newline. It must not throw and must not trace.
using TraceSink = std::function<void(Severity, std::string_view)>;

/// An empty sink restores stderr.
void traceSinkIs(TraceSink sink);

void log(Severity severity, std::string_view text);

class TraceHandle {
 public:
  static constexpr int levelMax = 9;

  /// `name` is a literal: handles are made while a library is loaded, where an allocation that
  /// failed would end the process. `allLevels` starts the handle with every level on; otherwise
  /// level 0 and what MAV_TRACE says.
  explicit TraceHandle(std::string_view name, bool allLevels = false);

  std::string_view name() const { return name_; }
  bool enabled(int level) const { return ((levels_ >> level) & 1U) != 0; }
  /// RangeException when the level is not within 0 to levelMax.
  void enabledIs(int level, bool on);

  /// Writes one line, whether the level is on or not. MAV_TRACE is the way to call it.
  void line(int level, char const* file, int lineNumber, std::string_view function,
            std::string_view text) const;

 private:
  std::string_view name_;
  std::uint32_t levels_;
};

}  // namespace Mav

/// Traces as MAV_TRACE does, under a function name that is given: a template speaks for its
/// instance by it.
#define MAV_TRACE_AS(handle, level, function, stream)                               \
  do {                                                                              \
    auto const& mavTraceHandle = (handle);                                          \
    if (mavTraceHandle.enabled(level)) {                                            \
      std::ostringstream mavTraceText;                                              \
      mavTraceText << stream; /* NOLINT(bugprone-macro-parentheses) */              \
      mavTraceHandle.line(level, __FILE__, __LINE__, function, mavTraceText.str()); \
    }                                                                               \
  } while (false)

#define MAV_TRACE(handle, level, stream) MAV_TRACE_AS(handle, level, __func__, stream)
