#pragma once
// What whoever sent a request is shown (the view-based access control model, RFC 3415). The agent
// looks at it when an answer is there, and asks again behind a cell that is hidden; asked
// beforehand, a hidden subtree costs one step however much is in it. Made for one call of a
// handler. On the agent's thread.

#include <optional>
#include <span>

#include "platform/snmp/net_snmp.h"

namespace Snmp {

class View {
 public:
  enum class Extent { all, some, none };

  /// Of the request's PDU, which must outlive it, below `root`; everything where there is none. One
  /// question settles what is shown whole, or not at all.
  View(netsnmp_agent_request_info const& info, std::span<oid> root)
      : pdu_(info.asp ? info.asp->pdu : nullptr), root_(root) {}

  /// How much of a subtree of the root is shown; `some` also where the agent cannot tell. Most
  /// managers see all of a table, or nothing: then no column is asked about.
  Extent extentOf(std::span<oid> subtree) const {
    if (!whole_) whole_ = ask(root_);
    return *whole_ == Extent::some ? ask(subtree) : *whole_;
  }
  /// Whether one cell is shown. To be asked only where extentOf() says `some`, since it goes
  /// through the rules of the view for each cell.
  bool shows(std::span<oid> name) const {
    if (!pdu_) return true;
    // The type tells SNMPv1 from Counter64, which the agent sees to.
    std::size_t length = name.size();
    return in_a_view(name.data(), &length, pdu_, ASN_NULL) == VACM_SUCCESS;
  }

 private:
  Extent ask(std::span<oid> subtree) const {
    if (!pdu_) return Extent::all;
    // VACM_SUBTREE_UNKNOWN and the errors: some, so that each cell is asked for.
    switch (netsnmp_acm_check_subtree(pdu_, subtree.data(), subtree.size())) {
      case VACM_SUCCESS:
        return Extent::all;
      case VACM_NOTINVIEW:
        return Extent::none;
      default:
        return Extent::some;
    }
  }

  netsnmp_pdu* const pdu_;
  std::span<oid> const root_;
  // Asked at the first need: a GET needs none, since the agent itself looks at each name of a GET.
  mutable std::optional<Extent> whole_;
};

}  // namespace Snmp
