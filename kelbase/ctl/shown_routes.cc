#include "kelbase/ctl/shown_routes.h"

#include <algorithm>
#include <cctype>

#include <absl/container/flat_hash_map.h>

#include "platform/pondo/tables/codec.h"

namespace Kelbase::Ctl {
namespace {

using Pondo::FecTable;
using Pondo::Route6Table;
using Pondo::RouteTable;
using Pondo::Fib::FecId;
using Pondo::Fib::Route;

/// "bgp" of routeTypeBgp.
std::string typeText(Routing::Fib::RouteType type) {
  constexpr std::string_view prefix = "routeType";
  std::string text = stringValue(type);
  if (text.starts_with(prefix) && text.size() > prefix.size()) text.erase(0, prefix.size());
  // The enumerator's own name: a new type needs no text here.
  text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return text;
}

std::string addressText(Pondo::Fib::Via const& via) {
  if (!via.nextHop6.isUnspecified()) return via.nextHop6.stringValue();
  return via.nextHop.isUnspecified() ? std::string() : via.nextHop.stringValue();
}

ShownHops hopsOf(Pondo::Fib::Fec const& fec) {
  ShownHops hops;
  hops.reserve(fec.vias.size());
  for (auto const& via : fec.vias) {
    hops.push_back({.nextHop = addressText(via),
                    .interface = via.intfId.stringValue(),
                    .type = via.routeType == Routing::Fib::routeTypeUnknown
                                ? std::string()
                                : typeText(via.routeType)});
  }
  return hops;
}

/// Makes rows of routes of one snapshot; each fec is looked up once.
class RouteRows {
 public:
  RouteRows(Pondo::Snapshot const& snapshot, std::vector<Row>& rows)
      : snapshot_(snapshot), rows_(rows) {}

  template <class Prefix>
  void add(Prefix const& prefix, Route const& route) {
    // The record of a refusal has its protocol's type beside; any other's type is it.
    auto const protocol = isRefusal(route.routeType) ? route.refusedType : route.routeType;
    rows_.push_back({prefix.stringValue(), typeText(route.routeType), typeText(protocol),
                     std::int64_t{route.metric.value()}, std::int64_t{route.preference.value()},
                     FecNumber{route.fecId.value()}, hops(route.fecId)});
  }

 private:
  /// Good until the next call: the map may move what it has.
  ShownHops const& hops(FecId fecId) {
    auto const [known, added] = known_.try_emplace(fecId);
    // 0: of a route that refuses, or of which no next hop can be named.
    if (added && fecId.value() != 0) {
      // One that is missing or malformed shows no next hops; the latter is counted
      // (Reader::malformed).
      if (auto const fec = snapshot_.get<FecTable>(fecId)) known->second = hopsOf(*fec);
    }
    return known->second;
  }

