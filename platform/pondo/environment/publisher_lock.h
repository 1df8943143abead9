#pragma once
// RUNDIR/publisher.lock, held: it says that this process is the one publisher, who that is, and
// that it lives. The lock is one of an open file description (F_OFD_SETLK, fcntl(2)): it ends with
// the process however that ends, and a reader that tests it does it no harm, as it would to a lock
// of the classic kind when it closes the file.

#include <filesystem>
#include <limits>
#include <optional>
#include <string>

#include <sys/types.h>

#include "platform/mav/descriptor.h"
#include "platform/pondo/environment/run_dir.h"

namespace Pondo {

/// What a publisher tells of itself, about once a second.
struct SignOfLife {
  /// Seconds since the tables were last exact; infinity: not yet by this process.
  double exactAge = std::numeric_limits<double>::infinity();
  std::string trouble = {};  // why they are not exact now
  Counters counters = {};
};

/// On the publisher's thread. The lock outlives the open tables, so that no other process opens
/// them beside this one.
class PublisherLock {
 public:
  struct Publisher {
    std::string name;
    std::string version;
    bool isOfKernel = true;  // keeps the tables exact, and says so; else they do not grow old
  };

  /// Takes the lock and writes who the publisher is. PublisherRunningException when another process
  /// holds it.
  PublisherLock(std::filesystem::path const& runDir, Publisher const& publisher,
                std::optional<gid_t> group);
  /// Says, where opened() was not called, that this process has failed and not died: the next
  /// publisher may take the tables as they are.
  ~PublisherLock();
  PublisherLock(PublisherLock const&) = delete;
  PublisherLock& operator=(PublisherLock const&) = delete;

  /// The publisher before this one died between taking the lock and opened(): of the tables that
  /// it found, perhaps.
  bool predecessorFailed() const { return predecessorFailed_; }
  /// The tables that were found, or made, have been written to and read.
  void opened();

  /// Gives a sign of life: rewrites the file. True when the tables are exact for the first time, or
  /// again after a while (exactWithin) in which they were not, or nobody told. What cannot be
  /// written is lost, and its absence tells.
  bool tell(SignOfLife const& sign);

  /// False when the path leads elsewhere by now, because the run directory was deleted or replaced:
  /// another publisher could then lock the file at the path.
  bool atPath() const;

 private:
  std::string text() const;
  std::string exactLine() const;
  bool write(std::string const& text) const;

  std::filesystem::path file_;
  Mav::Descriptor fd_;
  std::string head_;    // the lines that stay
  double exactAt_ = 0;  // seconds since the machine's start, as all times of the file
  std::string told_;    // the lines of the last sign of life
  bool isOpening_ = true;
  bool hasBeenExact_ = false;  // since this process came
  bool predecessorFailed_ = false;
};

}  // namespace Pondo
