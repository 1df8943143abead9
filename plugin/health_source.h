#pragma once
// What IpSnmp::Health tells, from where it stands: the publisher's own words in
// RUNDIR/publisher.lock (once a second it writes there), the tables by the follower's snapshot, and
// the follower itself. A sample is one read of that small file and a handful of looks into shared
// memory; it waits for nobody. What cannot be read now stays as it was told last, but for the
// publisher: without its file there is none.

#include <filesystem>
#include <optional>

#include "model/health.h"
#include "platform/pondo/environment/run_dir.h"
#include "platform/pondo/follower/follower.h"

namespace OvoSnmp {

class HealthSource {
 public:
  /// `follower` must outlive this.
  HealthSource(std::filesystem::path runDir, Pondo::Follower const& follower);

  /// Takes a sample into `data`. IpSnmp::Health calls it on snmpd's thread, when a handler asks and
  /// the last sample is too old.
  void operator()(IpSnmp::HealthData& data);

 private:
  // The two halves of a sample: each leaves what the other tells alone, and a failure of one does
  // not keep the other from being told.
  void tellPublisher(IpSnmp::HealthData& data);
  void tellTables(IpSnmp::HealthData& data) const;

  std::filesystem::path const runDir_;
  Pondo::Follower const& follower_;
  std::optional<Pondo::PublisherInfo> publisher_;  // as it was last seen
};

}  // namespace OvoSnmp
