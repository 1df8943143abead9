#pragma once
// Routes and fecs as an operator sees them: a route with its next hops, all routes or those that a
// question is about. Slices as in shown_table.h. Those of IPv4 come first.
//
// A route's next hops stand in a record of another table, and are looked up in the same snapshot:
// row and next hops are of one moment.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelbase/ctl/shown_table.h"

namespace Kelbase::Ctl {

// A set of 64 next hops would hide the routes around it; `show fecs` tells them all.
inline constexpr std::array<Column, 7> routeColumns{{
    {"PREFIX", "prefix"},
    {"TYPE", "type"},
    {"PROTOCOL", "protocol"},
    {"METRIC", "metric"},
    {"PREFERENCE", "preference"},
    {"FEC", "fec"},
    {.heading = "NEXT HOPS", .name = "nextHops", .hopsMax = 4},
}};

inline constexpr std::array<Column, 3> fecColumns{{
    {"FEC", "fec"},
    {"VIAS", "vias"},
    {"NEXT HOPS", "nextHops"},
}};

/// What routes are to be shown: at most one of the four. The zone of a link-local address is an
/// ifIndex behind '%', never a name: the tables may be another machine's.
struct RouteQuestion {
  std::optional<Dovel::Prefix> within4;  // the route of this prefix and more specific ones
  std::optional<Dovel::Ip6Prefix> within6;
  std::optional<Dovel::IpAddr> to4;     // the route that packets to this address take
  std::optional<Dovel::Ip6Prefix> to6;  // with 128 bits

  bool isAsked() const { return within4 || within6 || to4 || to6; }
  /// "route to 192.0.2.7"
  std::string text() const;

  /// Take the words of a command line; Mav::RangeException.
  void withinIs(std::string_view prefix);
  void toIs(std::string_view address);
};

/// As ShownTable::readSlice, here and below.
std::optional<std::string> readRoutes(Pondo::Snapshot const& snapshot, std::string_view from,
                                      std::vector<Row>& rows);
std::optional<std::string> readFecs(Pondo::Snapshot const& snapshot, std::string_view from,
                                    std::vector<Row>& rows);

/// What answers the question.
std::optional<std::string> readRoutesAsked(Pondo::Snapshot const& snapshot,
                                           RouteQuestion const& question, std::string_view from,
                                           std::vector<Row>& rows);

}  // namespace Kelbase::Ctl
