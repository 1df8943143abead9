#pragma once
// What files of `ip -json` output say, checked, and brought into the model.
//
// Files add up: the same link may stand in several of them as long as they agree. An `ip -json
// link` tells all links, an `ip -json address` all addresses besides; an `ip -json netconf` tells
// the forwarding of the IP versions in it and nothing of the other one; an `ip -json neighbour` all
// neighbours; an `ip -json route` all routes, in the kernel's order. A nexthop object that no file
// tells is what its routes say of it.
//
// read() brings in what says all of itself. What names links or nexthop objects waits for finish():
// another file may tell those.
//
// A file that is not good throws, and the model is then of no use: nothing of it is written. Routes
// wait for finish() by value, some tens of octets each, since a later file may tell the nexthop
// objects that they name.

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <absl/hash/hash.h>

#include "kelbase/ctl/ip_json.h"
#include "kelbase/ctl/ip_objects.h"
#include "kelbase/model/kernel.h"
#include "kelbase/publish/table_views.h"

namespace Kelbase::Ctl {

class LoadBatch {
 public:
  /// `kernel`, which is empty, must outlive it.
  explicit LoadBatch(Kernel& kernel) : kernel_(kernel) {}

  /// Adds a file. `file` is the name for messages; `onBlock` as LineSource's. LoadException: not
  /// readable, of no known kind, malformed, or at odds with itself or with an earlier file.
  void read(std::istream& in, std::string_view file,
            std::function<void(std::uint64_t)> const& onBlock = {});

  /// Which parts of the model the files speak of, and whether of the version's forwarding.
  KernelParts const& parts() const { return parts_; }
  bool tellsForwarding(IpVersion version) const { return forwards_.contains(version); }

  /// To be called once, after the last file; where the files tell no links, the model is to have
  /// those that are known otherwise. LoadException: what only all files together can tell.
  void finish();

 private:
  struct Kind;
  static Kind const kinds[];
  static Kind const* kindOf(Fields const& fields);
  static std::string kindList();

  using Hops = std::vector<NextHop>;
  // Not a flat set: its elements stay where they are, and routes point to them.
  using SharedHops = std::unordered_set<Hops, absl::Hash<Hops>>;
  /// A ListedRoute that shares its next hops: there may be a million.
  template <class Ip>
  struct Route {
    typename Ip::Destination prefix;
    std::uint32_t metric = 0;
    std::uint32_t object = 0;
    std::uint8_t tos = 0;
    std::uint8_t protocol = 0;
    RouteKind kind = RouteKind::unicast;
    Hops const* hops = nullptr;
  };
  struct Forwards {
    bool forwards = false;
    std::string place;  // "FILE:LINE", here and below
  };
  struct Nexthop {
    ListedNexthop told;
    std::string place;
  };

  // False when the object says nothing of any table.
  bool takeAddress(Fields const& fields);
  bool takeLink(Fields const& fields);
  bool takeNetconf(Fields const& fields);
  bool takeNeighbour(Fields const& fields);
  bool takeRoute(Fields const& fields);
  template <class Ip>
  bool takeRoute(Fields const& fields, std::vector<Route<Ip>>& routes);
  bool takeNexthop(Fields const& fields);
  Link addLink(Fields const& fields);
  template <class Objects, class Object>
  void add(Objects& objects, Object const& object, Dovel::IntfId const& link, Fields const& fields);

  void checkForwarding() const;
  void checkNexthops() const;
  template <class Ip>
  void finishRoutes(std::vector<Route<Ip>> const& told, Routes<Ip>& routes);
  Hops resolved(Hops hops) const;

  Kernel& kernel_;
  KernelParts parts_{.links = false, .addresses = false, .neighbours = false, .routes = false};
  std::map<std::int32_t, std::string> linkPlaces_;  // by index
  std::map<IpVersion, Forwards> forwards_;
  std::map<IpVersion, std::string> familyPlaces_;  // of any interface

  LinkNames linkNames_;
  std::map<std::pair<std::int32_t, Neighbour::Key>, Neighbour> neighbours_;
  std::map<std::uint32_t, Nexthop> nexthops_;
  std::map<std::uint32_t, std::string> untold_;  // objects of which a route says nothing itself
  SharedHops sharedHops_;
  std::vector<Route<Ip4>> routes4_;
  std::vector<Route<Ip6>> routes6_;
  std::vector<std::int32_t> indexes_;  // of links, by number
};

}  // namespace Kelbase::Ctl
