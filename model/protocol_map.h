#pragma once
// The numbers that ipCidrRouteProto gives to the route types of the forwarding table: a value,
// filled when the route state machine is made, and read when rows are served. One thread.
//
// inetCidrRouteProto knows more protocols and has a list of its own (handlers/ip_conversions.cc).

#include <optional>

#include <absl/container/btree_map.h>

#include "model/enumerations.h"
#include "platform/dovel/routing_values.h"

namespace IpSnmp {

class ProtocolMap {
 public:
  using Map = absl::btree_map<Routing::Fib::RouteType, IpRouteProtocol>;

  ProtocolMap() = default;
  /// RangeException unless the text begins with "None".
  ProtocolMap(char const*& from, char const* to)
      : ProtocolMap(Mav::parsedStrep<ProtocolMap>(from, to)) {}

  /// Nothing for a type that the map does not have: a row says other(1) then.
  std::optional<IpRouteProtocol> protocol(Routing::Fib::RouteType routeType) const {
    auto const found = protocol_.find(routeType);
    return found == protocol_.end() ? std::nullopt : std::optional(found->second);
  }
  /// All pairs.
  Map const& protocol() const { return protocol_; }

  /// Inserts or replaces.
  void protocolIs(Routing::Fib::RouteType routeType, IpRouteProtocol protocol) {
    protocol_.insert_or_assign(routeType, protocol);
  }
  /// No effect when there is none.
  void protocolDel(Routing::Fib::RouteType routeType) { protocol_.erase(routeType); }
  void protocolDelAll() { protocol_.clear(); }

  friend bool operator==(ProtocolMap const& a, ProtocolMap const& b) = default;

  /// "None", whatever it holds: that text parses to an empty map.
  friend std::string valueToStrep(ProtocolMap const& /*map*/) { return "None"; }
  friend std::ostream& operator<<(std::ostream& out, ProtocolMap const& map) {
    return out << valueToStrep(map);
  }
  friend void parseStrep(Mav::StrepReader& in, ProtocolMap& map) {
    in.expect("None");
    map = ProtocolMap();
  }

 private:
  Map protocol_;
};

/// The process's one instance, empty until the route state machine fills it.
inline ProtocolMap& protocolMap() {
  static ProtocolMap map;
  return map;
}

}  // namespace IpSnmp
