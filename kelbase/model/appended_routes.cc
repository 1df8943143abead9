#include "kelbase/model/appended_routes.h"

namespace Kelbase {

RouteOutcome AppendedRoutes::add(Book& book, Place const& place, KernelRoute const& route,
                                 RouteRank rank, bool /*tellsAll*/) const {
  // The kernel has found others of this prefix, tos and metric, and put it behind or before them.
  bool const joins = rank == RouteRank::appended || rank == RouteRank::first;
  if (rank == RouteRank::listed || (!joins && !isReplay_)) return {book.add(place, route, rank)};
  auto const rivals = book.rivals(place, route);
  // Alone, a route that stays ends right wherever the dump was taken: each message replaces it
  // whole.
  bool const isAmidRivals = isReplay_ && (joins || rivals.size() > 1);
  // It repeats what is there, or tells of another route that differs in what messages leave out.
  bool const isSecond = joins && lookalikes(rivals, route) > 0;
  return {book.add(place, route, rank), isAmidRivals || isSecond};
}

/// Which of several that look alike has gone, no message tells: they differ in what it leaves out.
RouteOutcome AppendedRoutes::remove(Book& book, Place const& place, KernelRoute const& route,
                                    bool /*tellsAll*/) const {
  auto const rivals = book.rivals(place, route);
  bool const isAmidRivals = isReplay_ && rivals.size() > 1;
  return {book.remove(place, route), isAmidRivals || lookalikes(rivals, route) > 1};
}

}  // namespace Kelbase
