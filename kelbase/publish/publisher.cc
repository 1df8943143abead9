#include "kelbase/publish/publisher.h"

#include <algorithm>

#include <fmt/format.h>
#include <sys/epoll.h>

#include "kelbase/model/trace.h"

namespace Kelbase {
namespace {

bool isMissing(std::filesystem::path const& runDir) {
  std::error_code error;
  return !std::filesystem::exists(runDir, error) && !error;
}

}  // namespace

Publisher::Publisher(Mav::Activity& activity, std::filesystem::path runDir,
                     Pondo::Writer::Options writer, TableViews const& views, Hooks hooks)
    : runDir_(std::move(runDir)),
      hooks_(std::move(hooks)),
      views_(views),
      writer_(runDir_, std::move(writer)),
      activity_(activity),
      commit_(activity.clock(), [this] { publish(); }),
      service_(activity.clock(), [this] { service(); }) {
  // The first sign of life comes with the first turn, long before there is anything to write:
  // readers and operators see that somebody is at it.
  watchNotices();
  service_.timeMinIs(Mav::asap);
}

void Publisher::onSettled(double delay) {
  double const time = delay > 0.0 ? Mav::now() + delay : Mav::asap;
  if (time < commit_.timeMin()) commit_.timeMinIs(time);
}

void Publisher::publish() {
  if (!hooks_.isSettled()) return;  // it calls again
  try {
    write();
    // Whatever fails here leaves the tables as after the last commit, and service() has it tried
    // again within a second. Memory that runs out is not caught: it ends the process
    // (endWithoutMemory()).
  } catch (Pondo::EnvironmentException const& error) {
    onWriteFailure(error.what());
    // A transaction writes anew what it touches: to take something away, too, takes room first.
    if (error.reason() == Pondo::EnvironmentException::Reason::noSpace && shrinks_)
      writer_.giveUp();
  } catch (std::exception const& error) {
    onWriteFailure(error.what());  // whatever it was: the batch may have gone with it
  }
}

void Publisher::onWriteFailure(char const* what) {
  everything_ = true;  // what was not committed is forgotten
  writer_.abort();
  onFailure(what);
}

void Publisher::write() {
  if (everything_) {
    // The tables may be new ones; commitComplete() is an ordinary commit to those that are not.
    complete_ = false;
    writeAll();
  } else {
    views_.writeChanges(writer_);
  }
  // From here on the views remember what is left to be written.
  everything_ = false;
  if (views_.hasMore()) {
    // A part may be seen: what it refers to was written before it, and nothing has gone that is
    // referred to.
    writer_.commit();
    // The loop turns between two slices: notifications are read, and signals heard.
    commit_.timeMinIs(Mav::asap);
    return;
  }
  // What other records refer to goes when none does any more.
  views_.writeUnused(writer_);
  // Readers of new tables wait for the mark, and take nothing for gone before it.
  complete_ ? writer_.commit() : writer_.commitComplete();
  complete_ = true;
  shrinks_ = false;
  if (!failure_.empty())
    Mav::log(Mav::Severity::notice, fmt::format("{}: publishing again", runDir_.native()));
  failure_.clear();
  noteExact();
  hooks_.published();
}

bool Publisher::exact() const {
  // An armed commit_ is a change that is not written yet.
  return hooks_.isWhole() && !everything_ && !views_.hasMore() && commit_.timeMin() == Mav::never;
}

double Publisher::exactAge() const { return exact() ? 0.0 : Mav::now() - exactAt_; }

// After a write: what the kernel has said meanwhile waits for the next one, and takes nothing back.
void Publisher::noteExact() {
  if (!hooks_.isWhole()) return;
  exactAt_ = Mav::now();
  // Else the next second tells: a stream has a hundred commits in that time, and each sign of life
  // rewrites a file.
  if (!toldExact_) tell();
}

void Publisher::tell() {
  // To have nothing to write is as good as to have written.
  if (exact()) exactAt_ = Mav::now();
  // Infinite before the first time: readers then go by what the publisher before this one has told
  // (PublisherLock).
  double const age = Mav::now() - exactAt_;
  toldExact_ = age <= Pondo::exactWithin;
  writer_.tell({age, trouble(), counters()});
}

std::string Publisher::trouble() const {
  if (!failure_.empty()) return failure_;
  if (exact()) return {};
  return hooks_.isWhole() ? "writing what the kernel has told" : "reading the kernel's state";
}

Pondo::Counters Publisher::counters() const {
  auto counters = hooks_.counters();
  counters.emplace_back("writesFailed", failures_);
  counters.emplace_back("tablesMadeAnew", anew_);
  return counters;
}

void Publisher::writeAll() {
  std::size_t added = 0;
  std::size_t removed = 0;
  views_.writeAll(writer_, [&](TableView const& view, TableViews::Counts const& counts) {
    added += counts.added;
    removed += counts.removed;
    MAV_TRACE_AS(traceHandle(), 1, "writeAll",
                 view.name() << ": " << counts.added << " added, " << counts.changed << " changed, "
                             << counts.removed << " removed, " << counts.unchanged << " unchanged");
  });
  // More goes than comes: new tables would need less room than these (publish()).
  shrinks_ = removed > added;
}

void Publisher::watchNotices() {
  if (writer_.noticeFd() < 0) return;  // a look every second does
  notice_ = activity_.watch(writer_.noticeFd(), EPOLLIN, [this](std::uint32_t) { onNotice(); });
}

void Publisher::onNotice() {
  notice_ = {};  // stays readable until service()
  service_.timeMinIs(std::min(service_.timeMin(), Mav::now() + noticeDelay));
}

void Publisher::service() {
  // First: whatever is thrown below, the next second comes.
  service_.timeMinIs(Mav::now() + serviceInterval);
  serveWriter();
  tell();
}

void Publisher::serveWriter() {
  try {
    if (writer_.service()) {
      everything_ = true;
      ++anew_;
    }
    // Another has the run directory by now: two publishers would undo each other's work.
  } catch (Pondo::PublisherRunningException const& error) {
    return hooks_.lost(error.what());
  } catch (Pondo::EnvironmentException const& error) {
    if (cannotMakeRunDir(error)) return hooks_.lost(error.what());
    // It may have let go of the tables: all is written again once it has new ones.
    everything_ = true;
    return onFailure(error.what());
  }
  // The watch that onNotice() has dropped: the writer has read the notices by now.
  if (!notice_) watchNotices();
  if (everything_) commit_.timeMinIs(Mav::asap);
}

// As systemd makes it for a service that may not (RuntimeDirectory=), when it starts it.
bool Publisher::cannotMakeRunDir(Pondo::EnvironmentException const& error) const {
  using Reason = Pondo::EnvironmentException::Reason;
  bool const isRefused =
      error.reason() == Reason::denied || error.reason() == Reason::readOnlyMount;
  return isRefused && isMissing(runDir_);
}

void Publisher::onFailure(char const* what) {
  ++failures_;
  if (failure_.empty())
    Mav::log(Mav::Severity::error, fmt::format("{}; trying again every second", what));
  if (std::exchange(failure_, what) != what) hooks_.failed(failure_);
}

}  // namespace Kelbase
