#include "kelbase/model/appended_routes.h"

namespace Kelbase {

RouteOutcome AppendedRoutes::add(Book& book, Dovel::Prefix const& prefix, KernelRoute const& route,
                                 RouteRank rank, bool /*tellsAll*/) const {
  if (rank == RouteRank::listed) return {book.add(prefix, route, rank)};
  bool const joins = rank == RouteRank::appended || rank == RouteRank::first;
  bool const isAmidRivals = isReplay_ && (joins || book.hasRivals(prefix, route));
  bool const isSecond = joins && book.contains(prefix, route);
  return {book.add(prefix, route, rank), isAmidRivals || isSecond};
}

RouteOutcome AppendedRoutes::remove(Book& book, Dovel::Prefix const& prefix,
                                    KernelRoute const& route, bool /*tellsAll*/) const {
  bool const isAmidRivals = isReplay_ && book.hasRivals(prefix, route);
  bool const isDoubtful = isAmidRivals || book.hasTwins(prefix, route);
  return {book.remove(prefix, route), isDoubtful};
}

}  // namespace Kelbase
