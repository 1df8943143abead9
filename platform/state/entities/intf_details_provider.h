#pragma once
// Where the ifIndex of an interface comes from: one provider for the process, or none. Set by
// State::Mirrors for its lifetime; asked by the state machines on the agent's thread.

#include <cstdint>

#include "platform/state/entities/intf_status.h"

namespace Intf {

/// An interface's status has an ifIndex of its own, which State::Mirrors gives; asked this way,
/// tests and benchmarks give another.
class IntfDetailsProvider {
 public:
  virtual ~IntfDetailsProvider() = default;
  /// A number below 0 says that the interface has none now: it gets no row.
  virtual std::int32_t ifIndex(Interface::IntfStatus const& status) const = 0;
};

namespace Detail {
// One for the process: the state machines ask by a function, and have no way to each other.
inline IntfDetailsProvider const* provider = nullptr;
}  // namespace Detail

/// Null while nobody provides. Not owned. Whoever sets one takes it back before it goes.
inline IntfDetailsProvider const* intfDetailsProvider() { return Detail::provider; }
inline void intfDetailsProviderIs(IntfDetailsProvider const* provider) {
  Detail::provider = provider;
}

/// The ifIndex that the provider gives; -1 when there is none.
inline std::int32_t ifIndex(Interface::IntfStatus const& status) {
  return Detail::provider ? Detail::provider->ifIndex(status) : -1;
}

}  // namespace Intf