  Pondo::Snapshot const& snapshot_;
  std::vector<Row>& rows_;
  // Routes share fecs, some hundred for a million of them: a slice meets few.
  absl::flat_hash_map<FecId, ShownHops> known_;
};

bool isWithin(Dovel::Prefix const& prefix, Dovel::Prefix const& whole) {
  return prefix.length() >= whole.length() &&
         prefix.address().masked(whole.length()) == whole.address();
}

bool isWithin(Dovel::Ip6Prefix const& prefix, Dovel::Ip6Prefix const& whole) {
  return prefix.length() >= whole.length() &&
         prefix.address().masked(whole.length()) == whole.address() &&
         (whole.zone() == 0 || prefix.zone() == whole.zone());
}

/// Whether prefixes within `whole` may follow `prefix`, which is none, in the table's order. Those
/// of links come last, and are within few.
bool mayFollow(Dovel::Prefix const& /*prefix*/, Dovel::Prefix const& /*whole*/) { return false; }
bool mayFollow(Dovel::Ip6Prefix const& prefix, Dovel::Ip6Prefix const& whole) {
  return whole.zone() != 0 ? prefix.address() == whole.address() && prefix.zone() == whole.zone()
                           : prefix.zone() == 0;
}

template <class Table>
std::optional<std::string> readWithin(Pondo::Snapshot const& snapshot,
                                      typename Table::Key const& whole, std::string_view from,
                                      std::vector<Row>& rows) {
  // No prefix that is within stands before it.
  std::string const first = Table::encodeKey(whole);
  RouteRows routes(snapshot, rows);
  auto next = snapshot.scan<Table>(from.empty() ? std::string_view(first) : from, Pondo::sliceMax,
                                   [&](auto const& prefix, auto const& route) {
                                     if (isWithin(prefix, whole)) routes.add(prefix, route);
                                   });
  if (!next) return next;
  // The next slice would begin there: where that key is past all that is within, there is none to
  // read.
  auto const key = Table::decodeKey(*next);
  if (key && !isWithin(*key, whole) && !mayFollow(*key, whole)) return std::nullopt;
  return next;
}

Dovel::Prefix prefixOf(Dovel::IpAddr const& address, unsigned length) {
  return {address.masked(length), length};
}

Dovel::Ip6Prefix prefixOf(Dovel::Ip6Prefix const& host, unsigned length) {
  // A shorter prefix may have left fe80::/10, and then has no zone.
  auto const address = host.address().masked(length);
  return {address, length, Dovel::Ip6Prefix::isZoned(address, length) ? host.zone() : 0};
}

/// The route of the longest prefix. No row when there is none.
template <class Table, class Host>
void readTo(Pondo::Snapshot const& snapshot, Host const& host, unsigned bits,
            std::vector<Row>& rows) {
  // At most 33 or 129 looks, at 1 µs each or so. From the longest on: the first that is there is
  // the one that the kernel would take.
  for (unsigned shorter = 0; shorter <= bits; ++shorter) {
    auto const prefix = prefixOf(host, bits - shorter);
    if (auto const route = snapshot.get<Table>(prefix)) {
      return RouteRows(snapshot, rows).add(prefix, *route);
    }
  }
}

}  // namespace

void RouteQuestion::withinIs(std::string_view prefix) {
  Dovel::isIp6Text(prefix) ? void(within6.emplace(prefix)) : void(within4.emplace(prefix));
}

void RouteQuestion::toIs(std::string_view address) {
  if (!Dovel::isIp6Text(address)) return void(to4.emplace(address));
  // Of a prefix the zone stands behind the length (Dovel::Ip6Prefix).
  auto const zone = std::min(address.find('%'), address.size());
  to6.emplace(std::string(address.substr(0, zone)) + "/128" + std::string(address.substr(zone)));
}

std::string RouteQuestion::text() const {
  if (to4) return "route to " + to4->stringValue();
  if (to6) return "route to " + to6->address().stringValue();
  return "route within " + (within4 ? within4->stringValue() : within6->stringValue());
}

std::optional<std::string> readRoutes(Pondo::Snapshot const& snapshot, std::string_view from,
                                      std::vector<Row>& rows) {
  return sliceOfTwo(
      from, [&](auto key) { return readWithin<RouteTable>(snapshot, Dovel::Prefix(), key, rows); },
      [&](auto key) { return readWithin<Route6Table>(snapshot, Dovel::Ip6Prefix(), key, rows); });
}

std::optional<std::string> readFecs(Pondo::Snapshot const& snapshot, std::string_view from,
                                    std::vector<Row>& rows) {
  return snapshot.scan<FecTable>(
      from, Pondo::sliceMax, [&](FecId const& fecId, Pondo::Fib::Fec const& fec) {
        rows.push_back(
            {FecNumber{fecId.value()}, static_cast<std::int64_t>(fec.vias.size()), hopsOf(fec)});
      });
}

std::optional<std::string> readRoutesAsked(Pondo::Snapshot const& snapshot,
                                           RouteQuestion const& question, std::string_view from,
                                           std::vector<Row>& rows) {
  if (question.within4) return readWithin<RouteTable>(snapshot, *question.within4, from, rows);
  if (question.within6) return readWithin<Route6Table>(snapshot, *question.within6, from, rows);
  if (question.to4) readTo<RouteTable>(snapshot, *question.to4, Dovel::IpAddr::bits, rows);
  if (question.to6) readTo<Route6Table>(snapshot, *question.to6, Dovel::Ip6Addr::bits, rows);
  return std::nullopt;
}

}  // namespace Kelbase::Ctl
