#pragma once
// Takes out of the daemon's registry what would answer in the place of this module or beside it.
//
// net-snmp hands a request to the longest object identifier registered for it, and looks at
// priorities only among equals: a stock module that registers the columns of a table answers before
// a module that registers the table. At an equal identifier its rows show behind our last one.
//
// What is taken out is freed by net-snmp and does not come back while the daemon lives; the stock
// module stays loaded, and so do its other objects. What an AgentX subagent has registered stays:
// it ends with the subagent's session. Only the default context is looked at, which is ours.
//
// On the daemon's thread, never inside a request, and not while it reads its configuration: its own
// modules are still coming then.

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// An object and all below it.
struct ObjectRoot {
  std::string name;
  std::vector<oid> objectId;
};

/// Of a registration.
ObjectRoot placeOf(netsnmp_handler_registration const& registration);

/// Takes out what others have registered at or below `place`. To be called before a registration
/// there, too: one that net-snmp has to fit around others is cut into slices, and these stay.
/// net-snmp's functions on a registration then reach the first slice alone.
void takeOut(ObjectRoot const& place);

class Displacement {
 public:
  /// Of what stands at or below the registrations of this module (registrations.h), and of
  /// `further` places, which others serve and nobody shall.
  explicit Displacement(std::vector<ObjectRoot> further = {});
  /// Leaves what is out where it is.
  ~Displacement();
  Displacement(Displacement const&) = delete;
  Displacement& operator=(Displacement const&) = delete;

  /// Takes out what is there now, and tells in one line of the log what has gone since the last
  /// call. What is registered later goes in the daemon's next turn. Call it once this module has
  /// registered.
  void run();

 private:
  static int onRegister(int major, int minor, void* parameters, void* self) noexcept;
  static void onAlarm(unsigned alarm, void* self) noexcept;
  std::vector<ObjectRoot> places() const;
  void tellOfSubagents(ObjectRoot const& place);

  std::vector<ObjectRoot> const further_;
  // Of the subagents those that the log has told, with the object.
  std::set<std::string> subagentsTold_;
  unsigned alarm_ = 0;  // 0: none is set
};

}  // namespace Snmp
