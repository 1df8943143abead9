#pragma once
// What files of `ip -json` output say, checked, before any of it is written.
//
// Files add up: the same link may stand in several of them as long as they agree. An `ip -json
// link` tells all links, an `ip -json address` all addresses besides; an `ip -json netconf` tells
// the forwarding of the IP versions in it and nothing of the other one; an `ip -json neighbour` all
// neighbours; an `ip -json route` all routes (route_batch.h). RUNNING is not among the
// flags that `ip` prints: it prints NO-CARRIER for a link that is UP without RUNNING (iproute2,
// print_link_flags).

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>

#include "kelbase/ctl/ip_json.h"
#include "kelbase/ctl/route_batch.h"
#include "platform/pondo/tables/tables.h"

namespace Kelbase::Ctl {

class LoadBatch {
 public:
  using Links = std::map<Dovel::IntfId, Pondo::LinkTable::Record>;
  using Addresses4 = std::map<Pondo::Address4Table::Key, Pondo::Address4Table::Record>;
  using Addresses6 = std::map<Pondo::Address6Table::Key, Pondo::Address6Table::Record>;
  using Neighbours = std::map<Pondo::Neighbour4Table::Key, Pondo::Neighbour4Table::Record>;
  using Forwarding = std::map<Pondo::Family, Pondo::ForwardingTable::Record>;

  /// Adds a file. `file` is the name for messages; `onBlock` as LineSource's. LoadException: not
  /// readable, of no known kind, malformed, or at odds with itself or with an earlier file.
  void read(std::istream& in, std::string_view file,
            std::function<void(std::uint64_t)> const& onBlock = {});

  /// To be called after the last file: what only all files together can tell. LoadException.
  void check() const;

  bool tellsLinks() const { return !links_.empty(); }
  Links const& links() const { return links_; }
  bool tellsAddresses() const { return tellsAddresses_; }
  Addresses4 const& addresses4() const { return addresses4_; }
  Addresses6 const& addresses6() const { return addresses6_; }
  bool tellsNeighbours() const { return tellsNeighbours_; }
  Neighbours const& neighbours() const { return neighbours_; }
  /// The IP versions that the files speak of.
  Forwarding const& forwarding() const { return forwarding_; }
  bool tellsRoutes() const { return routes_.tellsRoutes(); }
  /// To be called once; `present`: the links that are known when the files tell none.
  /// LoadException.
  Fib fib(Links const& present) { return routes_.resolved(tellsLinks() ? links_ : present); }

 private:
  class FileVisitor;
  struct Kind;
  static Kind const kinds[];
  static std::string kindList();

  // False when the object says nothing of any table.
  bool takeAddress(Fields const& fields);
  void takeAddress4(Dovel::IntfId const& link, Fields const& fields);
  void takeAddress6(Dovel::IntfId const& link, Fields const& fields);
  bool takeLink(Fields const& fields);
  bool takeNetconf(Fields const& fields);
  bool takeNeighbour(Fields const& fields);
  bool takeRoute(Fields const& fields) { return routes_.takeRoute(fields); }
  bool takeNexthop(Fields const& fields) { return routes_.takeNexthop(fields); }

  Links links_;
  std::map<Dovel::IntfId, std::string> linkPlaces_;  // where it was told first
  std::map<std::int32_t, Dovel::IntfId> linksByIndex_;
  bool tellsAddresses_ = false;
  Addresses4 addresses4_;
  Addresses6 addresses6_;
  bool tellsNeighbours_ = false;
  Neighbours neighbours_;
  Forwarding forwarding_;
  std::map<Pondo::Family, std::string> forwardingPlaces_;  // of "all"
  std::map<Pondo::Family, std::string> familyPlaces_;      // of any interface
  RouteBatch routes_;
};

}  // namespace Kelbase::Ctl
