#include "platform/pondo/environment/publisher_lock.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include "platform/pondo/environment/lmdb_handles.h"
#include "platform/pondo/environment/run_dir.h"
#include "platform/pondo/environment/table_files.h"
#include "platform/pondo/tables/format.h"

namespace Pondo {
namespace {

Mav::Descriptor openLockFile(std::filesystem::path const& file) {
  // Without O_TRUNC: the predecessor's words are read before they are written over, by this process
  // (predecessorFailed) and by readers.
  Mav::Descriptor fd(
      ::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0640));
  if (!fd) throwNotMine(errno, file, "open");
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0) throwCode(errno, file, "open");
  if (S_ISREG(status.st_mode)) return fd;
  throw EnvironmentException(file.string() + ": not a regular file; remove it",
                             EnvironmentException::Reason::foreign);
}

[[noreturn]] void throwRunning(std::filesystem::path const& runDir) {
  auto const other = publisherInfo(runDir).value_or(PublisherInfo{});
  throw PublisherRunningException(
      fmt::format("{}: {} (pid {}) publishes here already; stop it or choose another run directory",
                  runDir.string(), other.name.empty() ? "another program" : other.name, other.pid));
}

std::string oneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' '; }, '?');
  return text;
}

}  // namespace

PublisherLock::PublisherLock(std::filesystem::path const& runDir, Publisher const& publisher,
                             std::optional<gid_t> group)
    : file_(runDir / Format::publisherLockFile) {
  do {
    // A lock of an open file description, not of the process: readers test it, and close the file.
    // Again when the file was deleted between open and lock: that lock would exclude nobody.
    fd_ = openLockFile(file_);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    // To the condition, which asks whether this is still the file at the path.
    if (::fcntl(fd_.get(), F_OFD_SETLK, &lock) == 0) continue;
    // Either may say that another process holds the lock (fcntl(2)).
    if (errno == EAGAIN || errno == EACCES) throwRunning(file_.parent_path());
    throwCode(errno, file_, "lock");
  } while (!atPath());
  // After the lock: a process that is refused leaves the other's file as it is.
  ownershipIs(file_, 0640, group);
  // The predecessor's word counts until this process has one of its own.
  if (auto const before = publisherInfo(runDir)) {
    if (before->exactAt.value_or(0) > 0) exactAt_ = *before->exactAt - machineStart();
    predecessorFailed_ = before->opening;
  }
  // From the first word on: one that hangs before its first sign of life has not made the tables
  // exact, and each of many that die at their start would make the state young.
  if (publisher.isOfKernel) told_ = exactLine() + "trouble=opening the tables\n";
  // Texts are cut: readers take the file's first 4096 octets alone (run_dir.cc), and the counters
  // stand last.
  head_ = fmt::format("pid={}\nstarted={:.3f}\nname={:.900}\n", ::getpid(), sinceMachineStart(),
                      oneLine(publisher.name));
  if (!publisher.version.empty()) head_ += fmt::format("version={:.60}\n", publisher.version);
  if (!write(text())) throwCode(errno, file_, "write");
}

PublisherLock::~PublisherLock() {
  if (!isOpening_) return;
  try {
    opened();      // it has failed, and not died
  } catch (...) {  // the next one takes new tables
  }
}

void PublisherLock::opened() {
  // The file tells it at once, and not with the next sign of life: who is killed in between would
  // seem to have died of its tables.
  if (std::exchange(isOpening_, false)) write(text());
}

std::string PublisherLock::text() const {
  return fmt::format("{}{}seen={:.3f}\n{}", head_, isOpening_ ? "opening=1\n" : "",
                     sinceMachineStart(), told_);
}

std::string PublisherLock::exactLine() const { return fmt::format("exact={:.3f}\n", exactAt_); }

bool PublisherLock::write(std::string const& text) const {
  // Over the old text, and cut behind it: no reader ever finds the file empty.
  return ::pwrite(fd_.get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) &&
         ::ftruncate(fd_.get(), static_cast<off_t>(text.size())) == 0;
}

bool PublisherLock::tell(SignOfLife const& sign) {
  // Where exact tables come after a gap that readers have told their operator of, the writer rings:
  // there may be nothing to commit, and such a reader looks again at each ring (follower.cc).
  double const before = exactAt_;
  bool const isExact = std::isfinite(sign.exactAge);
  if (isExact) exactAt_ = sinceMachineStart() - sign.exactAge;
  told_ = exactLine();
  if (!sign.trouble.empty()) told_ += fmt::format("trouble={:.500}\n", oneLine(sign.trouble));
  for (auto const& [name, count] : sign.counters)
    told_ += fmt::format("counter.{}={}\n", name, count);
  write(text());
  bool const isFirst = isExact && !std::exchange(hasBeenExact_, true);
  return isFirst || exactAt_ - before > exactWithin;
}

bool PublisherLock::atPath() const { return identityAt(file_) == identityOf(fd_.get()); }

}  // namespace Pondo
