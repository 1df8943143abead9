#include "platform/pondo/fib/shared_fib.h"

#include <array>
#include <memory>
#include <utility>

#include <absl/container/btree_map.h>

#include "platform/mav/exception.h"

namespace Pondo::Fib {
namespace {

constexpr std::array<TableId, 3> fibTables{TableId::route, TableId::route6, TableId::fec};

}  // namespace

/// Where reads go; shared with the entities, which may be there longer.
class SharedFib::Tables : public Mav::Object {
 public:
  /// Calls read(snapshot); ConsistencyException when there is nothing to read, or not now.
  template <class Read>
  auto read(Read const& read) const {
    try {
      return read(snapshot());
    } catch (EnvironmentException const& e) {
      fault_ = e.what();
    }
    throw ConsistencyException(fault_);
  }

  bool haveBeenShown() const { return shown_; }
  void shownIs(bool shown) { shown_ = shown; }
  void followerIs(Follower const* follower) { follower_ = follower; }

  /// Reads within `announce` go to `snapshot`. ConsistencyException when one of them failed.
  template <class Announce>
  void announceFrom(Snapshot const& snapshot, Announce const& announce) {
    // What a handler throws stays with its notifiee (notifiee.h). That a read failed is kept here,
    // so that the slice comes again.
    fault_.clear();
    announced_ = &snapshot;
    announce();  // notifying does not throw
    announced_ = nullptr;
    if (!fault_.empty()) throw ConsistencyException(fault_);
  }

 private:
  Snapshot const& snapshot() const {
    if (announced_) return *announced_;
    if (auto const* const now = follower_ ? follower_->snapshot() : nullptr) return *now;
    throw EnvironmentException("the shared tables cannot be read now",
                               EnvironmentException::Reason::absent);
  }

  Follower const* follower_ = nullptr;
  Snapshot const* announced_ = nullptr;
  bool shown_ = false;
  mutable std::string fault_;  // of the last read that failed
};

template <class Table>
class SharedFib::Routes : public BasicRouteStatus<typename Table::Key> {
  using Prefix = typename Table::Key;
  using Status = BasicRouteStatus<Prefix>;
  using NotifieeConst = typename Status::NotifieeConst;

 public:
  Routes(Mav::Name name, Mav::Ptr<Tables const> tables)
      : Status(std::move(name)), tables_(std::move(tables)) {}

  std::optional<Route> route(Prefix const& prefix) const override {
    // A comparison has the record in hand: a million routes are then taken in without a look into
    // the table for each notifiee.
    if (!announced_.record.empty() && announced_.prefix == prefix) {
      if (auto const route = Table::decodeRecord(announced_.record)) return route;
    }
    return tables_->read([&](Snapshot const& now) { return now.get<Table>(prefix); });
  }

  void forEachRoute(absl::FunctionRef<void(Prefix const&, Route const&)> visit) const override {
    // State machines that are made before the tables are open find nothing, and are told later.
    if (!tables_->haveBeenShown()) return;
    tables_->read([&](Snapshot const& now) { now.scan<Table>("", noLimit, visit); });
  }

  std::size_t routes() const override {
    return tables_->read([](Snapshot const& now) { return now.count(Table::id); });
  }

  void announce(Change const& change) {
    auto const prefix = Table::decodeKey(change.key);
    if (!prefix) return;  // a foreign key names nothing that could be filed
    // A view of the map, good as long as the slice's snapshot.
    announced_ = {*prefix, change.record};
    this->notifiees_.notify(Status::routeAttributeId,
                            [&](NotifieeConst& n) { n.onRoute(*prefix); });
    announced_ = {};
  }

  std::optional<std::string> filedKey(std::string_view from) const {
    auto const filed = filedRoute(PackedPrefix<Prefix>(from));
    if (!filed) return std::nullopt;
    return Table::encodeKey(*filed);
  }

 private:
  std::optional<Prefix> filedRoute(PackedPrefix<Prefix> const& from) const {
    std::optional<Prefix> least;
    this->notifiees_.notify(Status::routeAttributeId, [&](NotifieeConst const& n) {
      auto const filed = n.filedRoute(from);
      if (filed && (!least || *filed < *least)) least = filed;
    });
    return least;
  }

