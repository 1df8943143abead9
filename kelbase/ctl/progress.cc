#include "kelbase/ctl/progress.h"

#include <algorithm>
#include <exception>
#include <ostream>
#include <utility>

#include <fmt/format.h>

#include "platform/mav/time.h"

namespace Kelbase::Ctl {

Progress::Progress(std::ostream& err, bool terminal, std::string label, std::uint64_t total)
    : err_(err), terminal_(terminal), label_(std::move(label)), total_(total) {
  if (terminal_) drawNext_ = Mav::now() + showAfter;
}

Progress::~Progress() {
  if (!drawn_) return;
  try {
    // To the line's start, and the rest of it blank (ECMA-48, EL).
    err_ << "\r\033[K" << std::flush;
  } catch (std::exception const&) {
    // The terminal has gone; there is no line to wipe.
  }
}

void Progress::at(std::uint64_t done) {
  if (!terminal_) return;
  double const now = Mav::now();
  if (now < drawNext_) return;
  drawNext_ = now + redrawAfter;
  constexpr std::uint64_t width = 30;
  drawn_ = true;
  if (total_ == 0) {
    err_ << fmt::format("\r\033[K{}: {:.1f} MB", label_, static_cast<double>(done) / 1e6)
         << std::flush;
    return;
  }
  // A file may grow while it is read.
  done = std::min(done, total_);
  err_ << fmt::format("\r\033[K{} [{:-<{}}] {:3} %", label_,
                      std::string(width * done / total_, '#'), width, 100 * done / total_)
       << std::flush;
}

}  // namespace Kelbase::Ctl
