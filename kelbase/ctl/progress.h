#pragma once
// A progress bar on one line of a terminal, for work that takes longer than showAfter; what is
// quicker, or not watched by a terminal, shows nothing. The line is wiped when the work is over,
// however it ends. Time is Mav::now(), read once per call of at(): call it per block, not per byte.
//
// It writes to `err`, so that `out` stays what a script reads.

#include <cstdint>
#include <iosfwd>
#include <string>

namespace Kelbase::Ctl {

class Progress {
 public:
  static constexpr double showAfter = 0.5;
  static constexpr double redrawAfter = 0.1;

  /// `total` 0: unknown (a pipe), so that the amount is told instead of a bar.
  Progress(std::ostream& err, bool terminal, std::string label, std::uint64_t total);
  /// Wipes the line, also while an exception passes through.
  ~Progress();
  Progress(Progress const&) = delete;
  Progress& operator=(Progress const&) = delete;

  /// Octets, when the total is unknown.
  void at(std::uint64_t done);

 private:
  std::ostream& err_;
  bool const terminal_;
  std::string const label_;
  std::uint64_t const total_;
  double drawNext_ = 0.0;
  bool drawn_ = false;
};

}  // namespace Kelbase::Ctl
