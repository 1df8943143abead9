#include "platform/mav/line_thinner.h"

#include <fmt/format.h>

namespace Mav {

std::optional<std::string> LineThinner::pass(std::string_view line, double now) {
  std::string const text(line);
  if (bursts_.size() >= textsMax && !bursts_.contains(text)) forget(now);
  auto& burst = bursts_[text];
  // A text that is new has no line yet, and begins its window like one whose window is over.
  bool const over = burst.lines != 0 && now - burst.start >= window;
  auto const leftOut = over && burst.lines > burstMax ? burst.lines - burstMax : 0;
  if (over || burst.lines == 0) burst = {now, 0};
  ++burst.lines;
  // The first line of a new window, which counts in it.
  if (leftOut != 0) return fmt::format("{} ({} more like it were left out)", text, leftOut);
  if (burst.lines < burstMax) return text;
  if (burst.lines > burstMax) return std::nullopt;
  return fmt::format("{} (more like it are left out for {} s)", text, window);
}

void LineThinner::forget(double now) {
  absl::erase_if(bursts_, [&](auto const& item) { return now - item.second.start >= window; });
  // Texts that all are of this moment are forgotten too: who makes them up must not fill the
  // memory.
  if (bursts_.size() >= textsMax) bursts_.clear();
}

}  // namespace Mav
