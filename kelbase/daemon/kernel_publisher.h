#pragma once
// The state of the live kernel, kept in the shared tables: wires the feed, which fills the model,
// to the publisher, which writes what changed in it. From the first dumps on the tables are equal
// to the kernel, but for what it has said in the last turn.
//
// All on the activity's thread; never blocks.
//
// Signals, the log and the service manager are Daemon's: nothing here knows of them.

#include <functional>
#include <string>
#include <vector>

#include "kelbase/model/kernel.h"
#include "kelbase/netlink/kernel_sources.h"
#include "kelbase/netlink/netlink_feed.h"
#include "kelbase/publish/kernel_views.h"
#include "kelbase/publish/publisher.h"
#include "platform/mav/activity.h"

namespace Kelbase {

class KernelPublisher {
 public:
  struct Options {
    std::filesystem::path runDir;
    Pondo::Writer::Options writer = {};
    NetlinkFeed::Options feed = {};
  };

  struct Hooks {
    /// As Publisher's.
    std::function<void()> published;
    std::function<void(std::string const& why)> failed;
    std::function<void(std::string const& why)> lost;
  };

  /// As Publisher's constructor; and Mav::Exception when the kernel refuses the sockets. The kernel
  /// has been asked when it returns; nothing is published before the answers are there.
  KernelPublisher(Mav::Activity& activity, Options const& options, Hooks const& hooks);

  /// The tables have been equal to the kernel once.
  bool published() const { return publisher_.published(); }
  /// The tables hold all that the kernel has said, and nothing of it is known to be missing.
  bool exact() const { return publisher_.exact(); }
  /// Seconds since they last did; infinity: never yet.
  double exactAge() const { return publisher_.exactAge(); }
  NetlinkFeed const& feed() const { return feed_; }
  std::string summary() const { return views_.summary(); }

 private:
  std::vector<KernelSource*> sources();
  Publisher::Hooks publisherHooks(Hooks const& hooks);
  Pondo::Counters counters() const;

  // Each refers to those before it, and goes before them.
  Kernel kernel_;
  KernelSources const sources_;
  TableViews const views_;
  Publisher publisher_;
  NetlinkFeed feed_;
};

}  // namespace Kelbase
