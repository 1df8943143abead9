// Netlink messages of any content, amid dumps and outside of them: each is taken or refused, and
// the views make rows of what the model has come to hold.

#include <cstring>
#include <vector>

#include <linux/rtnetlink.h>

#include "kelbase/netlink/kernel_sources.h"
#include "tests/support/fuzz_input.h"

namespace {

/// A message of one of the types of rtnetlink, with what the input has for its payload.
void giveOne(Fuzz::Input& input, Kelbase::KernelSources const& sources) {
  nlmsghdr header{};
  header.nlmsg_type = static_cast<std::uint16_t>(RTM_BASE + input.byte() % 120);
  header.nlmsg_flags = static_cast<std::uint16_t>(input.byte() << 4U);
  auto const payload = input.take(input.byte());
  header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + payload.size());
  // Whole and aligned, as a socket gives it, or cut.
  std::vector<std::byte> datagram(NLMSG_ALIGN(header.nlmsg_len));
  std::memcpy(datagram.data(), &header, sizeof header);
  if (!payload.empty())
    std::memcpy(datagram.data() + sizeof header, payload.data(), payload.size());
  if (input.byte() == 0) datagram.resize(datagram.size() - 1);
  Fuzz::takenOrRefused([&] {
    Kelbase::forEachMessage(datagram, [&](Kelbase::NetlinkMessage const& message) {
      for (auto const& source : sources) {
        if (source->takes(message.type())) Fuzz::takenOrRefused([&] { source->receive(message); });
      }
    });
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  Fuzz::Input input(bytes, size);
  Kelbase::Kernel kernel;
  auto const sources = Kelbase::makeKernelSources(kernel);
  while (!input.ended()) {
    auto const step = input.byte();
    auto& source = *sources[step % sources.size()];
    if (step < 8) source.dumpBegin();
    if (step >= 248) source.dumpEnd(step % 2 == 0);
    giveOne(input, sources);
  }
  for (auto const& source : sources) Fuzz::require(!source->summary().empty());
  return 0;
}
