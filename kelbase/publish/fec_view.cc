#include "kelbase/publish/fec_view.h"

#include <algorithm>
#include <span>

#include <absl/container/flat_hash_map.h>
#include <fmt/format.h>

#include "kelbase/model/trace.h"
#include "platform/mav/time.h"

namespace Kelbase {

using Pondo::Fib::Fec;
using Pondo::Fib::FecId;

namespace {

/// Fecs written between two looks at the clock.
constexpr std::size_t setsALook = 16;

/// As many as a record has room for.
std::span<NextHop const> fitting(std::vector<NextHop> const& hops) {
  return std::span(hops).first(std::min(hops.size(), Pondo::Fib::viasMax));
}

}  // namespace

FecView::FecView(Links const& links, Nexthops const& nexthops, NextHopSets& sets)
    : links_(links), nexthops_(nexthops), sets_(sets) {
  sets.observerIs(*this);
}

FecView::Shown& FecView::shown(Handle handle) {
  if (handle >= shown_.size()) shown_.resize(handle + 1);
  return shown_[handle];
}

void FecView::onSet(Handle handle) {
  if (!std::exchange(shown(handle).isDirty, true)) dirty_.push_back(handle);
}

void FecView::onSetUnused(Handle handle) {
  if (!std::exchange(shown(handle).isUnused, true)) unused_.push_back(handle);
}

bool FecView::isPublished(Handle handle) const {
  return sets_.isUsed(handle) && way(handle) == Way::forward;
}

/// An id stays as long as its set: rows of routes refer to it.
void FecView::drawId(Handle handle) {
  auto const object = sets_.objectOf(handle);
  if (shown(handle).fecId == 0) shown(handle).fecId = object != 0 ? object : fecNext_++;
}

void FecView::cutIs(Shown& shown, std::size_t hops) {
  bool const isCut = hops > Pondo::Fib::viasMax;
  if (std::exchange(shown.isCut, isCut) == isCut) return;
  isCut ? ++cut_ : --cut_;
  // One line for all of them: where there is one such set there may be many.
  if (!isCut || std::exchange(isCutTold_, true)) return;
  Mav::log(Mav::Severity::warning,
           fmt::format("a set of {} next hops: the first {} of such sets are published", hops,
                       Pondo::Fib::viasMax));
}

/// What leads nowhere that can be named yet is left out.
Fec FecView::fecOf(Handle handle) {
  auto const hops = sets_.hopsOf(handle);
  cutIs(shown(handle), hops.size());
  Fec fec;
  for (auto const& hop : fitting(hops)) {
    auto const name = links_.linkName(hop.ifIndex);
    // The writer refuses a via of neither (fib_codec.cc), and everything would be written again.
    if (!name && !hop.hasGateway()) continue;
    fec.vias.push_back({.nextHop = hop.nextHop,
                        .intfId = name.value_or(Dovel::IntfId()),
                        .ifIndex = name ? hop.ifIndex : 0,
                        .nextHop6 = hop.nextHop6,
                        .routeType = hop.routeType});
  }
  return fec;
}

void FecView::wayIs(Handle handle, Way way) {
  Shown& one = shown(handle);
  bool const isNew = !std::exchange(one.isSettled, true);
  if (std::exchange(one.way, way) == way) return;
  // Of a set that is new here the routes are written after it anyway, by their own change.
  if (!isNew) {
    for (auto* turned : turned_) turned->push_back(handle);
  }
  // Its fec goes once no route refers to it, which writeUnused() is called for.
  if (way != Way::forward) onSetUnused(handle);
}

/// A set whose object is not known (any more) stays what it was: its routes go with the object.
bool FecView::writeFec(Pondo::Writer& writer, Handle handle) {
  // Its routes are gone: what to do with the fec is writeUnused()'s business.
  if (!sets_.isUsed(handle)) return false;
  // The kernel removes an object before its routes, and those in silence: until the dump that tells
  // so, their rows keep what they had.
  if (!sets_.isKnown(handle)) {
    wayIs(handle, shown(handle).way);
    return false;
  }
  auto const fec = fecOf(handle);
  bool const isBlackhole = sets_.isBlackhole(handle);
  if (isBlackhole || fec.vias.empty()) {
    wayIs(handle, isBlackhole ? Way::discard : Way::unknown);
    return false;
  }
  drawId(handle);
  wayIs(handle, Way::forward);
  // A million routes may refer to it: with this one record all of them lead elsewhere.
  return writer.put<Pondo::FecTable>(fecId(handle), fec);
}

void FecView::writeRest(Pondo::Writer& writer) {
  double const end = Mav::now() + sliceTime;
  for (std::size_t written = 1; !dirty_.empty(); ++written) {
    Handle const handle = dirty_.front();
    dirty_.pop_front();
    // One whose set was forgotten meanwhile is not dirty any more; one that was drawn again may
    // stand in the queue twice.
    if (std::exchange(shown(handle).isDirty, false)) writeFec(writer, handle);
    // What is left stays in dirty_, and no route is written before it (RouteView::writeRest).
    if (written % setsALook == 0 && Mav::now() > end) return;
  }
}

/// Finds the sets whose fecs an earlier publisher wrote, by what the kernel goes by: a name that
/// changed meanwhile rewrites one fec, not its routes. An id that a set has is no other's. Returns
/// the ids that the table holds.
FecView::FecIds FecView::adopt(Pondo::Writer& writer) {
  FecIds owned;
  absl::flat_hash_map<std::vector<NextHop>, Handle> orphans;
  sets_.forEach([&](Handle handle) {
    if (shown(handle).fecId != 0) {
      owned.insert(shown(handle).fecId);
    } else if (sets_.objectOf(handle) == 0) {
      // That of an object needs no search: its id is the object's own.
      auto const hops = sets_.hopsOf(handle);
      auto const shownHops = fitting(hops);
      orphans.try_emplace(std::vector(shownHops.begin(), shownHops.end()), handle);
    }
  });
  FecIds present;
  writer.scan<Pondo::FecTable>([&](FecId id, Fec const& fec) {
    present.insert(id.value());
    // Beyond all that are there: until it is written again, the row of a route may refer to any of
    // them.
    fecNext_ = std::max(fecNext_, id.value() + 1);
    if (id.value() < inlineFecMin || owned.contains(id.value())) return;
    std::vector<NextHop> hops;
    for (auto const& via : fec.vias) {
      hops.push_back({via.nextHop, via.ifIndex, via.nextHop6, via.routeType});
    }
    // A new id for a set that has one in the table would write every route through it again, and
    // have every reader look at them.
    auto const orphan = orphans.find(hops);
    if (orphan == orphans.end()) return;
    shown(orphan->second).fecId = id.value();
    orphans.erase(orphan);
  });
  return present;
}

Pondo::Writer::SyncCounts FecView::writeAll(Pondo::Writer& writer) {
  // First: writeFec() draws ids for the sets that found none.
  superfluous_ = adopt(writer);
  Pondo::Writer::SyncCounts counts;
  sets_.forEach([&](Handle handle) {
    bool const changed = writeFec(writer, handle);
    if (!isPublished(handle)) return onSetUnused(handle);
    bool const wasThere = superfluous_.erase(shown(handle).fecId) != 0;
    ++(!wasThere ? counts.added : (changed ? counts.changed : counts.unchanged));
  });
  // All were written above, in whatever order they were marked.
  for (auto const handle : dirty_) shown(handle).isDirty = false;
  dirty_.clear();
  // They go in writeUnused(), when no row of a route names them any more.
  counts.removed = superfluous_.size();
  return counts;
}

void FecView::writeUnused(Pondo::Writer& writer) {
  // Turns may have passed since writeAll(): an object that has come meanwhile may have such an id.
  if (!superfluous_.empty()) {
    sets_.forEach([&](Handle handle) {
      if (isPublished(handle)) superfluous_.erase(shown(handle).fecId);
    });
    for (auto const id : superfluous_) writer.erase<Pondo::FecTable>(FecId(id));
    superfluous_.clear();
  }
  for (; !unused_.empty(); unused_.pop_back()) {
    Handle const handle = unused_.back();
    Shown& one = shown(handle);
    if (!isPublished(handle) && one.fecId != 0) writer.erase<Pondo::FecTable>(fecId(handle));
    one.isUnused = false;
    // It may be used and have no fec: its routes say by their type what becomes of packets.
    if (sets_.isUsed(handle)) continue;
    // A set that is forgotten is not counted among those that are cut.
    cutIs(one, 0);
    one = {};
    sets_.forget(handle);
  }
}

std::string FecView::summary() const {
  auto text = fmt::format("{}, {} next-hop set{}", nexthops_.summary(), sets_.size(),
                          sets_.size() == 1 ? "" : "s");
  if (cut_ > 0) text += fmt::format(" ({} cut to {} next hops)", cut_, Pondo::Fib::viasMax);
  return text;
}

}  // namespace Kelbase
