#pragma once
// How the served state is kept, as a manager sees it: whether the publisher lives, how old the
// state is that it has written, what it has counted, and how many records the shared tables hold.
// Mounted at "snmp/kelbase/health".
//
// Holds the last sample, and takes another one from its source when it is asked for one that is
// older than half a second: what one request reads is of one sample. The source is the wiring's
// (plugin/health_source.h); while there is none, the last sample stays. Read by handlers, on the
// agent's thread. No notifications.

#include <array>
#include <cstdint>
#include <functional>

#include "platform/mav/entity.h"
#include "platform/mav/enumeration.h"
#include "platform/mav/ordered_map.h"

namespace IpSnmp {

/// The shared tables, numbered as their format numbers them (platform/pondo/tables/tables.h). A
/// second list of them, because the model knows nothing of the tables (plugin/health_source.cc
/// holds the two together).
MAV_ENUM(SharedTable, (sharedTableForwarding, 1), (sharedTableLink, 2), (sharedTableAddress4, 3),
         (sharedTableAddress6, 4), (sharedTableNeighbour4, 5), (sharedTableRoute, 6),
         (sharedTableFec, 7), (sharedTableRoute6, 8), (sharedTableNeighbour, 9))

struct HealthData {
  static constexpr std::uint32_t ageUnknown = 0xFFFF'FFFF;

  bool publisherAlive = false;     // it runs, and says so
  double publisherUpTime = 0;      // seconds since it was started; 0 when it does not run
  std::uint32_t age = ageUnknown;  // whole seconds since the tables were last known to be exact
  bool agentInSync = false;        // the agent has filed what the tables hold, and follows them
  // The counts stay at their last values while what tells them cannot be read.
  std::uint64_t generation = 0;  // of the tables, one more for each commit
  std::uint64_t overruns = 0;    // as the publisher counts since its start
  std::uint64_t dumps = 0;
  std::uint64_t rejected = 0;
  // By the places of the enumerators, not by their numbers, which begin with 1.
  std::array<std::uint64_t, std::size(SharedTableEnumerators)> records{};  // in their order
};

class Health : public Mav::Entity {
 public:
  static constexpr std::string_view path = "snmp/kelbase/health";
  /// A sample this old (seconds) is still told; an older one is not. In between, any number of
  /// managers cost one read of the publisher's file.
  static constexpr double freshness = 0.5;

  /// Changes in the last sample what it can tell anew. Called from inside a request: it must not
  /// wait for anybody.
  using Source = std::function<void(HealthData&)>;
  using Records = Mav::OrderedMap<SharedTable, std::uint64_t>;

  /// With a record count of 0 for each table: the rows are there before anything is known.
  explicit Health(Mav::Name name);

  /// Null: nobody can tell any more.
  void sourceIs(Source source);
  /// Of the last sample, or of a new one. What it shows may change with the next question.
  HealthData const& data() const;
  /// How many records each table holds.
  Records const& records() const;

 private:
  void freshen() const;

  Source source_;
  // A cache: reading is const to who asks.
  mutable HealthData data_;
  mutable Records records_;
  mutable double takenAt_;
};

}  // namespace IpSnmp
