#include "kelbase/publish/route_view.h"

#include "kelbase/model/route_protocols.h"
#include "platform/mav/time.h"
#include "platform/pondo/tables/codec.h"

namespace Kelbase {
namespace {

/// Prefixes written between two looks at the clock.
constexpr std::size_t prefixesALook = 64;

}  // namespace

template <class Ip>
RouteView<Ip>::RouteView(Routes<Ip>& routes, FecView& fecs) : routes_(routes), fecs_(fecs) {
  routes.observerIs(*this);
  fecs.tellTurned(turning_);
}

/// Before the first comparison nothing has to be remembered: that finds every difference.
template <class Ip>
void RouteView<Ip>::mark(Prefix const& prefix) {
  if (isCompared_) changed_.insert(changed_.end(), prefix);  // a sweep's come in order
}

template <class Ip>
auto RouteView<Ip>::typeOf(KernelRoute const& route) const -> RouteType {
  switch (route.kind) {
    case RouteKind::blackhole:
      return Routing::Fib::routeTypeBlackhole;
    case RouteKind::unreachable:
      return Routing::Fib::routeTypeUnreachable;
    case RouteKind::prohibit:
      return Routing::Fib::routeTypeProhibit;
    default:
      break;
  }
  // One that is no refusal by itself may be one by its next hops: those of a blackhole object.
  switch (route.hops == NextHopSets::none ? FecView::Way::unknown : fecs_.way(route.hops)) {
    case FecView::Way::discard:
      return Routing::Fib::routeTypeBlackhole;
    case FecView::Way::forward:
      return routeProtocol(route.protocol).type;
    default:
      return Routing::Fib::routeTypeUnknown;
  }
}

template <class Ip>
Pondo::Fib::Route RouteView<Ip>::recordOf(KernelRoute const& route) const {
  auto const& protocol = routeProtocol(route.protocol);
  Pondo::Fib::Route record{.fecId = Pondo::Fib::FecId(),
                           .metric = Routing::RouteMetric(route.metric),
                           .preference = Routing::RoutePreference(protocol.preference),
                           .routeType = typeOf(route)};
  if (isRefusal(record.routeType)) {
    // The type says how it refuses, so that its protocol stands beside.
    record.refusedType = protocol.type;
  } else if (record.routeType != Routing::Fib::routeTypeUnknown) {
    record.fecId = fecs_.fecId(route.hops);
  }
  return record;
}

template <class Ip>
void RouteView<Ip>::writeRest(Pondo::Writer& writer) {
  // A row refers to a fec: none is written before its fec is. Nor is its type known: way() tells of
  // sets that are written.
  if (fecs_.hasMore()) return;
  double const end = Mav::now() + sliceTime;
  // One time for a write: 2^32 seconds of a machine's life are 136 years.
  changedAt_ = isFirstFill_ ? 0 : static_cast<std::uint32_t>(Mav::bootTime());
  writeChanged(writer, end);
  if (!changed_.empty()) return;
  // From here on a change is one that was seen.
  isFirstFill_ = false;
  // Behind the changes: a walk finds routes as the book has them by then.
  writeTurned(writer, end);
}

template <class Ip>
void RouteView<Ip>::writeChanged(Pondo::Writer& writer, double end) {
  // Not from the front each time: prefixes there that change without rest would keep those behind
  // them from ever being written.
  auto next = changed_.lower_bound(next_);
  while (!changed_.empty()) {
    if (next == changed_.end()) next = changed_.begin();
    auto const first = next;
    // One for each batch: it goes forward alone, and a batch may begin at the front again.
    Search own(book());
    for (std::size_t i = 0; i < prefixesALook && next != changed_.end(); ++i, ++next) {
      writeOne(writer, *next, own);
    }
    next = changed_.erase(first, next);  // at once: one by one costs as much as the writing
    if (Mav::now() > end) break;
  }
  next_ = next == changed_.end() ? Prefix() : *next;
}

template <class Ip>
void RouteView<Ip>::writeTurned(Pondo::Writer& writer, double end) {
  if (turned_.empty()) {
    if (turning_.empty()) return;
    turned_.insert(turning_.begin(), turning_.end());
    turning_.clear();
    walked_ = {};
  }
  std::size_t walked = 1;
  // One walk for all sets that have turned: no set knows its routes.
  for (Walk own(book(), walked_); !own.ended(); own.next(), ++walked) {
    if (walked % prefixesALook == 0 && Mav::now() > end) {
      walked_ = own.prefix();
      return;
    }
    if (!turned_.contains(own.route().hops)) continue;
    put(writer, own.prefix(), own.route());
  }
  turned_.clear();
}

template <class Ip>
void RouteView<Ip>::writeOne(Pondo::Writer& writer, Prefix const& prefix, Search& own) const {
  if (auto const route = own.served(prefix)) {
    put(writer, prefix, *route);
  } else {
    // Also of a prefix that came and went between two writes: an erase of what is not there is
    // nothing.
    writer.erase<Table>(prefix);
  }
}

/// What is there already keeps its age.
template <class Ip>
void RouteView<Ip>::put(Pondo::Writer& writer, Prefix const& prefix,
                        KernelRoute const& route) const {
  auto record = recordOf(route);
  record.changedAt = changedAt_;
  writer.put<Table>(prefix, record);
}

template <class Ip>
bool RouteView<Ip>::isRecordOf(std::string_view bytes, KernelRoute const& route) const {
  auto const record = Table::decodeRecord(bytes);
  return record && isSameButAge(*record, recordOf(route));
}

/// Compares in one sweep of both sides, and leaves the difference to be written: that is what takes
/// time.
template <class Ip>
Pondo::Writer::SyncCounts RouteView<Ip>::writeAll(Pondo::Writer& writer) {
  // First: markOwn() below marks.
  isCompared_ = true;
  changed_.clear();
  next_ = {};
  turned_.clear();
  turning_.clear();  // every route is compared now
  Pondo::Writer::SyncCounts counts;
  // Both sides are in the order of prefixes (platform/pondo/tables/fib_codec.cc), so that a million
  // are compared in one pass, without a search.
  Walk own(book());
  auto const markOwn = [&](std::size_t& count) {
    mark(own.prefix());
    own.next();
    ++count;
  };
  // As bytes, so that a malformed record is written again. A malformed key is passed over: no
  // prefix leads to it.
  writer.scanBytes(Table::id, [&](std::string_view key, std::string_view value) {
    auto const prefix = Table::decodeKey(key);
    if (!prefix) return;
    while (!own.ended() && own.prefix() < *prefix) markOwn(counts.added);
    if (own.ended() || own.prefix() != *prefix) {
      mark(*prefix);
      ++counts.removed;
    } else if (!isRecordOf(value, own.route())) {
      markOwn(counts.changed);
    } else {
      own.next();
      ++counts.unchanged;
    }
  });
  while (!own.ended()) markOwn(counts.added);
  // Nothing was there: nothing changed, went or stayed.
  isFirstFill_ = counts.added == changed_.size() && counts.unchanged == 0;
  return counts;
}

template class RouteView<Ip4>;
template class RouteView<Ip6>;

}  // namespace Kelbase
