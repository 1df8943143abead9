#include "plugin/health_source.h"

#include <algorithm>
#include <utility>

#include "platform/pondo/environment/errors.h"
#include "platform/pondo/environment/reader.h"

namespace OvoSnmp {

namespace {

using Pondo::Keeping;

// The model and the handlers know nothing of Pondo, and number its tables for themselves: the two
// lists have to agree.
static_assert(static_cast<int>(Pondo::TableId::forwarding) == IpSnmp::sharedTableForwarding);
static_assert(static_cast<int>(Pondo::TableId::link) == IpSnmp::sharedTableLink);
static_assert(static_cast<int>(Pondo::TableId::address4) == IpSnmp::sharedTableAddress4);
static_assert(static_cast<int>(Pondo::TableId::address6) == IpSnmp::sharedTableAddress6);
static_assert(static_cast<int>(Pondo::TableId::neighbour4) == IpSnmp::sharedTableNeighbour4);
static_assert(static_cast<int>(Pondo::TableId::route) == IpSnmp::sharedTableRoute);
static_assert(static_cast<int>(Pondo::TableId::fec) == IpSnmp::sharedTableFec);
static_assert(static_cast<int>(Pondo::TableId::route6) == IpSnmp::sharedTableRoute6);
static_assert(static_cast<int>(Pondo::TableId::neighbour) == IpSnmp::sharedTableNeighbour);

std::uint64_t countOf(Pondo::Counters const& counters, std::string_view name) {
  auto const found = std::find_if(counters.begin(), counters.end(),
                                  [name](auto const& counter) { return counter.first == name; });
  return found == counters.end() ? 0 : found->second;
}

std::optional<Pondo::PublisherInfo> readPublisher(std::filesystem::path const& runDir) {
  try {
    return Pondo::publisherInfo(runDir);
  } catch (Pondo::EnvironmentException const&) {
    return std::nullopt;  // the follower tells it in the log
  }
}

}  // namespace

HealthSource::HealthSource(std::filesystem::path runDir, Pondo::Follower const& follower)
    : runDir_(std::move(runDir)), follower_(follower) {}

void HealthSource::operator()(IpSnmp::HealthData& data) {
  tellPublisher(data);
  data.agentInSync = follower_.state() == Pondo::Follower::State::following;
  tellTables(data);
}

void HealthSource::tellPublisher(IpSnmp::HealthData& data) {
  if (auto read = readPublisher(runDir_)) {
    publisher_ = std::move(read);
  } else if (publisher_) {
    publisher_->alive = false;  // its file has gone; what it said of the state holds
  }
  if (!publisher_) return;
  double const now = Pondo::secondsSinceEpoch();
  // One that is behind lives all the same: it runs, and says so.
  auto const keeping = publisher_->keeping(now);
  data.publisherAlive = keeping != Keeping::gone && keeping != Keeping::still;
  // The clock of the day may have been set back since then.
  data.publisherUpTime = data.publisherAlive ? std::max(0.0, now - publisher_->startedAt) : 0;
  // Bounded: the file is outside data, and what it comes to must fit the type.
  double const age = publisher_->age(now);
  data.age = static_cast<std::uint32_t>(std::min(age, double{IpSnmp::HealthData::ageUnknown}));
  // By the names that the publisher gives them (kelbase): one that it does not have is 0.
  data.overruns = countOf(publisher_->counters, "overruns");
  data.dumps = countOf(publisher_->counters, "dumps");
  data.rejected = countOf(publisher_->counters, "messagesRejected");
}

void HealthSource::tellTables(IpSnmp::HealthData& data) const {
  try {
    auto const* const snapshot = follower_.snapshot();
    if (!snapshot) return;
    data.generation = snapshot->generation();
    for (std::size_t i = 0; i < data.records.size(); ++i) {
      auto const table = static_cast<Pondo::TableId>(IpSnmp::SharedTableEnumerators[i].value);
      data.records[i] = snapshot->count(table);
    }
  } catch (Pondo::EnvironmentException const&) {
    data.agentInSync = false;  // the follower's next turn meets it too
  }
}

}  // namespace OvoSnmp
