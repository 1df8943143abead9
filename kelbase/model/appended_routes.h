#pragma once
// What messages about IPv4 routes mean for a book of them. The kernel has one route of a prefix,
// tos and metric, but for those that were appended or prepended to it, and each message about it
// says all of it (net/ipv4/fib_trie.c, fib_table_insert).
//
// Replayed over a dump that may be newer, all ends right as long as a prefix has but one route of a
// tos and metric. Among appended ones a replacement, say, hits the wrong one when its own had gone
// before the dump. And a second route cannot be told from the first where they look the same.
// isDoubtful says so: a dump tells. Where the dump has listed one alone, what messages replace and
// delete then may be another one: Routes looks for it. Asked by Routes alone. One thread.

#include "kelbase/model/route_book.h"

namespace Kelbase {

class AppendedRoutes {
 public:
  using Book = RouteBook<Ip4>;
  using Place = Book::Place;

  /// Made as Siblings is (Routes::Rules); it needs no sets.
  AppendedRoutes(NextHopSets const& /*sets*/, bool isReplay) : isReplay_(isReplay) {}

  /// The kernel has added `route`. Every message tells all of it. `tellsAll` has no meaning for
  /// IPv4.
  RouteOutcome add(Book& book, Place const& place, KernelRoute const& route, RouteRank rank,
                   bool tellsAll) const;
  /// The kernel has deleted it.
  RouteOutcome remove(Book& book, Place const& place, KernelRoute const& route,
                      bool tellsAll) const;

 private:
  bool const isReplay_;
};

}  // namespace Kelbase
