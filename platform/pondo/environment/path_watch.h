#pragma once
// Watches, by inotify, where the tables of a run directory are or will be.
//
// Where they are: the doorbell's modifications, and what happens to the names in tables/ and to the
// two directories themselves. Nothing else: not what is written to the data file, not the other
// files of the run directory (publisher.lock is touched every second). Where they are not: the
// nearest directory that exists, for the next component of the path to come or to change its mode.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pondo/environment/descriptor.h"

struct inotify_event;

namespace Pondo {

class PathWatch {
 public:
  struct Events {
    bool rang = false;         // the doorbell
    bool pathChanged = false;  // the path may lead elsewhere, or somewhere again
  };

  /// `runDir` is absolute. Without inotify (its limits are per user) there is a log line, fd() is
  /// -1 and nothing is ever seen.
  explicit PathWatch(std::filesystem::path runDir);

  int fd() const { return inotify_.get(); }

  /// Watches what is there now. To be called before looking at the path, so that nothing which
  /// happens after the look is missed; and again whenever pathChanged.
  void arm();

  /// Takes what has happened since the last call. Never blocks.
  Events take();

 private:
  struct Watched {
    int descriptor = -1;
    bool doorbell = false;
    std::string onlyName = {};  // of the entries of a directory; empty: all
  };

  bool add(std::filesystem::path const& path, std::uint32_t events, Watched watched);
  /// False when they are not there, or out of reach.
  bool watchTables();
  /// True when what was missing has come meanwhile.
  bool watchAncestor();
  void note(inotify_event const& event, std::string_view name, Events& events) const;

  std::filesystem::path runDir_;
  Descriptor inotify_;
  std::vector<Watched> watched_;
  bool complained_ = false;
};

}  // namespace Pondo
