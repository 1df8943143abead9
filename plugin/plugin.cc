#include "plugin/plugin.h"

namespace OvoSnmp {

Plugin::Plugin(std::filesystem::path runDir)
    : mirrors_(Mav::Directory::root(), *this),
      caches_(Mav::Directory::root(), activity_, mirrors_, fib_),
      filing_(activity_.clock(), [this] { serveOnceFiled(); }),
      // Interfaces before the routes through them.
      follower_(activity_, std::move(runDir), {&mirrors_, &fib_}),
      loopWatch_(activity_) {
  fib_.followerIs(&follower_);
}

Plugin::~Plugin() { fib_.followerIs(nullptr); }

void Plugin::mountsWillChange() noexcept { framework_.unregisterAll(); }

void Plugin::mountsHaveChanged() {
  if (stateKnown_) framework_.registerAll();
}

void Plugin::stateIsKnown() {
  if (filedBy_ != Mav::never) return;  // known before
  filedBy_ = Mav::now() + filingMax;
  serveOnceFiled();
}

void Plugin::serveOnceFiled() {
  if (!caches_.areFiled() && Mav::now() < filedBy_) {
    return filing_.timeMinIs(Mav::now() + filingCheck);
  }
  stateKnown_ = true;
  framework_.registerAll();
}

}  // namespace OvoSnmp
