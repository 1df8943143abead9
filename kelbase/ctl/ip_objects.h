#pragma once
// Objects of `ip -json` output, read into the plain structs that netlink's decoders make of the
// kernel's messages, each checked before use: LoadException names file, line and field.
//
// `ip` names a link where the kernel gives its index. What hangs on a link is read with a number
// from LinkNames in the place of the index: the files may tell the links last.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kelbase/ctl/ip_json.h"
#include "kelbase/model/kernel.h"

namespace Kelbase::Ctl {

/// The links that files have named so far, numbered from 1.
class LinkNames {
 public:
  /// The number of the link that the field names.
  std::int32_t numberOf(Fields const& fields, std::string_view name);
  /// The indexes of all, by number; that of number 0, no link, is 0. LoadException where a link is
  /// not among `links`.
  std::vector<std::int32_t> indexes(Links const& links) const;

 private:
  struct First {
    std::int32_t number = 0;
    std::string place;  // "FILE:LINE"
  };
  std::map<Dovel::IntfId, First> names_;
};

/// As `ip` prints them: NO-CARRIER is a link that is UP without RUNNING, which is not printed
/// (iproute2, print_link_flags).
Link readLink(Fields const& fields);

/// Nothing for MPLS, which `ip netconf` lists too.
std::optional<IpVersion> readFamily(Fields const& fields);

/// Of the link with that index.
Address4 readAddress4(std::int32_t link, Fields const& fields);
Address6 readAddress6(std::int32_t link, Fields const& fields);

/// Nothing for one that is as good as not there. When it was updated `ip -statistics` tells alone.
std::optional<Neighbour> readNeighbour(Fields const& fields, LinkNames& links);

/// Of which version of IP a route is.
IpVersion versionOfRoute(Fields const& fields);
/// Nothing for a route of another table than main, or for packets from some sources alone. Of a
/// route over a nexthop object, `hops` is what it says of the object's content.
template <class Ip>
std::optional<ListedRoute<Ip>> readRoute(Fields const& fields, LinkNames& links);

ListedNexthop readNexthop(Fields const& fields, LinkNames& links);

}  // namespace Kelbase::Ctl
