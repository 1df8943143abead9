#include "kelbase/publish/publisher.h"

#include <algorithm>

#include <fmt/format.h>
#include <sys/epoll.h>

#include "kelbase/model/trace.h"
#include "kelbase/publish/address_source.h"
#include "kelbase/publish/forwarding_source.h"
#include "kelbase/publish/link_source.h"
#include "kelbase/publish/route_source.h"

namespace Kelbase {

/// One source a kind of table, in the order in which readers are to hear of what comes.
Publisher::Sources Publisher::makeSources() {
  Sources sources;
  auto links = std::make_unique<LinkSource>();
  LinkNames& names = *links;
  sources.push_back(std::move(links));
  sources.push_back(std::make_unique<ForwardingSource>());
  sources.push_back(std::make_unique<Address4Source>(names));
  sources.push_back(std::make_unique<Address6Source>(names));
  auto nexthops = std::make_unique<NexthopSource>(names);
  auto routes = std::make_unique<RouteSource>(*nexthops);
  sources.push_back(std::move(nexthops));
  sources.push_back(std::move(routes));
  return sources;
}

std::vector<TableSource*> Publisher::pointers(Sources const& sources) {
  std::vector<TableSource*> result;
  for (auto const& source : sources) result.push_back(source.get());
  return result;
}

Publisher::Publisher(Mav::Activity& activity, Options const& options, Hooks hooks)
    : runDir_(options.runDir),
      hooks_(std::move(hooks)),
      sources_(makeSources()),
      writer_(runDir_, options.writer),
      feed_(activity, pointers(sources_), options.feed, [this] { commit_.timeMinIs(Mav::asap); }),
      activity_(activity),
      commit_(activity.clock(), [this] { publish(); }),
      service_(activity.clock(), [this] { service(); }) {
  watchNotices();
  service_.timeMinIs(Mav::now() + serviceInterval);
}

std::string Publisher::summary() const {
  std::string result;
  for (auto const& source : sources_) {
    if (!result.empty()) result += ", ";
    result += source->summary();
  }
  return result;
}

void Publisher::publish() {
  if (!feed_.settled()) return;  // it calls again
  try {
    write();
  } catch (Mav::Exception const& error) {
    everything_ = true;  // what was not committed is forgotten
    writer_.abort();
    onFailure(error.what());
  }
}

void Publisher::write() {
  if (everything_) {
    complete_ = false;
    writeAll();
  } else {
    writeChanges();
  }
  everything_ = false;
  if (hasMore()) {
    writer_.commit();
    commit_.timeMinIs(Mav::asap);
    return;
  }
  for (auto const& source : sources_) source->writeUnused(writer_);
  complete_ ? writer_.commit() : writer_.commitComplete();
  complete_ = true;
  published_ = true;
  if (failing_)
    Mav::log(Mav::Severity::notice, fmt::format("{}: publishing again", runDir_.native()));
  failing_ = false;
  hooks_.published();
}

bool Publisher::exact() const {
  return feed_.exact() && !everything_ && !hasMore() && commit_.timeMin() == Mav::never;
}

bool Publisher::hasMore() const {
  return std::any_of(sources_.begin(), sources_.end(),
                     [](auto const& source) { return source->hasMore(); });
}

// What hangs on a link goes before it, and comes after it.
void Publisher::writeChanges() {
  for (auto source = sources_.rbegin(); source != sources_.rend(); ++source) {
    (*source)->writeRemovals(writer_);
  }
  for (auto const& source : sources_) source->writeRest(writer_);
}

void Publisher::writeAll() {
  for (auto const& source : sources_) {
    auto const counts = source->writeAll(writer_);
    MAV_TRACE(traceHandle(), 1,
              source->name() << ": " << counts.added << " added, " << counts.changed << " changed, "
                             << counts.removed << " removed, " << counts.unchanged << " unchanged");
  }
}

void Publisher::watchNotices() {
  notice_ = activity_.watch(writer_.noticeFd(), EPOLLIN, [this](std::uint32_t) { onNotice(); });
}

void Publisher::onNotice() {
  notice_ = {};  // stays readable until service()
  service_.timeMinIs(std::min(service_.timeMin(), Mav::now() + noticeDelay));
}

void Publisher::service() {
  service_.timeMinIs(Mav::now() + serviceInterval);
  try {
    if (writer_.service()) everything_ = true;
  } catch (Pondo::PublisherRunningException const& error) {
    return hooks_.lost(error.what());
  } catch (Pondo::EnvironmentException const& error) {
    everything_ = true;
    return onFailure(error.what());
  }
  if (!notice_) watchNotices();
  if (everything_) commit_.timeMinIs(Mav::asap);
}

void Publisher::onFailure(char const* what) {
  if (!failing_) Mav::log(Mav::Severity::error, fmt::format("{}; trying again every second", what));
  failing_ = true;
}

}  // namespace Kelbase
