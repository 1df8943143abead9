#pragma once
// RUNDIR/readers: what the readers of the tables tell of themselves, for an operator.
//
// The publisher makes the file (0660, the group of the SNMP daemon) and never reads it. It has
// Slots; a living reader holds one by a lock on its bytes, of an open file description
// (F_OFD_SETLK, fcntl(2)), which never blocks and ends with the reader however that ends. Whoever
// may write the file may write anything: readerReports() checks every field. A reader that finds no
// file, no permission or no free slot goes on without one.

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <sys/types.h>

#include "platform/mav/activity.h"
#include "platform/mav/descriptor.h"

namespace Pondo {

/// What a reader tells.
struct ReaderInfo {
  std::string program;  // of its process: "snmpd"
  std::string version;  // of what reads: the module
  std::int32_t pid = 0;
  std::uint32_t schema = 0;      // that it reads
  std::uint64_t generation = 0;  // that it last saw
  std::uint64_t resyncs = 0;     // comparisons of everything, but for the first
  std::uint64_t badRecords = 0;  // that it skipped as malformed

  bool operator==(ReaderInfo const&) const = default;
};

/// The file's form. Texts are padded with NUL, at least one.
namespace Readers {
/// Of the slot's form, which is not the tables' schema: a slot of another version counts as
/// malformed.
inline constexpr std::uint32_t slotVersion = 1;
inline constexpr std::size_t slotCount = 126;  // as many readers as LMDB takes
/// Written and read whole, by one pwrite(2) and one pread(2). A Slot has no padding, so that all of
/// its bytes are told.
struct Slot {
  std::uint32_t version = slotVersion;
  std::int32_t pid = 0;
  std::uint32_t schema = 0;
  std::uint32_t zero = 0;
  std::uint64_t generation = 0;
  std::uint64_t resyncs = 0;
  std::uint64_t badRecords = 0;
  std::array<char, 32> program{};
  std::array<char, 24> moduleVersion{};
};
static_assert(std::is_trivially_copyable_v<Slot> && sizeof(Slot) == 96);
static_assert(offsetof(Slot, generation) == 16 && offsetof(Slot, program) == 40 &&
              offsetof(Slot, moduleVersion) == 72);
inline constexpr std::size_t fileSize = slotCount * sizeof(Slot);
}  // namespace Readers

/// Makes the file where it is missing, not a regular one, or of another size. For the publisher;
/// what goes wrong leaves readers without slots.
void makeReadersFile(std::filesystem::path const& runDir, std::optional<gid_t> group);

/// What `kelbasectl status` shows.
struct ReaderReports {
  std::vector<ReaderInfo> readers;  // that live now
  std::size_t malformed = 0;        // that live, but tell what cannot be
};

/// Gives nothing where there is no file, or none that may be read. Never blocks.
ReaderReports readerReports(std::filesystem::path const& runDir);

/// One reader's side. It never throws for what the run directory is like: a report that cannot be
/// made keeps no reader from reading. The Follower has one, on the activity's thread; its slot ends
/// with it, when the descriptor closes.
class ReaderReport {
 public:
  static constexpr double interval = 1.0;  // seconds between two writes, at least

  ReaderReport(Mav::Activity& activity, std::filesystem::path const& runDir,
               std::string const& version);

  /// Tells what it has come to, at once or once the interval is over. The Follower calls it in
  /// each turn that looks at the tables; where nothing differs, nothing is written.
  void stateIs(std::uint64_t generation, std::uint64_t resyncs, std::uint64_t badRecords);
  /// Looks whether the file is still the one at its path, and for a slot where it has none.
  void look();

 private:
  /// Opens the file and locks the first slot that is free; leaves fd_ empty where there is none.
  void takeSlot();
  /// The timer's action.
  void write();

  std::filesystem::path const file_;
  Mav::Timer timer_;
  Mav::Descriptor fd_;  // with the slot
  std::size_t slot_ = 0;
  // What there is to tell, what the slot says, and the time of Mav::now() before which it is not
  // written.
  ReaderInfo now_;
  ReaderInfo told_;
  double notBefore_ = 0;
};

}  // namespace Pondo
