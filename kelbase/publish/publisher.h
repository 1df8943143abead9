#pragma once
// Publishes the kernel's state in the shared tables: the sources, fed by NetlinkFeed, written by
// Pondo::Writer.
//
// At the first settled moment every table is made equal to the kernel, whatever an earlier
// publisher left in it (only differences are written: a restart shows readers nothing). From then
// on, one commit a turn when something changed. Where a source has more to write than fits a turn
// (a million routes), the rest follows in the next ones; what is superfluous then (fecs without
// routes) goes last, and new tables are said to be complete. When the run directory was deleted or
// replaced, or a write failed, everything is published again. A failing environment is told in one
// line, and tried again every second; the tables stay as after the last commit.
//
// All on the activity's thread; never blocks.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kelbase/netlink/netlink_feed.h"
#include "kelbase/netlink/table_source.h"
#include "platform/mav/activity.h"
#include "platform/pondo/environment/writer.h"

namespace Kelbase {

class Publisher {
 public:
  static constexpr double serviceInterval = 1.0;  // seconds
  /// From the first sign of a change in the run directory to looking at it: whoever deletes it is
  /// let finish.
  static constexpr double noticeDelay = 0.1;  // seconds

  struct Options {
    std::filesystem::path runDir;
    Pondo::Writer::Options writer = {};
    NetlinkFeed::Options feed = {};
  };

  struct Hooks {
    /// What the kernel said so far is in the tables. Called after each write, changes or not.
    std::function<void()> published;
    /// It cannot go on: another publisher has taken the run directory over.
    std::function<void(std::string const& why)> lost;
  };

  /// Takes the run directory. Pondo::EnvironmentException, PublisherRunningException when it is
  /// not to be had; Mav::Exception when the kernel refuses the sockets.
  Publisher(Mav::Activity& activity, Options const& options, Hooks hooks);

  /// The tables have been equal to the kernel once.
  bool published() const { return published_; }
  /// The tables hold all that the kernel has said, and nothing of it is known to be missing.
  bool exact() const;
  NetlinkFeed const& feed() const { return feed_; }
  /// For the operator: "3 links, IPv4 forwarding on, IPv6 forwarding off, 2 IPv4 addresses, ...".
  std::string summary() const;

 private:
  using Sources = std::vector<std::unique_ptr<TableSource>>;

  static Sources makeSources();
  static std::vector<TableSource*> pointers(Sources const& sources);
  void publish();
  void write();
  void writeChanges();
  void writeAll();
  bool hasMore() const;
  void watchNotices();
  void onNotice();
  void service();
  void onFailure(char const* what);

  std::filesystem::path const runDir_;
  Hooks const hooks_;
  Sources const sources_;
  Pondo::Writer writer_;
  NetlinkFeed feed_;
  Mav::Activity& activity_;
  Mav::Timer commit_;
  Mav::Timer service_;
  Mav::Activity::Watch notice_;

  bool published_ = false;
  bool everything_ = true;  // the tables may differ from the sources anywhere
  bool complete_ = false;   // they have been equal to the sources since they were made
  bool failing_ = false;
};

}  // namespace Kelbase
