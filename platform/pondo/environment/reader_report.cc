#include "platform/pondo/environment/reader_report.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/pondo/environment/table_files.h"
#include "platform/pondo/tables/format.h"

namespace Pondo {
namespace {

using Readers::Slot;

Mav::Descriptor openReaders(std::filesystem::path const& file, int access) {
  // O_NONBLOCK: a FIFO in the file's place would stop who opens it (fifo(7)), and with it snmpd.
  Mav::Descriptor fd(::open(file.c_str(), access | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  bool const isFile = fd && ::fstat(fd.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                      status.st_size == static_cast<off_t>(Readers::fileSize);
  return isFile ? std::move(fd) : Mav::Descriptor();
}

off_t offsetOf(std::size_t slot) { return static_cast<off_t>(slot * sizeof(Slot)); }

struct flock lockOf(std::size_t slot) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = offsetOf(slot);
  lock.l_len = sizeof(Slot);
  return lock;
}

// A slot is taken as long as its lock is held. The kernel lets go of that with the process, however
// it ends: nobody has to clear slots.
bool isHeld(int fd, std::size_t slot) {
  auto lock = lockOf(slot);
  return ::fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

template <std::size_t size>
void setText(std::array<char, size>& to, std::string_view text) {
  // What is too long is cut: a NUL has to follow (textOf).
  text.copy(to.data(), size - 1);
}

/// Nothing unless it is printable and ends within the field.
template <std::size_t size>
std::optional<std::string> textOf(std::array<char, size> const& from) {
  auto const end = std::find(from.begin(), from.end(), '\0');
  bool const isText = end != from.begin() && end != from.end() &&
                      std::all_of(from.begin(), end, [](char c) { return c > ' ' && c < '\x7f'; });
  if (!isText) return std::nullopt;
  return std::string(from.begin(), end);
}

std::optional<ReaderInfo> decode(Slot const& slot) {
  auto const program = textOf(slot.program);
  auto const version = textOf(slot.moduleVersion);
  bool const isKnown = slot.version == Readers::slotVersion && slot.zero == 0 && slot.pid > 0;
  // The numbers are not checked: each of them is one that could be.
  if (!isKnown || !program || !version) return std::nullopt;
  return ReaderInfo{*program,        *version,     slot.pid,       slot.schema,
                    slot.generation, slot.resyncs, slot.badRecords};
}

Slot encode(ReaderInfo const& info) {
  Slot slot{.pid = info.pid,
            .schema = info.schema,
            .generation = info.generation,
            .resyncs = info.resyncs,
            .badRecords = info.badRecords};
  setText(slot.program, info.program);
  setText(slot.moduleVersion, info.version);
  return slot;
}

}  // namespace

void makeReadersFile(std::filesystem::path const& runDir, std::optional<gid_t> group) {
  auto const file = runDir / Format::readersFile;
  struct stat status {};
  // lstat(2): a link in the file's place is replaced, and not followed.
  bool const isThere = ::lstat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
                       status.st_size == static_cast<off_t>(Readers::fileSize);
  if (isThere) return;
  // A file of another size has the slots of another version elsewhere: readers notice that theirs
  // is gone, and take one in the new file.
  ::unlink(file.c_str());
  constexpr mode_t mode = 0660;
  Mav::Descriptor const fd(
      ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
  // Zeros: a slot that is held and not written yet counts as malformed until it is.
  if (!fd || ::ftruncate(fd.get(), static_cast<off_t>(Readers::fileSize)) != 0) return;
  ownershipIs(file, mode, group);
}

ReaderReports readerReports(std::filesystem::path const& runDir) {
  ReaderReports reports;
  auto const fd = openReaders(runDir / Format::readersFile, O_RDONLY);
  for (std::size_t i = 0; fd && i < Readers::slotCount; ++i) {
    Slot slot;
    // A slot keeps what was written last, though its reader has gone.
    if (!isHeld(fd.get(), i)) continue;
    bool const isRead = ::pread(fd.get(), &slot, sizeof slot, offsetOf(i)) == sizeof slot;
    auto const info = isRead ? decode(slot) : std::nullopt;
    if (info) {
      reports.readers.push_back(*info);
    } else {
      ++reports.malformed;
    }
  }
  return reports;
}

ReaderReport::ReaderReport(Mav::Activity& activity, std::filesystem::path const& runDir,
                           std::string const& version)
    : file_(runDir / Format::readersFile), timer_(activity.clock(), [this] { write(); }) {
  now_.program = ::program_invocation_short_name;
  now_.version = version;
  now_.pid = ::getpid();
  now_.schema = Format::schemaVersion;
}

void ReaderReport::stateIs(std::uint64_t generation, std::uint64_t resyncs,
                           std::uint64_t badRecords) {
  now_.generation = generation;
  now_.resyncs = resyncs;
  now_.badRecords = badRecords;
  // The timer bounds the writes, however many generations a second there are.
  if (now_ != told_) timer_.timeMinIs(std::max(notBefore_, Mav::asap));
}

void ReaderReport::look() {
  // Where it has no slot it looks for one each time: another reader may have gone.
  if (fd_ && identityAt(file_) == identityOf(fd_.get())) return;
  told_ = {};
  timer_.timeMinIs(std::max(notBefore_, Mav::asap));
}

void ReaderReport::takeSlot() {
  fd_ = openReaders(file_, O_RDWR);
  for (slot_ = 0; fd_ && slot_ < Readers::slotCount; ++slot_) {
    auto lock = lockOf(slot_);
    if (::fcntl(fd_.get(), F_OFD_SETLK, &lock) == 0) return;
  }
  fd_ = Mav::Descriptor();
}

void ReaderReport::write() {
  notBefore_ = Mav::now() + interval;
  // Nothing has been told yet, or not in this file (look()): a slot of it comes first.
  if (told_ == ReaderInfo{}) takeSlot();
  auto const slot = encode(now_);
  bool const isWritten =
      fd_ && ::pwrite(fd_.get(), &slot, sizeof slot, offsetOf(slot_)) == sizeof slot;
  // What is not written waits for the next look.
  if (isWritten) told_ = now_;
}

}  // namespace Pondo
