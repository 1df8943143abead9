#pragma once
// RUNDIR/publisher.lock, held: it says that this process is the one publisher, who that is, and
// that it lives. The lock is one of an open file description (F_OFD_SETLK, fcntl(2)): it ends with
// the process however that ends, and a reader that tests it does it no harm, as it would to a lock
// of the classic kind when it closes the file.

#include <filesystem>
#include <optional>
#include <string>

#include <sys/types.h>

#include "platform/pondo/environment/descriptor.h"

namespace Pondo {

class PublisherLock {
 public:
  /// Takes the lock and writes the publisher's name and process id. PublisherRunningException when
  /// another process holds it.
  PublisherLock(std::filesystem::path const& runDir, std::string const& publisher,
                std::optional<gid_t> group);

  /// Gives a sign of life: the file's modification time becomes now.
  void touch() const;

  /// False when the path leads elsewhere by now, because the run directory was deleted or replaced:
  /// another publisher could then lock the file at the path.
  bool atPath() const;

 private:
  void write(std::string const& publisher) const;

  std::filesystem::path file_;
  Descriptor fd_;
};

}  // namespace Pondo
