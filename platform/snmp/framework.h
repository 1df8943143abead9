#pragma once
// Decides when the handler units register: once there is state to serve, and again after the set
// of mounted entities changed, since registrations hold plain pointers to entities. Nothing is
// registered before the state is known, and nothing outlives the framework. Once they have, the
// daemon's own registrations for these objects go (displacement.h).
//
// At most one lives. On snmpd's thread, never from inside a request.

#include <vector>

#include "platform/snmp/displacement.h"

namespace Snmp {

class Framework {
 public:
  /// `displacedToo`: what goes besides the daemon's own of what the units register.
  explicit Framework(std::vector<ObjectRoot> displacedToo = {});
  ~Framework();
  Framework(Framework const&) = delete;
  Framework& operator=(Framework const&) = delete;

  /// Has every unit register; no effect when they have. A unit that throws is logged, and the
  /// others still register.
  void registerAll();

  /// Undoes all registrations.
  void unregisterAll() noexcept;

  bool registered() const { return registered_; }

 private:
  bool registered_ = false;
  Displacement displacement_;
};

}  // namespace Snmp
