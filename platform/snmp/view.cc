#include "platform/snmp/view.h"

namespace Snmp {

View::Extent View::ask(std::span<oid> subtree) const {
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

bool View::shows(std::span<oid> name) const {
  if (!pdu_) return true;
  // The type tells SNMPv1 from Counter64, which the agent sees to.
  std::size_t length = name.size();
  return in_a_view(name.data(), &length, pdu_, ASN_NULL) == VACM_SUCCESS;
}

}  // namespace Snmp
