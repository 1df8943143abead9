// The floors: a handler that finds a row in the array by itself, without the table and iterator
// helpers, and the same one (STUB_BULK) that fills the repetitions of a GETBULK as well.

#include <algorithm>
#include <array>

#include "benchmarks/stub/rows.h"

namespace {

using Stub::Row;

constexpr std::size_t columnAt = OID_LENGTH(Stub::tableOid) + 1;
// By the index of RFC 4292: destination, mask, type of service, next hop.
constexpr std::size_t nameLength = columnAt + 1 + 13;  // three addresses and a number

/// The first four parts that `from` has, the rest 0.
std::uint32_t address(oid const* name, std::size_t length, std::size_t from) {
  std::uint32_t value = 0;
  for (std::size_t i = from; i < from + 4; ++i) {
    value = value << 8U | (i < length ? static_cast<std::uint32_t>(name[i]) & 0xFFU : 0);
  }
  return value;
}

struct Place {
  unsigned column = 1;
  Row const* row = nullptr;
};

Row const* end() { return Stub::rows().data() + Stub::rows().size(); }

/// The row that a name names exactly, or the first behind it.
Place find(netsnmp_variable_list const& variable, bool next) {
  auto const rows = Stub::rows();
  // A name may end anywhere: what it lacks counts as 0, and so it stands before the rows that it
  // begins.
  oid const* const name = variable.name;
  std::size_t const length = variable.name_length;
  if (length <= columnAt || name[columnAt] == 0) return {1, rows.data()};
  Place place{static_cast<unsigned>(name[columnAt]), rows.data()};
  if (length == columnAt + 1) return place;
  Row key;
  key.dest = address(name, length, columnAt + 1);
  key.mask = address(name, length, columnAt + 5);
  key.nextHop = address(name, length, columnAt + 10);
  place.row = std::lower_bound(rows.data(), end(), key);
  bool const exact = length == nameLength && place.row != end() && *place.row == key;
  // GETNEXT of a row that is there goes behind it; of any other name lower_bound() is behind
  // already.
  if (next && exact) ++place.row;
  if (!next && !exact) place.row = end();
  return place;
}

void answer(netsnmp_request_info* request, Place const& place) {
  std::array<oid, nameLength> name{};
  auto at = std::copy(std::begin(Stub::tableOid), std::end(Stub::tableOid), name.begin());
  *at++ = 1;
  *at++ = place.column;
  auto const add = [&](std::uint32_t value) {
    for (unsigned shift = 32; shift > 0; shift -= 8) *at++ = value >> (shift - 8) & 0xFFU;
  };
  add(place.row->dest);
  add(place.row->mask);
  *at++ = 0;
  add(place.row->nextHop);
  snmp_set_var_objid(request->requestvb, name.data(), name.size());
  Stub::setValue(request->requestvb, *place.row, place.column);
}

void serve(netsnmp_request_info* request, bool next) {
  Place place = find(*request->requestvb, next);
  if (next && place.row == end()) place = {place.column + 1, Stub::rows().data()};
  if (place.column > Stub::columnMax || place.row == end()) {
    if (!next) netsnmp_set_request_error(nullptr, request, SNMP_NOSUCHINSTANCE);
    return;
  }
  answer(request, place);
}

/// net-snmp has chained a variable for each repetition behind the first: as many are filled as
/// `repeat` says, each from the row behind the last, into the next column where one ends.
void serveBulk(netsnmp_request_info* request) {
  Place place = find(*request->requestvb, true);
  while (true) {
    if (place.row == end()) place = {place.column + 1, Stub::rows().data()};
    if (place.column > Stub::columnMax || place.row == end()) return;
    answer(request, place);
    auto* const answered = request->requestvb;
    if (request->repeat == 0 || answered->next_variable == nullptr) return;
    --request->repeat;
    request->requestvb = answered->next_variable;
    snmp_set_var_objid(request->requestvb, answered->name, answered->name_length);
    ++place.row;
  }
}

int handle(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
           netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
  int const mode = info->mode;
  if (mode != MODE_GET && mode != MODE_GETNEXT && mode != MODE_GETBULK) return SNMP_ERR_NOERROR;
  for (auto* request = requests; request != nullptr; request = request->next) {
    if (request->processed != 0) continue;
    mode == MODE_GETBULK ? serveBulk(request) : serve(request, mode == MODE_GETNEXT);
  }
  return SNMP_ERR_NOERROR;
}

}  // namespace

#ifdef STUB_BULK
#define STUB_INIT init_StubBulk
constexpr int modes = HANDLER_CAN_RONLY | HANDLER_CAN_GETBULK;
#else
#define STUB_INIT init_StubDirect
constexpr int modes = HANDLER_CAN_RONLY;
#endif

extern "C" __attribute__((visibility("default"))) void STUB_INIT() {
  Stub::rows();
  auto* const registration = netsnmp_create_handler_registration(
      "stub_direct", handle, Stub::tableOid, OID_LENGTH(Stub::tableOid), modes);
  registration->priority = 64;
  netsnmp_register_handler(registration);
}
