#pragma once
// Where the ifIndex of an interface comes from: one provider for the process, or none. Set by
// State::Mirrors for its lifetime; asked by the state machines on the agent's thread.

#include <cstdint>

#include "platform/state/entities/intf_status.h"

namespace Intf {

class IntfDetailsProvider {
 public:
  virtual ~IntfDetailsProvider() = default;
  virtual std::int32_t ifIndex(Interface::IntfStatus const& status) const = 0;
};

/// Null while nobody provides. Not owned.
IntfDetailsProvider const* intfDetailsProvider();
void intfDetailsProviderIs(IntfDetailsProvider const* provider);

/// The ifIndex that the provider gives; -1 when there is none.
std::int32_t ifIndex(Interface::IntfStatus const& status);

}  // namespace Intf
