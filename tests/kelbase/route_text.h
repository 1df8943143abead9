#pragma once
// Routes and fecs of the shared tables as lines: "10.1.0.0/16 static 20 10.0.0.2@eth0" and
// "7: 10.0.0.2@eth0".

#include <map>
#include <string>
#include <vector>

#include "platform/pondo/environment/writer.h"

namespace Kelbase::RouteText {

using Fecs = std::map<Pondo::Fib::FecId, std::string>;

inline std::string typeText(Routing::Fib::RouteType type) {
  auto text = stringValue(type).substr(std::string_view("routeType").size());
  text[0] = static_cast<char>(text[0] | 0x20);  // in small letters
  return text;
}

inline Fecs fecTexts(Pondo::Writer& writer) {
  Fecs result;
  writer.scan<Pondo::FecTable>([&](auto id, auto const& fec) {
    auto& text = result[id];
    for (auto const& via : fec.vias) {
      auto const hop =
          via.nextHop6.isUnspecified() ? via.nextHop.stringValue() : via.nextHop6.stringValue();
      text += ' ' + hop + '@' + via.intfId.stringValue();
      if (via.routeType != Routing::Fib::routeTypeUnknown) text += ' ' + typeText(via.routeType);
    }
  });
  return result;
}

template <class Table = Pondo::RouteTable>
std::vector<std::string> routes(Pondo::Writer& writer) {
  std::vector<std::string> result;
  auto const fecs = fecTexts(writer);
  writer.scan<Table>([&](auto const& prefix, auto const& route) {
    auto const fec = fecs.find(route.fecId);
    auto line = prefix.stringValue() + ' ' + typeText(route.routeType) + ' ' +
                std::to_string(route.metric.value());
    if (!!route.fecId) line += fec == fecs.end() ? " no fec" : fec->second;
    result.push_back(std::move(line));
  });
  return result;
}

inline std::vector<std::string> fecs(Pondo::Writer& writer) {
  std::vector<std::string> result;
  for (auto const& [id, vias] : fecTexts(writer)) {
    result.push_back(std::to_string(id.value()) + ':' + vias);
  }
  return result;
}

}  // namespace Kelbase::RouteText
