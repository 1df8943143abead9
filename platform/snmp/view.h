#pragma once
// What whoever sent a request is shown (the view-based access control model, RFC 3415). The agent
// looks at it when an answer is there, and asks again behind a cell that is hidden; asked
// beforehand, a hidden subtree costs one step however much is in it.

#include <span>

#include "platform/snmp/net_snmp.h"

namespace Snmp {

class View {
 public:
  enum class Extent { all, some, none };

  /// Of the request's PDU, which must outlive it; everything where there is none.
  explicit View(netsnmp_agent_request_info const& info)
      : pdu_(info.asp ? info.asp->pdu : nullptr) {}

  /// How much of a subtree is shown; `some` also where the agent cannot tell.
  Extent extentOf(std::span<oid> subtree) const;
  bool shows(std::span<oid> name) const;

 private:
  netsnmp_pdu* const pdu_;
};

}  // namespace Snmp
