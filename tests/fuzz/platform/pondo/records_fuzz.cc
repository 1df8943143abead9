// Keys and records of any content, as a damaged or forged table may hold them: refused, or read as
// what would be written in just these bytes.

#include <string_view>

#include "platform/pondo/tables/codec.h"
#include "tests/support/fuzz_input.h"

namespace {

template <class Table>
void check(std::string_view bytes) {
  using namespace Pondo;
  if (auto const key = Table::decodeKey(bytes)) Fuzz::require(Table::encodeKey(*key) == bytes);
  auto const record = Table::decodeRecord(bytes);
  if (record) Fuzz::require(Table::encodeRecord(*record) == bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  auto const owned = Fuzz::Input(data, size).take(size);
  std::string_view const bytes(owned.data(), owned.size());
  check<Pondo::ForwardingTable>(bytes);
  check<Pondo::LinkTable>(bytes);
  check<Pondo::Address4Table>(bytes);
  check<Pondo::Address6Table>(bytes);
  check<Pondo::Neighbour4Table>(bytes);
  check<Pondo::RouteTable>(bytes);
  check<Pondo::FecTable>(bytes);
  check<Pondo::NeighbourTable>(bytes);
  return 0;
}
