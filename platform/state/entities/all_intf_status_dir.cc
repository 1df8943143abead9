#include "platform/state/entities/all_intf_status_dir.h"

#include "platform/mav/constructor_parameter.h"

namespace Interface {

Mav::Ptr<IntfStatus const> AllIntfStatusDir::intfStatus(Dovel::IntfId const& intfId) const {
  return intfStatus_.map().get(intfId);
}

Mav::Ptr<IntfStatus> AllIntfStatusDir::intfStatusIs(Dovel::IntfId const& intfId,
                                                    std::int32_t ifIndex, bool operUp) {
  auto status = intfStatus_.is(
      intfId, [&] { return Mav::makeObject<IntfStatus>(intfId, ifIndex, operUp); },
      [&](IntfStatus const& existing) {
        Mav::checkConstructorParameter("_ifIndex", ifIndex, existing.ifIndex());
      });
  // Of one that was there: a new one has it already.
  status->operUpIs(operUp);
  return status;
}

}  // namespace Interface
