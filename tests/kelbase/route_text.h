#pragma once
// Routes and fecs of the shared tables as lines: "10.1.0.0/16 static 20 10.0.0.2@eth0". Read
// through whoever scans tables: a Writer, or a Pondo::Snapshot by way of a lambda.

#include <map>
#include <string>
#include <vector>

#include "platform/pondo/writer.h"

namespace Kelbase::RouteText {

inline std::string text(Pondo::Fib::Fec const& fec) {
  std::string result;
  for (auto const& via : fec.vias) {
    if (!result.empty()) result += ' ';
    result += via.nextHop.stringValue() + "@" + via.intfId.stringValue();
  }
  return result;
}

/// "static" for routeTypeStatic.
inline std::string text(Routing::Fib::RouteType type) {
  auto name = stringValue(type).substr(std::string_view("routeType").size());
  name[0] = static_cast<char>(name[0] | 0x20);
  return name;
}

using Fecs = std::map<Pondo::Fib::FecId, Pondo::Fib::Fec>;

inline std::string text(Dovel::Prefix const& prefix, Pondo::Fib::Route const& route,
                        Fecs const& fecs) {
  auto line = prefix.stringValue() + " " + text(route.routeType) + " " +
              std::to_string(route.metric.value());
  if (!route.fecId) return line;
  auto const fec = fecs.find(route.fecId);
  return line + " " + (fec == fecs.end() ? "no fec" : text(fec->second));
}

inline Fecs fecsOf(Pondo::Writer& writer) {
  Fecs result;
  writer.scan<Pondo::FecTable>([&](auto id, auto const& fec) { result.emplace(id, fec); });
  return result;
}

inline std::vector<std::string> routes(Pondo::Writer& writer) {
  std::vector<std::string> result;
  auto const fecs = fecsOf(writer);
  writer.scan<Pondo::RouteTable>(
      [&](auto const& prefix, auto const& route) { result.push_back(text(prefix, route, fecs)); });
  return result;
}

inline std::vector<std::string> fecs(Pondo::Writer& writer) {
  std::vector<std::string> result;
  for (auto const& [id, fec] : fecsOf(writer)) {
    result.push_back(std::to_string(id.value()) + ": " + text(fec));
  }
  return result;
}

}  // namespace Kelbase::RouteText
