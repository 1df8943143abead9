#include "platform/mav/trace_handle.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include <fmt/format.h>

#include "platform/mav/exception.h"
#include "platform/mav/line_thinner.h"
#include "platform/mav/time.h"
#include "platform/mav/trace_config.h"

namespace Mav {

namespace {

// Bare pointers: lines may still come while static objects are destroyed.
constinit TraceSink* sink = nullptr;
constinit LineThinner* thinner = nullptr;

std::string_view prefix(Severity severity) {
  switch (severity) {
    case Severity::error:
      return "error: ";
    case Severity::warning:
      return "warning: ";
    default:
      return "";
  }
}

Severity severityOfLevel(int level) {
  if (level <= 0) return Severity::warning;
  return level == 1 ? Severity::info : Severity::debug;
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

/// The text as one line: what came from outside cannot forge further ones.
std::string oneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (char const c : text) {
    if (isControl(c)) {
      line += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
    } else {
      line += c;
    }
  }
  return line;
}

void write(Severity severity, std::string_view prefix, std::string_view text) {
  auto line = oneLine(text);
  // A sink has a severity of its own to show: the prefix is stderr's.
  if (sink) return (*sink)(severity, line);
  line.insert(0, prefix);
  line += '\n';
  // In one call: stderr has no buffer that would put pieces together.
  std::fwrite(line.data(), 1, line.size(), stderr);
}

// By write(), not by a handle: to make one would ask for the configuration that is being read.
TraceConfig readEnvironment() {
  char const* const text = std::getenv("MAV_TRACE");
  TraceConfig config(text ? text : "");
  for (auto const& item : config.badItems()) {
    write(severityOfLevel(0), "",
          fmt::format("MAV_TRACE/0 item '{}' ignored: expected NAME, NAME/LEVEL or "
                      "NAME/LEVEL-LEVEL with levels from 0 to {}",
                      item, TraceHandle::levelMax));
  }
  return config;
}

std::uint32_t configuredLevels(std::string_view name) {
  // Read once: a handle that is made later is set as the first was.
  static TraceConfig const config = readEnvironment();
  return config.levels(name);
}

std::string_view baseName(std::string_view path) {
  return path.substr(path.rfind('/') + 1);  // npos + 1 is 0
}

}  // namespace

void traceSinkIs(TraceSink newSink) {
  auto* const old = std::exchange(sink, newSink ? new TraceSink(std::move(newSink)) : nullptr);
  delete old;
  delete std::exchange(thinner, nullptr);  // what was told to one sink is news to the next
}

void log(Severity severity, std::string_view text) { write(severity, prefix(severity), text); }

TraceHandle::TraceHandle(std::string_view name, bool allLevels)
    : name_(name), levels_(configuredLevels(name)) {
  if (allLevels) levels_ = (1U << (levelMax + 1)) - 1;
}

void TraceHandle::enabledIs(int level, bool on) {
  if (level < 0 || level > levelMax) {
    throw RangeException(fmt::format("trace level {} is not within 0 to {}", level, levelMax));
  }
  // Levels are bits, so that a trace that is off costs one test.
  auto const bit = 1U << level;
  levels_ = on ? levels_ | bit : levels_ & ~bit;
}

void TraceHandle::line(int level, char const* file, int lineNumber, std::string_view function,
                       std::string_view text) const {
  auto line =
      fmt::format("{}/{} {}:{} {}: {}", name_, level, baseName(file), lineNumber, function, text);
  if (level == 0 && levels_ == 1U) {  // on unasked; whoever switches on more wants every line
    if (!thinner) thinner = new LineThinner;
    auto thinned = thinner->pass(line, now());
    if (!thinned) return;
    line = std::move(*thinned);
  }
  write(severityOfLevel(level), "", line);
}

}  // namespace Mav
