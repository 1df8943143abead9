#include "kelbase/publish/route_view.h"

#include <fmt/format.h>

#include "kelbase/model/route_protocols.h"
#include "platform/mav/time.h"
#include "platform/pondo/tables/codec.h"

namespace Kelbase {
namespace {

/// Prefixes written between two looks at the clock.
constexpr std::size_t writesALook = 64;

}  // namespace

RouteView::RouteView(Routes& routes, NextHopSets const& sets, FecView& fecs)
    : routes_(routes.table()), sets_(sets), fecs_(fecs) {
  routes.observerIs(*this);
}

void RouteView::mark(Dovel::Prefix const& prefix) {
  if (isCompared_) changed_.insert(changed_.end(), prefix);  // a sweep's come in order
}

Pondo::Fib::Route RouteView::recordOf(KernelRoute const& route) const {
  auto const& protocol = routeProtocol(route.protocol);
  Pondo::Fib::Route record{.fecId = Pondo::Fib::FecId(),
                           .metric = Routing::RouteMetric(route.metric),
                           .preference = Routing::RoutePreference(protocol.preference)};
  switch (route.kind) {
    case RouteKind::blackhole:
      record.routeType = Routing::Fib::routeTypeBlackhole;
      return record;
    case RouteKind::unreachable:
      record.routeType = Routing::Fib::routeTypeUnreachable;
      return record;
    case RouteKind::prohibit:
      record.routeType = Routing::Fib::routeTypeProhibit;
      return record;
    default:
      break;
  }
  switch (route.hops == NextHopSets::none ? FecView::Way::unknown : fecs_.way(route.hops)) {
    case FecView::Way::unknown:
      break;
    case FecView::Way::discard:
      record.routeType = Routing::Fib::routeTypeBlackhole;
      break;
    case FecView::Way::forward:
      record.fecId = fecs_.fecId(route.hops);
      record.routeType = protocol.type;
      break;
  }
  return record;
}

std::optional<Pondo::Fib::Route> RouteView::find(Dovel::Prefix const& prefix) const {
  auto const route = routes_.served(prefix);
  if (!route) return std::nullopt;
  return recordOf(*route);
}

void RouteView::writeRest(Pondo::Writer& writer) {
  if (fecs_.hasMore()) return;
  double const end = Mav::now() + sliceTime;
  writeChanged(writer, end);
  if (changed_.empty()) writeTurned(writer, end);
}

void RouteView::writeChanged(Pondo::Writer& writer, double end) {
  auto next = changed_.lower_bound(next_);
  while (!changed_.empty()) {
    if (next == changed_.end()) next = changed_.begin();
    auto const first = next;
    for (std::size_t i = 0; i < writesALook && next != changed_.end(); ++i, ++next) {
      writeOne(writer, *next);
    }
    next = changed_.erase(first, next);  // at once: one by one costs as much as the writing
    if (Mav::now() > end) break;
  }
  next_ = next == changed_.end() ? Dovel::Prefix() : *next;
}

void RouteView::writeTurned(Pondo::Writer& writer, double end) {
  if (turned_.empty()) {
    auto const turned = fecs_.takeTurned();
    if (turned.empty()) return;
    turned_.insert(turned.begin(), turned.end());
    walked_ = {};
  }
  std::size_t walked = 1;
  for (Routes::Book::Walk own(routes_, walked_); !own.ended(); own.next(), ++walked) {
    if (walked % writesALook == 0 && Mav::now() > end) {
      walked_ = own.prefix();
      return;
    }
    if (!turned_.contains(own.route().hops)) continue;
    writer.put<Pondo::RouteTable>(own.prefix(), recordOf(own.route()));
  }
  turned_.clear();
}

void RouteView::writeOne(Pondo::Writer& writer, Dovel::Prefix const& prefix) const {
  if (auto const record = find(prefix)) {
    writer.put<Pondo::RouteTable>(prefix, *record);
  } else {
    writer.erase<Pondo::RouteTable>(prefix);
  }
}

/// Compares in one sweep of both sides, and leaves the difference to be written: that is what takes
/// time.
Pondo::Writer::SyncCounts RouteView::writeAll(Pondo::Writer& writer) {
  isCompared_ = true;
  changed_.clear();
  next_ = {};
  turned_.clear();
  fecs_.takeTurned();
  Pondo::Writer::SyncCounts counts;
  Routes::Book::Walk own(routes_);
  auto const markOwn = [&](std::size_t& count) {
    mark(own.prefix());
    own.next();
    ++count;
  };
  writer.scanBytes(Pondo::TableId::route, [&](std::string_view key, std::string_view value) {
    auto const prefix = Pondo::decodeKey<Pondo::RouteTable>(key);
    if (!prefix) return;
    while (!own.ended() && own.prefix() < *prefix) markOwn(counts.added);
    if (own.ended() || own.prefix() != *prefix) {
      mark(*prefix);
      ++counts.removed;
    } else if (Pondo::decodeRecord<Pondo::RouteTable>(value) != recordOf(own.route())) {
      markOwn(counts.changed);
    } else {
      own.next();
      ++counts.unchanged;
    }
  });
  while (!own.ended()) markOwn(counts.added);
  return counts;
}

std::string RouteView::summary() const {
  auto text =
      fmt::format("{} route{}, {} next-hop set{}", routes_.size(), routes_.size() == 1 ? "" : "s",
                  sets_.size(), sets_.size() == 1 ? "" : "s");
  if (fecs_.cut() > 0)
    text += fmt::format(" ({} cut to {} next hops)", fecs_.cut(), Pondo::Fib::viasMax);
  return text;
}

}  // namespace Kelbase
