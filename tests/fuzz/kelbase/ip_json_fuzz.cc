// Files of any content for `kelbasectl load`: taken, or refused by an exception that names a place.

#include <sstream>
#include <string_view>

#include "kelbase/ctl/load_batch.h"
#include "tests/support/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  std::istringstream in(std::string(bytes, bytes + size));
  try {
    Kelbase::Kernel kernel;
    Kelbase::Ctl::LoadBatch batch(kernel);
    batch.read(in, "FILE");
    batch.finish();
  } catch (Kelbase::Ctl::LoadException const& refused) {
    Fuzz::require(std::string_view(refused.what()).starts_with("FILE"));
  }
  return 0;
}
