#include "kelbase/daemon/kernel_publisher.h"

namespace Kelbase {

KernelPublisher::KernelPublisher(Mav::Activity& activity, Options const& options,
                                 Hooks const& hooks)
    : sources_(makeKernelSources(kernel_)),
      views_(makeTableViews(kernel_)),
      publisher_(activity, {options.runDir, options.writer}, views_, publisherHooks(hooks)),
      // Last, since it asks the kernel at once: all that the answers fill is there by then.
      feed_(activity, sources(), options.feed,
            [this](double delay) { publisher_.onSettled(delay); }) {}

/// The publisher asks them in turns alone: the feed, which is made after it, is there by then.
Publisher::Hooks KernelPublisher::publisherHooks(Hooks const& hooks) {
  return {[this] { return feed_.settled(); },
          [this] { return feed_.exact(); },
          [this] { return counters(); },
          hooks.published,
          hooks.failed,
          hooks.lost};
}

// The names are read by scripts (`kelbasectl status -j`) and by the agent, which serves some of
// them.
Pondo::Counters KernelPublisher::counters() const {
  auto const& heard = feed_.counters();
  auto const& dumps = feed_.dumpCounters();
  return {{"notifications", heard.events},
          {"overruns", heard.overruns},
          {"dumps", dumps.dumps},
          {"dumpsInterrupted", dumps.interrupted},
          {"dumpsFailed", dumps.failed},
          {"messagesRejected", heard.rejected},
          {"messagesForeign", heard.foreign},
          {"bufferBytes", heard.buffer}};
}

std::vector<KernelSource*> KernelPublisher::sources() {
  std::vector<KernelSource*> result;
  for (auto const& source : sources_) result.push_back(source.get());
  return result;
}

}  // namespace Kelbase
