#pragma once
// Publishes the model in the shared tables: its views, written by Pondo::Writer.
//
// At the first settled moment every table is made equal to the model, whatever an earlier
// publisher left in it (only differences are written: a restart shows readers nothing). From then
// on, one commit a turn when something changed. Where a view has more to write than fits a turn
// (a million routes), the rest follows in the next ones; what is superfluous then (fecs without
// routes) goes last, and new tables are said to be complete. When the run directory was deleted or
// replaced, or a write failed, everything is published again. Where this process may not make the
// run directory again, it ends, for whoever started it to make it. Another failing environment is
// told in one line, and tried again every second; the tables stay as after the last commit.
//
// Once a second the readers are told when the tables were last exact, why they are not, and what
// was counted (Pondo::SignOfLife): that is all that health means here.
//
// All on the activity's thread; never blocks.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "kelbase/publish/table_views.h"
#include "platform/mav/activity.h"
#include "platform/pondo/environment/writer.h"

namespace Kelbase {

class Publisher {
 public:
  static constexpr double serviceInterval = 1.0;  // seconds
  /// From the first sign of a change in the run directory to looking at it: whoever deletes it is
  /// let finish.
  static constexpr double noticeDelay = 0.1;  // seconds

  struct Hooks {
    /// Whether the model is worth publishing now: not amid a dump.
    std::function<bool()> isSettled;
    /// Whether the model holds all that there is: nothing of it is known to be missing.
    std::function<bool()> isWhole;
    /// What has been counted on the model's way here, for the operator.
    std::function<Pondo::Counters()> counters;
    /// What the kernel said so far is in the tables. Called after each write, changes or not.
    std::function<void()> published;
    /// That cannot be written, for this reason. Called for each reason once, until it can.
    std::function<void(std::string const& why)> failed;
    /// It cannot go on: another publisher has taken the run directory over, or it was deleted
    /// where this process may not make it. Whoever started the process may.
    std::function<void(std::string const& why)> lost;
  };

  /// Takes the run directory. Pondo::EnvironmentException, PublisherRunningException when it is
  /// not to be had. The views must outlive it.
  Publisher(Mav::Activity& activity, std::filesystem::path runDir, Pondo::Writer::Options writer,
            TableViews const& views, Hooks hooks);

  /// The model has changed, or has settled: written `delay` seconds later, at 0 in the next turn.
  /// Many calls until then are one commit.
  void onSettled(double delay);

  /// The tables hold all that there is.
  bool exact() const;
  /// Seconds since they were last known to; infinity: never yet.
  double exactAge() const;

 private:
  void publish();
  void write();
  void writeAll();
  void watchNotices();
  void onNotice();
  void service();
  void serveWriter();
  bool cannotMakeRunDir(Pondo::EnvironmentException const& error) const;
  void noteExact();
  void tell();
  std::string trouble() const;
  Pondo::Counters counters() const;
  void onWriteFailure(char const* what);
  void onFailure(char const* what);

  std::filesystem::path const runDir_;
  Hooks const hooks_;
  TableViews const& views_;
  Pondo::Writer writer_;
  Mav::Activity& activity_;
  Mav::Timer commit_;
  Mav::Timer service_;
  Mav::Activity::Watch notice_;

  // Set by whatever leaves that open: the start, new tables, a write that failed. Only writeAll()
  // clears it.
  bool everything_ = true;  // the tables may differ from the model anywhere
  bool complete_ = false;   // they have been equal to the model since they were made
  bool shrinks_ = false;    // when all was last written, more was to go than to come
  std::string failure_;     // why nothing can be written; empty: it can
  std::uint64_t failures_ = 0;
  std::uint64_t anew_ = 0;  // times that the tables were made anew
  double exactAt_ = -Mav::never;
  bool toldExact_ = false;
};

}  // namespace Kelbase
