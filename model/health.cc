#include "model/health.h"

#include <utility>

#include "platform/mav/time.h"

namespace IpSnmp {

Health::Health(Mav::Name name) : Entity(std::move(name)), takenAt_(-Mav::never) {
  // The rows of brivetKelbaseRecordsTable stand from the start on, whatever is known.
  for (auto const& table : SharedTableEnumerators) {
    records_.put(static_cast<SharedTable>(table.value), 0);
  }
}

void Health::sourceIs(Source source) {
  source_ = std::move(source);
  // The last sample was another source's.
  takenAt_ = -Mav::never;
}

HealthData const& Health::data() const {
  freshen();
  return data_;
}

Health::Records const& Health::records() const {
  freshen();
  return records_;
}

void Health::freshen() const {
  // A source that throws leaves the time as it was: the next question asks it again.
  if (!source_ || Mav::now() - takenAt_ <= freshness) return;
  source_(data_);
  takenAt_ = Mav::now();
  // put() overwrites: the keys stay, so that an iterator of a walk under way takes its next step
  // without a search.
  for (std::size_t i = 0; i < data_.records.size(); ++i) {
    records_.put(static_cast<SharedTable>(SharedTableEnumerators[i].value), data_.records[i]);
  }
}

}  // namespace IpSnmp
