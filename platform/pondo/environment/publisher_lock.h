#pragma once
// RUNDIR/publisher.lock, held: says that this process is the one publisher, who it is, and that it
// lives. An open file description lock (F_OFD_SETLK): it ends with the process however that ends,
// and readers can test it without harm to it.

#include <filesystem>
#include <optional>
#include <string>

#include <sys/types.h>

#include "platform/pondo/environment/descriptor.h"

namespace Pondo {

class PublisherLock {
 public:
  /// PublisherRunningException when another holds it.
  PublisherLock(std::filesystem::path const& runDir, std::string const& publisher,
                std::optional<gid_t> group);

  /// A sign of life.
  void touch() const;

  /// False when the path leads elsewhere by now: the run directory was deleted or replaced.
  bool atPath() const;

 private:
  void write(std::string const& publisher) const;

  std::filesystem::path file_;
  Descriptor fd_;
};

}  // namespace Pondo
