#include "kelbase/model/appended_routes.h"

namespace Kelbase {

RouteOutcome AppendedRoutes::add(Book& book, Dovel::Prefix const& prefix, KernelRoute const& route,
                                 RouteRank rank, bool /*tellsAll*/) const {
  if (rank == RouteRank::listed) return {book.add(prefix, route, rank)};
  // The kernel has found others of this prefix, tos and metric, and put it behind or before them.
  bool const joins = rank == RouteRank::appended || rank == RouteRank::first;
  // Alone, a route ends right wherever the dump was taken: each message replaces it whole.
  bool const isAmidRivals = isReplay_ && (joins || book.hasRivals(prefix, route));
  // It repeats what is there, or tells of another route that differs in what messages leave out.
  bool const isSecond = joins && book.contains(prefix, route);
  return {book.add(prefix, route, rank), isAmidRivals || isSecond};
}

/// Which of several that look alike has gone, no message tells: they differ in what it leaves out.
RouteOutcome AppendedRoutes::remove(Book& book, Dovel::Prefix const& prefix,
                                    KernelRoute const& route, bool /*tellsAll*/) const {
  bool const isAmidRivals = isReplay_ && book.hasRivals(prefix, route);
  bool const isDoubtful = isAmidRivals || book.hasTwins(prefix, route);
  return {book.remove(prefix, route), isDoubtful};
}

}  // namespace Kelbase
