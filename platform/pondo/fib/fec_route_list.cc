#include "platform/pondo/fib/fec_route_list.h"

#include <cstring>
#include <iterator>

#include "platform/mav/exception.h"

namespace Pondo::Fib {

FecRouteList::Key::Key(Dovel::Prefix const& prefix) {
  auto const address = prefix.address().value();
  octets_ = {static_cast<std::uint8_t>(prefix.length()), static_cast<std::uint8_t>(address),
             static_cast<std::uint8_t>(address >> 8U), static_cast<std::uint8_t>(address >> 16U),
             static_cast<std::uint8_t>(address >> 24U)};
}

std::uint64_t FecRouteList::Key::number() const {
  return octets_[0] | std::uint64_t{octets_[1]} << 8U | std::uint64_t{octets_[2]} << 16U |
         std::uint64_t{octets_[3]} << 24U | std::uint64_t{octets_[4]} << 32U;
}

Dovel::Prefix FecRouteList::Key::prefix() const {
  return {Dovel::IpAddr(static_cast<std::uint32_t>(number() >> 8U)), octets_[0]};
}

FecRouteList::Slot::Slot(std::size_t place) {
  if (place >= fecsMax) throw Mav::RangeException("too many fecs are in use: 16777216 are allowed");
  octets_ = {static_cast<std::uint8_t>(place), static_cast<std::uint8_t>(place >> 8U),
             static_cast<std::uint8_t>(place >> 16U)};
}

FecRouteList::Slot::operator std::size_t() const {
  return octets_[0] | std::size_t{octets_[1]} << 8U | std::size_t{octets_[2]} << 16U;
}

FecRouteList::Prefixes const* FecRouteList::routes(FecId fecId) const {
  auto const found = places_.find(fecId);
  return found == places_.end() ? nullptr : &fecs_[found->second].prefixes;
}

void FecRouteList::routeIs(Dovel::Prefix const& prefix, FecId fecId) {
  Key const key(prefix);
  auto const at = lowerBound(key);
  bool const filed = isAt(at, key);
  if (filed && fecs_[at->second].fecId == fecId) return;
  if (filed) remove(at->second, prefix);
  auto const place = placeOf(fecId);
  auto& prefixes = fecs_[place].prefixes;
  prefixes.insert(prefixes.end(), prefix);  // where it belongs when routes come in order
  last_ = filed_.insert_or_assign(at, key, place);
}

void FecRouteList::routeDel(Dovel::Prefix const& prefix) {
  Key const key(prefix);
  auto const at = lowerBound(key);
  if (!isAt(at, key)) return;
  remove(at->second, prefix);
  last_ = filed_.erase(at);
}

std::optional<FecId> FecRouteList::fecId(Dovel::Prefix const& prefix) const {
  Key const key(prefix);
  auto const at = lowerBound(key);
  if (!isAt(at, key)) return std::nullopt;
  return fecs_[at->second].fecId;
}

std::optional<Dovel::Prefix> FecRouteList::filedRoute(Dovel::Prefix const& from) const {
  auto const at = lowerBound(Key(from));
  if (at == filed_.end()) return std::nullopt;
  return at->first.prefix();
}

FecRouteList::Filed::const_iterator FecRouteList::lowerBound(Key const& key) const {
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

bool FecRouteList::isAt(Filed::const_iterator it, Key const& key) const {
  return it != filed_.end() && !(key < it->first);
}

FecRouteList::Slot FecRouteList::placeOf(FecId fecId) {
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

void FecRouteList::remove(Slot place, Dovel::Prefix const& prefix) {
  auto& fec = fecs_[place];
  fec.prefixes.erase(prefix);
  if (!fec.prefixes.empty()) return;
  places_.erase(fec.fecId);
  free_.push_back(place);
}

}  // namespace Pondo::Fib
