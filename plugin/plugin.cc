#include "plugin/plugin.h"

namespace OvoSnmp {

Plugin::Plugin(std::filesystem::path runDir)
    : mirrors_(Mav::Directory::root(), *this),
      caches_(Mav::Directory::root(), activity_, mirrors_),
      follower_(activity_, std::move(runDir), {&mirrors_}),
      loopWatch_(activity_) {}

Plugin::~Plugin() = default;

void Plugin::mountsWillChange() noexcept { framework_.unregisterAll(); }

void Plugin::mountsHaveChanged() {
  if (stateKnown_) framework_.registerAll();
}

void Plugin::stateIsKnown() {
  stateKnown_ = true;
  framework_.registerAll();
}

}  // namespace OvoSnmp
