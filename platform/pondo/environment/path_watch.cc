#include "platform/pondo/environment/path_watch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "platform/mav/trace_handle.h"
#include "platform/pondo/tables/format.h"

namespace Pondo {
namespace {

constexpr std::uint32_t gone = IN_DELETE_SELF | IN_MOVE_SELF;
// IN_ATTRIB: after a chmod(2) this process may open what it could not.
constexpr std::uint32_t names =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB | IN_ONLYDIR;

}  // namespace

Mav::Descriptor openInotify(std::filesystem::path const& runDir) {
  Mav::Descriptor inotify(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (inotify) return inotify;
  int const code = errno;
  // EMFILE tells of either limit (inotify_init(2)).
  bool const isOutOfFiles = code == EMFILE && !Mav::Descriptor(::open("/", O_PATH | O_CLOEXEC));
  char const* const advice = isOutOfFiles ? "raise the open files limit (ulimit -n)"
                                          : "raise fs.inotify.max_user_instances";
  Mav::log(Mav::Severity::warning,
           fmt::format("{}: cannot be watched: {}; {}; changes are seen with a delay of some "
                       "seconds",
                       runDir.string(), std::strerror(code), advice));
  return inotify;
}

PathWatch::PathWatch(std::filesystem::path runDir)
    : runDir_(std::move(runDir)), inotify_(openInotify(runDir_)) {}

bool PathWatch::add(std::filesystem::path const& path, std::uint32_t events, Watched watched) {
  watched.descriptor = ::inotify_add_watch(inotify_.get(), path.c_str(), events);
  if (watched.descriptor >= 0) {
    watched_.push_back(std::move(watched));
    return true;
  }
  // Any other failure is the path's own, absent or out of reach: an ancestor is watched for its
  // end.
  if (errno == ENOSPC && !std::exchange(complained_, true)) {
    Mav::log(Mav::Severity::warning,
             path.string() +
                 ": cannot be watched; raise fs.inotify.max_user_watches; changes are seen with "
                 "a delay of some seconds");
  }
  return false;
}

void PathWatch::arm() {
  if (!inotify_) return;
  auto old = std::exchange(watched_, {});
  // A second inotify_add_watch of the same file yields the same descriptor and loses no event.
  // A path that comes and goes all the time is left to the slow look after some attempts.
  for (int attempts = 8; attempts > 0; --attempts) {
    if (watchTables() || !watchAncestor()) break;
    old.insert(old.end(), watched_.begin(), watched_.end());
    watched_.clear();
  }
  // Last: a watch that is removed and set again loses what happens in between.
  for (auto const& watched : old) {
    bool const again = std::any_of(watched_.begin(), watched_.end(), [&](Watched const& w) {
      return w.descriptor == watched.descriptor;
    });
    if (!again) ::inotify_rm_watch(inotify_.get(), watched.descriptor);
  }
}

bool PathWatch::watchTables() {
  auto const tables = runDir_ / Format::tablesDirectory;
  if (!add(tables, names | gone, {})) return false;
  add(tables / Format::doorbellFile, IN_MODIFY, {.doorbell = true});
  // The names in the run directory, and IN_ATTRIB, would ring with every sign of the publisher's
  // life.
  add(runDir_, gone | IN_ONLYDIR, {});
  return true;
}

bool PathWatch::watchAncestor() {
  auto path = runDir_ / Format::tablesDirectory;
  for (; path.has_relative_path(); path = path.parent_path()) {
    if (add(path.parent_path(), names | gone, {.onlyName = path.filename().string()})) {
      // It has come in the meantime, before its parent was watched, and rang nobody: arm() begins
      // again.
      return add(path, names | gone, {});
    }
  }
  return false;
}

PathWatch::Events PathWatch::take() {
  Events events;
  alignas(inotify_event) std::array<char, 16'384> buffer{};
  for (;;) {
    // Until nothing is left: the descriptor does not block (IN_NONBLOCK).
    auto const got = ::read(inotify_.get(), buffer.data(), buffer.size());
    if (got <= 0) return events;
    for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
      inotify_event event{};
      // The kernel pads the name with NULs (inotify(7)), and its length counts them.
      std::memcpy(&event, buffer.data() + at, sizeof event);
      std::string_view name(buffer.data() + at + sizeof event, event.len);
      note(event, name.substr(0, name.find('\0')), events);
      at += sizeof event + event.len;
    }
  }
}

void PathWatch::note(inotify_event const& event, std::string_view name, Events& events) const {
  // The kernel has dropped events (inotify(7)): anything may have happened.
  if ((event.mask & IN_Q_OVERFLOW) != 0) events = {.rang = true, .pathChanged = true};
  for (auto const& watched : watched_) {
    if (watched.descriptor != event.wd) continue;
    if ((event.mask & IN_MODIFY) != 0) {
      events.rang = events.rang || watched.doorbell;
    } else if (name.empty() || watched.onlyName.empty() || name == watched.onlyName) {
      // An event without a name is of what is watched itself.
      events.pathChanged = true;
    }
  }
}

}  // namespace Pondo