  // The one that is just announced, when its record is known: everyone looks at that.
  struct Announced {
    Prefix prefix;
    std::string_view record;
  };

  Mav::Ptr<Tables const> const tables_;
  Announced announced_;
};

class SharedFib::Fecs : public ForwardingStatus {
 public:
  explicit Fecs(Mav::Ptr<Tables const> tables)
      : ForwardingStatus("forwardingStatus"), tables_(std::move(tables)) {}

  Fec const* fec(FecId fecId) const override {
    if (!fecId) return nullptr;
    return tables_->read([&](Snapshot const& now) { return found(now, fecId); });
  }

  void announce(Change const& change) {
    auto const fecId = FecTable::decodeKey(change.key);
    if (!fecId) return;
    notifiees_.notify(fecAttributeId, [&](NotifieeConst& n) { n.onFec(*fecId); });
  }

 private:
  Fec const* found(Snapshot const& now, FecId fecId) const {
    // Generations of two instances have nothing to do with each other.
    Moment const moment{now.log().instance, now.generation()};
    // Many routes share a fec: it is decoded once a generation.
    if (moment != decodedAt_) decoded_.clear();
    decodedAt_ = moment;
    if (auto const known = decoded_.find(fecId); known != decoded_.end())
      return known->second.get();
    // Read first, remembered then: a read that fails says nothing of the fec. One that is missing
    // is remembered as that.
    auto read = now.get<FecTable>(fecId);
    auto fec = read ? std::make_unique<Fec const>(std::move(*read)) : nullptr;
    return decoded_.emplace(fecId, std::move(fec)).first->second.get();
  }

  struct Moment {
    std::uint64_t instance = 0;
    std::uint64_t generation = 0;
    bool operator==(Moment const&) const = default;
  };

  Mav::Ptr<Tables const> const tables_;
  mutable Moment decodedAt_;
  // By pointers: who asked may hold one fec while others are decoded, and a b-tree moves its
  // values.
  mutable absl::btree_map<FecId, std::unique_ptr<Fec const>> decoded_;  // null: there is none
};

SharedFib::SharedFib()
    : sharedTables_(Mav::makeObject<Tables>()),
      routes_(Mav::makeObject<Routes<RouteTable>>("routeStatus", sharedTables_)),
      routes6_(Mav::makeObject<Routes<Route6Table>>("route6Status", sharedTables_)),
      fecs_(Mav::makeObject<Fecs>(sharedTables_)) {}

// The entities may live on: their reads throw from here on, and reach no follower that has gone.
SharedFib::~SharedFib() { followerIs(nullptr); }

Mav::Ptr<RouteStatus const> SharedFib::routeStatus() const { return routes_; }

Mav::Ptr<Route6Status const> SharedFib::route6Status() const { return routes6_; }

Mav::Ptr<ForwardingStatus const> SharedFib::forwardingStatus() const { return fecs_; }

void SharedFib::followerIs(Follower const* follower) { sharedTables_->followerIs(follower); }

std::span<TableId const> SharedFib::tables() const { return fibTables; }

void SharedFib::onChanges(Snapshot const& snapshot, std::span<Change const> changes) {
  sharedTables_->shownIs(true);
  sharedTables_->announceFrom(snapshot, [&] {
    for (auto const& change : changes) {
      if (change.table == TableId::route) routes_->announce(change);
      if (change.table == TableId::route6) routes6_->announce(change);
      // A comparison announces all routes, and whoever looks at one looks at its fec.
      bool const isCompared = !change.record.empty();
      if (change.table == TableId::fec && !isCompared) fecs_->announce(change);
    }
  });
}

std::optional<std::string> SharedFib::filedKey(TableId table, std::string_view from) const {
  if (table == TableId::route) return routes_->filedKey(from);
  if (table == TableId::route6) return routes6_->filedKey(from);
  return std::nullopt;
}

// Tables without a record become known without a slice.
void SharedFib::onInSync() { sharedTables_->shownIs(true); }

}  // namespace Pondo::Fib
