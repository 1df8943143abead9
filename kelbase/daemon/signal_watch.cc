#include "kelbase/daemon/signal_watch.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fmt/format.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace Kelbase {

SignalWatch::SignalWatch(Mav::Activity& activity, std::function<void(int)> onSignal)
    : onSignal_(std::move(onSignal)) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  // A signal that is not blocked ends the process instead of coming by the descriptor
  // (signalfd(2)).
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  // Signals that come before here end the process as by default: nothing has been taken by then.
  std::signal(SIGPIPE, SIG_IGN);  // NOLINT(cert-err33-c)
  // Tables that may not grow are an error of the write (EFBIG), as a full file system is.
  std::signal(SIGXFSZ, SIG_IGN);  // NOLINT(cert-err33-c)
  fd_ = Mav::Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!fd_) throw Mav::Exception(fmt::format("signalfd: {}", std::strerror(errno)));
  watch_ = activity.watch(fd_.get(), EPOLLIN, [this](std::uint32_t) { onReadable(); });
}

void SignalWatch::onReadable() {
  signalfd_siginfo info{};
  if (read(fd_.get(), &info, sizeof info) == sizeof info)
    onSignal_(static_cast<int>(info.ssi_signo));
}

}  // namespace Kelbase
