#pragma once
// Watches by inotify(7) where the tables of a run directory are, or will be.
//
// Where the tables are, it watches the doorbell's modifications, the names in tables/, and the two
// directories themselves. It watches nothing else, so that nobody is woken without need: not what
// is written to the data file, and not the other files of the run directory, of which
// publisher.lock is touched every second. Where there are no tables, it watches the nearest
// directory that exists, until the next component of the path comes or changes its mode.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/mav/descriptor.h"

struct inotify_event;

namespace Pondo {

/// Gives an inotify instance. Where the kernel gives none (its limit is one of the user's processes
/// together), a log line tells so and the descriptor is empty: who watches `runDir` has to look by
/// himself.
Mav::Descriptor openInotify(std::filesystem::path const& runDir);

/// On one thread. It tells that something happened and never what: its owner looks at the path.
class PathWatch {
 public:
  struct Events {
    bool rang = false;         // the doorbell was written
    bool pathChanged = false;  // the path may lead elsewhere by now, or lead somewhere again
  };

  /// `runDir` is absolute. Without an inotify instance fd() is -1, and no event ever comes.
  explicit PathWatch(std::filesystem::path runDir);

  int fd() const { return inotify_.get(); }

  /// Watches what is there now. The caller calls it before it looks at the path, so that nothing
  /// which happens after the look is missed, and again whenever pathChanged.
  void arm();

  /// Gives what has happened since the last call. Never blocks.
  Events take();

 private:
  /// The kernel's number; two paths that lead to one file share it (inotify_add_watch(2)).
  struct Watched {
    int descriptor = -1;
    bool doorbell = false;
    std::string onlyName = {};  // of the entries of a directory; empty: all
  };

  bool add(std::filesystem::path const& path, std::uint32_t events, Watched watched);
  /// False when the tables are not there, or out of reach.
  bool watchTables();
  /// True when what was missing has come meanwhile.
  bool watchAncestor();
  void note(inotify_event const& event, std::string_view name, Events& events) const;

  std::filesystem::path runDir_;
  Mav::Descriptor inotify_;
  std::vector<Watched> watched_;
  bool complained_ = false;
};

}  // namespace Pondo
