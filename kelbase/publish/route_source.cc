#include "kelbase/publish/route_source.h"

#include <array>

#include <fmt/format.h>
#include <linux/if_addr.h>
#include <linux/nexthop.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "kelbase/model/route_protocols.h"
#include "kelbase/model/trace.h"
#include "kelbase/netlink/route_message.h"
#include "platform/mav/time.h"
#include "platform/pondo/tables/codec.h"

namespace Kelbase {
namespace {

constexpr std::array routeGroups{unsigned{RTNLGRP_IPV4_ROUTE}};

/// Prefixes written between two looks at the clock.
constexpr std::size_t writesALook = 64;

/// Heeded by kernels from 4.20 on; others list every table.
rtmsg routeHeader() {
  rtmsg header{};
  header.rtm_family = AF_INET;
  header.rtm_table = RT_TABLE_MAIN;
  return header;
}

ifaddrmsg addressHeader() {
  ifaddrmsg header{};
  header.ifa_family = AF_INET;
  return header;
}

}  // namespace

RouteSource::RouteSource(NexthopSource& nexthops)
    : nexthops_(nexthops), sets_(nexthops.sets()), book_(sets_), silent_(sets_) {
  // Routes are listed without the RTNL lock. The first request is there to wait for that lock: what
  // the kernel is about to remove with a link, an address or a nexthop object is gone then.
  requests_.emplace_back(RTM_GETNEXTHOP, NLM_F_DUMP, nhmsg{});
  requests_.emplace_back(RTM_GETADDR, NLM_F_DUMP, addressHeader()).interruptedIsWhole();
  requests_.emplace_back(RTM_GETROUTE, NLM_F_DUMP, routeHeader());
  for (auto& request : requests_) request.unsupportedIsEmpty();
}

std::span<unsigned const> RouteSource::groups() const { return routeGroups; }

bool RouteSource::takes(std::uint16_t messageType) const {
  return messageType == RTM_NEWROUTE || messageType == RTM_DELROUTE ||
         messageType == RTM_NEWNEXTHOP || SilentRemovals::takes(messageType);
}

void RouteSource::dumpBegin() {
  isDumping_ = true;
  book_.dumpBegin();
  silent_.dumpBegin();
}

void RouteSource::dumpEnd(bool whole) {
  isDumping_ = false;
  silent_.dumpEnd(whole);
  if (whole) book_.sweep([this](Dovel::Prefix const& prefix) { mark(prefix); });
}

void RouteSource::receive(NetlinkMessage const& message) {
  switch (message.type()) {
    case RTM_NEWROUTE:
    case RTM_DELROUTE:
      return receiveRoute(message);
    case RTM_NEWNEXTHOP:
      return objectIs(message);
    default:
      if (silent_.hints(message)) readAgain(message);
  }
}

void RouteSource::readAgain(NetlinkMessage const& why) const {
  MAV_TRACE(traceHandle(), 1, why.name() << ": routes may be others: reading them again");
  nexthops_.wantDump(hintDelay);
  wantDump(hintDelay);
}

/// NexthopSource has heard of the message before.
void RouteSource::objectIs(NetlinkMessage const& message) {
  if (hidingObjects_.empty()) return;
  auto const id = readNexthop(message).id;
  auto const shows = [&](std::uint32_t object) {
    return sets_.consistsOf(object, id) && !sets_.discards(object);
  };
  if (absl::erase_if(hidingObjects_, shows) > 0) readAgain(message);
}

void RouteSource::receiveRoute(NetlinkMessage const& message) {
  if (!readRoute(message, message_)) return;
  KernelRoute route{.metric = message_.metric,
                    .identity = message_.identity,
                    .tos = message_.tos,
                    .protocol = message_.protocol,
                    .kind = message_.kind};
  if (isInDoubt(route, message)) wantDump(doubtDelay);
  if (message.type() == RTM_DELROUTE) {
    if (book_.remove(message_.prefix, route)) mark(message_.prefix);
    return;
  }
  if (message_.object != 0) {
    route.hops = sets_.objectSet(message_.object);
    if (route.kind == RouteKind::blackhole) hidingObjects_.insert(message_.object);
  } else {
    route.hops = sets_.inlineSet(message_.hops);
  }
  silent_.routeIs(message_);
  if (book_.add(message_.prefix, route, placeOf(message))) mark(message_.prefix);
}

/// Replayed over a dump that may be newer, all ends right as long as a prefix has but one route of
/// a tos and metric: each message then says all of it. Among appended ones a replacement, say, hits
/// the wrong one when its own had gone before the dump. And of routes that look the same none can
/// be told from the other, nor a second one from the first.
bool RouteSource::isInDoubt(KernelRoute const& route, NetlinkMessage const& message) const {
  if (isDumping_) return false;
  auto const place = placeOf(message);
  bool const isNew = message.type() == RTM_NEWROUTE;
  bool const joins =
      isNew && (place == RouteBook::Place::appended || place == RouteBook::Place::first);
  if (isReplay_ && (joins || book_.hasRivals(message_.prefix, route))) return true;
  return (joins || !isNew) && book_.count(message_.prefix, route) > (isNew ? 0 : 1);
}

RouteBook::Place RouteSource::placeOf(NetlinkMessage const& message) const {
  if (isDumping_) return RouteBook::Place::listed;
  if ((message.flags() & NLM_F_REPLACE) != 0) return RouteBook::Place::replaced;
  if ((message.flags() & NLM_F_APPEND) != 0) return RouteBook::Place::appended;
  // What the kernel notifies, not what it was asked (net/ipv4/fib_trie.c, fib_table_insert).
  if ((message.flags() & NLM_F_EXCL) != 0) return RouteBook::Place::only;
  return RouteBook::Place::first;
}

void RouteSource::mark(Dovel::Prefix const& prefix) {
  if (isCompared_) changed_.insert(changed_.end(), prefix);  // a sweep's come in order
}

Pondo::Fib::Route RouteSource::recordOf(KernelRoute const& route) const {
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
  switch (route.hops == HopSets::none ? HopSets::Way::unknown : sets_.way(route.hops)) {
    case HopSets::Way::unknown:
      break;
    case HopSets::Way::discard:
      record.routeType = Routing::Fib::routeTypeBlackhole;
      break;
    case HopSets::Way::forward:
      record.fecId = sets_.fecId(route.hops);
      record.routeType = protocol.type;
      break;
  }
  return record;
}

std::optional<Pondo::Fib::Route> RouteSource::find(Dovel::Prefix const& prefix) const {
  auto const route = book_.served(prefix);
  if (!route) return std::nullopt;
  return recordOf(*route);
}

void RouteSource::writeRest(Pondo::Writer& writer) {
  if (sets_.hasMore()) return;
  double const end = Mav::now() + sliceTime;
  writeChanged(writer, end);
  if (changed_.empty()) writeTurned(writer, end);
}

void RouteSource::writeChanged(Pondo::Writer& writer, double end) {
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

void RouteSource::writeTurned(Pondo::Writer& writer, double end) {
  if (turned_.empty()) {
    auto const turned = sets_.takeTurned();
    if (turned.empty()) return;
    turned_.insert(turned.begin(), turned.end());
    walked_ = {};
  }
  std::size_t walked = 1;
  for (RouteBook::Walk own(book_, walked_); !own.ended(); own.next(), ++walked) {
    if (walked % writesALook == 0 && Mav::now() > end) {
      walked_ = own.prefix();
      return;
    }
    if (!turned_.contains(own.route().hops)) continue;
    writer.put<Pondo::RouteTable>(own.prefix(), recordOf(own.route()));
  }
  turned_.clear();
}

void RouteSource::writeOne(Pondo::Writer& writer, Dovel::Prefix const& prefix) const {
  if (auto const record = find(prefix)) {
    writer.put<Pondo::RouteTable>(prefix, *record);
  } else {
    writer.erase<Pondo::RouteTable>(prefix);
  }
}

/// Compares in one sweep of both sides, and leaves the difference to be written: that is what takes
/// time.
Pondo::Writer::SyncCounts RouteSource::writeAll(Pondo::Writer& writer) {
  isCompared_ = true;
  changed_.clear();
  next_ = {};
  turned_.clear();
  sets_.takeTurned();
  Pondo::Writer::SyncCounts counts;
  RouteBook::Walk own(book_);
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

std::string RouteSource::summary() const {
  auto text = fmt::format("{} route{}, {} next-hop set{}", book_.size(),
                          book_.size() == 1 ? "" : "s", sets_.size(), sets_.size() == 1 ? "" : "s");
  if (sets_.cut() > 0)
    text += fmt::format(" ({} cut to {} next hops)", sets_.cut(), Pondo::Fib::viasMax);
  return text;
}

}  // namespace Kelbase
