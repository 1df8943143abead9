#include "platform/pondo/fib/fec_route_list.h"

#include <iterator>

#include "platform/mav/exception.h"

namespace Pondo::Fib {

template <class Prefix>
BasicFecRouteList<Prefix>::Slot::Slot(std::size_t place) {
  if (place >= fecsMax) throw Mav::RangeException("too many fecs are in use: 16777216 are allowed");
  octets_ = {static_cast<std::uint8_t>(place), static_cast<std::uint8_t>(place >> 8U),
             static_cast<std::uint8_t>(place >> 16U)};
}

template <class Prefix>
BasicFecRouteList<Prefix>::Slot::operator std::size_t() const {
  return octets_[0] | std::size_t{octets_[1]} << 8U | std::size_t{octets_[2]} << 16U;
}

template <class Prefix>
auto BasicFecRouteList<Prefix>::routes(FecId fecId) const -> Prefixes const* {
  auto const found = places_.find(fecId);
  return found == places_.end() ? nullptr : &fecs_[found->second].prefixes;
}

template <class Prefix>
void BasicFecRouteList<Prefix>::routeIs(Prefix const& prefix, FecId fecId) {
  Key const key(prefix);
  auto const at = lowerBound(key);
  bool const filed = isAt(at, key);
  // A comparison names every route, and most have not changed.
  if (filed && fecs_[at->second].fecId == fecId) return;
  // First: a fec that no route uses any more gives its place to the new one. `at` is a place in
  // filed_, and stays good.
  if (filed) remove(at->second, prefix);
  auto const place = placeOf(fecId);
  // After placeOf(), which may move the fecs.
  auto& prefixes = fecs_[place].prefixes;
  prefixes.insert(prefixes.end(), prefix);  // where it belongs when routes come in order
  last_ = filed_.insert_or_assign(at, key, place);
}

template <class Prefix>
void BasicFecRouteList<Prefix>::routeDel(Prefix const& prefix) {
  Key const key(prefix);
  auto const at = lowerBound(key);
  if (!isAt(at, key)) return;
  remove(at->second, prefix);
  last_ = filed_.erase(at);
}

template <class Prefix>
std::optional<FecId> BasicFecRouteList<Prefix>::fecId(Prefix const& prefix) const {
  Key const key(prefix);
  auto const at = lowerBound(key);
  if (!isAt(at, key)) return std::nullopt;
  return fecs_[at->second].fecId;
}

template <class Prefix>
std::optional<Prefix> BasicFecRouteList<Prefix>::filedRoute(Key const& from) const {
  auto const at = lowerBound(from);
  if (at == filed_.end()) return std::nullopt;
  return at->first.prefix();
}

template <class Prefix>
auto BasicFecRouteList<Prefix>::lowerBound(Key const& key) const -> Place {
  // Passes and comparisons go in the order of prefixes: mostly the answer is the last one or the
  // next.
  auto const end = filed_.end();
  if (last_ != end && last_->first < key) {
    if (++last_ == end || !(last_->first < key)) return last_;
  } else if (last_ == filed_.begin() || std::prev(last_)->first < key) {
    return last_;
  }
  return last_ = filed_.lower_bound(key);
}

template <class Prefix>
bool BasicFecRouteList<Prefix>::isAt(Place it, Key const& key) const {
  return it != filed_.end() && !(key < it->first);
}

template <class Prefix>
auto BasicFecRouteList<Prefix>::placeOf(FecId fecId) -> Slot {
  if (auto const found = places_.find(fecId); found != places_.end()) return found->second;
  bool const reuses = !free_.empty();
  Slot const place = reuses ? free_.back() : Slot(fecs_.size());
  places_.emplace(fecId, place);
  if (reuses) {
    free_.pop_back();
    fecs_[place].fecId = fecId;
  } else {
    fecs_.push_back({fecId, {}});
  }
  return place;
}

template <class Prefix>
void BasicFecRouteList<Prefix>::remove(Slot place, Prefix const& prefix) {
  auto& fec = fecs_[place];
  fec.prefixes.erase(prefix);
  if (!fec.prefixes.empty()) return;
  // The place stays, for the next fec: what is filed names places by number.
  places_.erase(fec.fecId);
  free_.push_back(place);
}

template class BasicFecRouteList<Dovel::Prefix>;
template class BasicFecRouteList<Dovel::Ip6Prefix>;

}  // namespace Pondo::Fib
