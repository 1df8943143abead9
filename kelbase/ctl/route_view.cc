#include "kelbase/ctl/route_view.h"

#include <cctype>

#include <absl/container/flat_hash_map.h>

#include "platform/pondo/tables/codec.h"

namespace Kelbase::Ctl {
namespace {

using Pondo::FecTable;
using Pondo::RouteTable;
using Pondo::Fib::FecId;
using Pondo::Fib::Route;

/// "bgp" of routeTypeBgp.
std::string typeText(Routing::Fib::RouteType type) {
  constexpr std::string_view prefix = "routeType";
  std::string text = stringValue(type);
  if (text.starts_with(prefix) && text.size() > prefix.size()) text.erase(0, prefix.size());
  text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return text;
}

ShownHops hopsOf(Pondo::Fib::Fec const& fec) {
  ShownHops hops;
  hops.reserve(fec.vias.size());
  for (auto const& via : fec.vias) {
    hops.push_back({via.nextHop.isUnspecified() ? std::string() : via.nextHop.stringValue(),
                    via.intfId.stringValue()});
  }
  return hops;
}

/// Makes rows of routes of one snapshot; each fec is looked up once.
class RouteRows {
 public:
  RouteRows(Pondo::Snapshot const& snapshot, std::vector<Row>& rows)
      : snapshot_(snapshot), rows_(rows) {}

  void add(Dovel::Prefix const& prefix, Route const& route) {
    rows_.push_back({prefix.stringValue(), typeText(route.routeType),
                     std::int64_t{route.metric.value()}, std::int64_t{route.preference.value()},
                     FecNumber{route.fecId.value()}, hops(route.fecId)});
  }

 private:
  ShownHops const& hops(FecId fecId) {
    auto const [known, added] = known_.try_emplace(fecId);
    if (added && fecId.value() != 0) {
      if (auto const fec = snapshot_.get<FecTable>(fecId)) known->second = hopsOf(*fec);
    }
    return known->second;
  }

  Pondo::Snapshot const& snapshot_;
  std::vector<Row>& rows_;
  absl::flat_hash_map<FecId, ShownHops> known_;
};

bool isWithin(Dovel::IpAddr const& address, Dovel::Prefix const& prefix) {
  return address.masked(prefix.length()) == prefix.address();
}

}  // namespace

std::optional<std::string> readRoutes(Pondo::Snapshot const& snapshot, std::string_view from,
                                      std::vector<Row>& rows) {
  return readRoutesWithin(snapshot, Dovel::Prefix(), from, rows);
}

std::optional<std::string> readFecs(Pondo::Snapshot const& snapshot, std::string_view from,
                                    std::vector<Row>& rows) {
  return snapshot.scan<FecTable>(
      from, Pondo::sliceMax, [&](FecId const& fecId, Pondo::Fib::Fec const& fec) {
        rows.push_back(
            {FecNumber{fecId.value()}, static_cast<std::int64_t>(fec.vias.size()), hopsOf(fec)});
      });
}

std::optional<std::string> readRoutesWithin(Pondo::Snapshot const& snapshot,
                                            Dovel::Prefix const& prefix, std::string_view from,
                                            std::vector<Row>& rows) {
  // No shorter prefix of the same address stands at or behind it.
  std::string const first = Pondo::encodeKey<RouteTable>(prefix);
  RouteRows routes(snapshot, rows);
  auto next = snapshot.scan<RouteTable>(from.empty() ? std::string_view(first) : from,
                                        Pondo::sliceMax, [&](auto const& key, auto const& route) {
                                          if (isWithin(key.address(), prefix)) {
                                            routes.add(key, route);
                                          }
                                        });
  if (!next) return next;
  auto const key = Pondo::decodeKey<RouteTable>(*next);
  if (key && !isWithin(key->address(), prefix)) return std::nullopt;
  return next;
}

void readRouteTo(Pondo::Snapshot const& snapshot, Dovel::IpAddr const& address,
                 std::vector<Row>& rows) {
  for (unsigned shorter = 0; shorter <= Dovel::IpAddr::bits; ++shorter) {
    unsigned const length = Dovel::IpAddr::bits - shorter;
    Dovel::Prefix const prefix(address.masked(length), length);
    if (auto const route = snapshot.get<RouteTable>(prefix)) {
      RouteRows(snapshot, rows).add(prefix, *route);
      return;
    }
  }
}

}  // namespace Kelbase::Ctl
