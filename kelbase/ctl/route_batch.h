#pragma once
// What the outputs of `ip -json route` and `ip -json nexthop` say, gathered object by object and
// put together at the end: LoadBatch's part for routes.
//
// Of a prefix the route that the kernel uses is taken: lowest metric, then no TOS, then first. IPv6
// routes, other tables and types that are neither unicast nor a refusal (blackhole, unreachable,
// prohibit) say nothing here. A next hop of IPv6 leaves its link alone: an IPv4 row has no place
// for it.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kelbase/ctl/fib_writer.h"
#include "kelbase/ctl/ip_json.h"

namespace Kelbase::Ctl {

struct Fib {
  FibRoutes routes;
  FibFecs fecs;
};

class RouteBatch {
 public:
  using Links = std::map<Dovel::IntfId, Pondo::LinkTable::Record>;

  /// False when the object says nothing of the table. LoadException.
  bool takeRoute(Fields const& fields);
  bool takeNexthop(Fields const& fields);

  bool tellsRoutes() const { return tellsRoutes_; }
  bool tellsNexthops() const { return !nexthops_.empty(); }
  /// "FILE:LINE" of the first nexthop object.
  std::string const& nexthopPlace() const { return nexthops_.begin()->second.place; }

  /// To be called once, after the last file. LoadException: a next hop over a link that is not
  /// among `links`, or of an object that no file tells.
  Fib resolved(Links const& links);

 private:
  using Vias = std::vector<Pondo::Fib::Via>;

  struct Entry {
    Dovel::Prefix prefix;
    bool hasTos = false;
    Pondo::Fib::Route route;
  };
  struct Nexthop {
    Vias vias;  // of an object; none of a group or a blackhole
    std::vector<Pondo::Fib::FecId> members;
    bool blackhole = false;
    std::string place;
    bool operator==(Nexthop const& other) const {
      return vias == other.vias && members == other.members && blackhole == other.blackhole;
    }
  };
  struct OwnSet {
    Vias vias;
    std::string place;
  };

  Pondo::Fib::FecId takeNextHops(Fields const& fields);
  Vias takeVias(Fields const& fields);
  std::optional<Pondo::Fib::Via> takeVia(Fields const& fields);
  Pondo::Fib::FecId inlineSet(Vias const& vias, std::string const& place);
  /// Null when it is a blackhole.
  std::optional<Vias> viasOf(Pondo::Fib::FecId id) const;
  FibRoutes chosenRoutes();
  void checkLinks(Links const& links) const;

  bool tellsRoutes_ = false;
  std::vector<Entry> entries_;
  std::map<Pondo::Fib::FecId, Nexthop> nexthops_;
  std::map<Pondo::Fib::FecId, OwnSet> ownSets_;          // as routes tell them
  std::map<Pondo::Fib::FecId, std::string> usedPlaces_;  // of nexthop objects
  std::map<Dovel::IntfId, std::string> linkPlaces_;
};

}  // namespace Kelbase::Ctl
