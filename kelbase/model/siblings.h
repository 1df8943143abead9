#pragma once
// What messages about IPv6 routes mean for a book of them. The kernel has a route for each next
// hop (net/ipv6/ip6_fib.c). Those of one prefix and metric that have a gateway, and none through a
// nexthop object, are siblings: they are listed as one route with many next hops, and here are one.
//
//   added      alone, or many by one request; joins the siblings that are there, as their last. The
//              message tells all of them, with the protocol of the new one (rt6_fill_node)
//   deleted    alone, with its own next hop, or all of them by one message
//   replaced   all, by others; a route without siblings replaces the first of its metric that has
//              none either, else the first of its metric (fib6_add_rt2node)
//
// A router's advertisement makes routes that look like siblings and join none (RTF_ADDRCONF): they
// are kept beside. Of siblings that a dump has listed the protocol of the first is known alone.
// Where that, or an order that the messages leave open, bears on what is left, isDoubtful says so:
// a dump tells; nor do messages tell the lifetime of the one that is left, for which mayUncover has
// a look taken. What one message about the only route of a metric says is never doubtful. Routes of
// another kind that stand amid siblings in the kernel's order are not listed at all (fib6_dump_node
// leaps over them): when siblings go that a dump has listed, mayUncover says so. Asked by Routes
// alone. One thread.

#include <vector>

#include "kelbase/model/route_book.h"

namespace Kelbase {

class Siblings {
 public:
  using Book = RouteBook<Ip6>;
  using Place = Book::Place;

  /// The identity (see ListedRoute) of all siblings.
  static constexpr std::uint32_t identity = 1;

  /// For one message. `sets` must outlive it; `isReplay`: it may be older than what the last dump
  /// listed.
  Siblings(NextHopSets& sets, bool isReplay) : sets_(sets), isReplay_(isReplay) {}

  /// The kernel has added `route`; `tellsAll`: its next hops are those of all siblings.
  RouteOutcome add(Book& book, Place const& place, KernelRoute route, RouteRank rank,
                   bool tellsAll) const;
  /// The kernel has deleted it.
  RouteOutcome remove(Book& book, Place const& place, KernelRoute const& route,
                      bool tellsAll) const;

 private:
  RouteOutcome join(Book& book, Place const& place, KernelRoute route, bool tellsAll,
                    Rivals const& rivals) const;
  RouteOutcome removeOne(Book& book, Place const& place, KernelRoute const& route,
                         Rivals const& rivals) const;
  KernelRoute const* withHop(Rivals const& rivals, KernelRoute const& one) const;

  NextHopSets& sets_;
  bool const isReplay_;
};

}  // namespace Kelbase
