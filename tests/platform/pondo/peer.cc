// A publisher or a reader in a process of its own, told what to do line by line; answers each line
// with one line, "error: TEXT" for an exception. Ends at end of input.
// Runs under simulated time.

#include <csignal>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include <unistd.h>

#include "platform/mav/time.h"
#include "platform/mav/trace_handle.h"
#include "platform/pondo/environment/reader.h"
#include "platform/pondo/environment/writer.h"

namespace {

using Words = std::istringstream;

Mav::SimulatedTime simulated;
std::unique_ptr<Pondo::Writer> writer;
std::unique_ptr<Pondo::Reader> reader;
std::unique_ptr<Pondo::Snapshot const> held;
std::string logged;

template <class Value>
Value next(Words& words, Value value = {}) {
  words >> value;
  return value;
}

void putLink(std::string const& name, std::int32_t ifIndex) {
  writer->put<Pondo::LinkTable>(Dovel::IntfId(name), {.ifIndex = ifIndex});
}

std::string linkName(int number) {
  auto digits = std::to_string(number);
  return "if" + std::string(7 - digits.size(), '0') + digits;
}

void publish(Words& words) {
  auto const runDir = next<std::string>(words);
  Pondo::Writer::Options options;
  options.publisher = "peer";
  bool complete = false;
  for (std::string field; words >> field;) {
    if (field == "logMax") words >> options.logMax;
    if (field == "mapSize") words >> options.mapSize;
    if (field == "pinnedMax") words >> options.pinnedMax;
    if (field == "complete") complete = true;
  }
  writer.reset();
  writer = std::make_unique<Pondo::Writer>(runDir, options);
  if (complete) writer->commitComplete();
}

// All records of a transaction carry its number.
[[noreturn]] void churn(std::string const& runDir, int records) {
  writer = std::make_unique<Pondo::Writer>(runDir, Pondo::Writer::Options{});
  auto number = static_cast<std::int32_t>(writer->generation() % 1'000'000);
  for (;;) {
    ++number;
    for (int i = 0; i < records; ++i) putLink(linkName(i), number);
    writer->commit();
    if (number % 8 == 0) static_cast<void>(writer->service());
  }
}

std::string forkChurn(Words& words) {
  auto const runDir = next<std::string>(words);
  auto const records = next<int>(words);
  std::signal(SIGCHLD, SIG_IGN);
  auto const pid = ::fork();
  if (pid == 0) {
    ::alarm(60);
    churn(runDir, records);
  }
  return std::to_string(pid);
}

std::string hold(Words& words) {
  reader = std::make_unique<Pondo::Reader>(next<std::string>(words));
  held.reset(new Pondo::Snapshot const(reader->snapshot()));
  return std::to_string(held->generation());
}

std::string links(Words& words) {
  auto const from = next<int>(words);
  auto const count = next<int>(words);
  auto const ifIndex = next<std::int32_t>(words);
  for (int i = from; i < from + count; ++i) putLink(linkName(i), ifIndex);
  return "ok";
}

Pondo::Fib::Route route(std::uint64_t fecId) {
  return {Pondo::Fib::FecId(fecId), Routing::RouteMetric(20), Routing::RoutePreference(200),
          Routing::Fib::routeTypeBgp};
}

/// COUNT /24s from FIRST on.
std::string routes(Words& words) {
  Dovel::IpAddr const first(next<std::string>(words));
  auto const count = next<std::uint32_t>(words);
  auto const fecId = next<std::uint64_t>(words);
  for (std::uint32_t i = 0; i < count; ++i) {
    writer->put<Pondo::RouteTable>({Dovel::IpAddr(first.value() + (i << 8U)), 24}, route(fecId));
  }
  return "ok";
}

/// "route PREFIX FEC", "unroute PREFIX", "badroute PREFIX", "routes FIRST COUNT FEC", "fec ID
/// NEXTHOP", "unfec ID".
std::optional<std::string> answerOfFib(std::string const& verb, Words& words) {
  if (verb == "routes") return routes(words);
  if (verb == "route" || verb == "unroute" || verb == "badroute") {
    Dovel::Prefix const prefix(next<std::string>(words));
    if (verb == "badroute") {
      auto const key = Pondo::RouteTable::encodeKey(prefix);
      return writer->putBytes(Pondo::TableId::route, key, "x") ? "1" : "0";
    }
    auto const fecId = next<std::uint64_t>(words);
    if (verb == "route") return writer->put<Pondo::RouteTable>(prefix, route(fecId)) ? "1" : "0";
    return writer->erase<Pondo::RouteTable>(prefix) ? "1" : "0";
  }
  if (verb != "fec" && verb != "unfec") return std::nullopt;
  Pondo::Fib::FecId const fecId(next<std::uint64_t>(words));
  if (verb == "unfec") return writer->erase<Pondo::FecTable>(fecId) ? "1" : "0";
  Pondo::Fib::Via const via{Dovel::IpAddr(next<std::string>(words)), Dovel::IntfId("eth0"), 2};
  return writer->put<Pondo::FecTable>(fecId, {{via}}) ? "1" : "0";
}

std::string answer(std::string const& line) {
  Words words(line);
  auto const verb = next<std::string>(words);
  if (verb == "publish") return publish(words), "ok";
  if (verb == "close") return writer.reset(), "ok";
  if (verb == "link") {
    auto const name = next<std::string>(words);
    return putLink(name, next<std::int32_t>(words)), "ok";
  }
  if (verb == "links") return links(words);
  if (verb == "unlink") {
    return writer->erase<Pondo::LinkTable>(Dovel::IntfId(next<std::string>(words))) ? "1" : "0";
  }
  if (verb == "commit") return writer->commit(), std::to_string(writer->generation());
  if (verb == "complete") return writer->commitComplete(), "ok";
  if (verb == "service") return writer->service() ? "1" : "0";
  if (verb == "exact") return writer->tell({next<double>(words), "full", {}}), "ok";
  if (verb == "advance") return simulated.advance(next<double>(words)), "ok";
  if (verb == "churn") return forkChurn(words);
  if (verb == "hold") return hold(words);
  if (auto const done = answerOfFib(verb, words)) return *done;
  if (verb == "log") return std::exchange(logged, {});
  return "error: unknown command";
}

}  // namespace

int main() {
  Mav::traceSinkIs([](Mav::Severity, std::string_view text) { logged.append(text).append("|"); });
  for (std::string line; std::getline(std::cin, line);) {
    try {
      std::cout << answer(line) << std::endl;
    } catch (std::exception const& e) {
      std::cout << "error: " << e.what() << std::endl;
    }
  }
  Mav::traceSinkIs({});
  held.reset();
  reader.reset();
  writer.reset();
  return 0;
}
