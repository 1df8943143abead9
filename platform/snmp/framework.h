#pragma once
// Decides when the handler units register: once there is state to serve, and again after the set
// of mounted entities changed, since registrations hold plain pointers to entities. Nothing is
// registered before the state is known, and nothing outlives the framework.
//
// At most one lives. On snmpd's thread, never from inside a request.

namespace Snmp {

class Framework {
 public:
  Framework() = default;
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
};

}  // namespace Snmp
