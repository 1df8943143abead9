#pragma once
// Routes and fecs as an operator sees them: a route with its next hops, all routes or those that a
// question is about. Slices as in ctl_table_view.h.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelbase/ctl/table_view.h"

namespace Kelbase::Ctl {

// A set of 64 next hops would hide the routes around it; `show fecs` tells them all.
inline constexpr std::array<Column, 6> routeColumns{{
    {"PREFIX", "prefix"},
    {"TYPE", "type"},
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

std::optional<std::string> readRoutes(Pondo::Snapshot const& snapshot, std::string_view from,
                                      std::vector<Row>& rows);
std::optional<std::string> readFecs(Pondo::Snapshot const& snapshot, std::string_view from,
                                    std::vector<Row>& rows);

/// The route of `prefix` and those that are more specific.
std::optional<std::string> readRoutesWithin(Pondo::Snapshot const& snapshot,
                                            Dovel::Prefix const& prefix, std::string_view from,
                                            std::vector<Row>& rows);
/// The route that packets to `address` take: that of the longest prefix. No row when none is.
void readRouteTo(Pondo::Snapshot const& snapshot, Dovel::IpAddr const& address,
                 std::vector<Row>& rows);

}  // namespace Kelbase::Ctl
