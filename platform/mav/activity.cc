#include "platform/mav/activity.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "platform/mav/descriptor.h"
#include "platform/mav/trace_handle.h"

namespace Mav {

namespace {

constexpr std::uint64_t ownToken = 0;  // the timerfd and the eventfd
constexpr int eventsMax = 64;          // of one turn; the others come in the next

/// Does what is to be done about a failure: that may fail in its turn, for want of memory, and the
/// loop goes on all the same.
template <class Action>
void tell(Action const& action) noexcept {
  try {
    action();
  } catch (...) {  // a line less, or a busy watch
  }
}

[[noreturn]] void throwErrno(std::string_view what) {
  throw Exception(fmt::format("activity: {}: {}", what, std::strerror(errno)));
}

Descriptor opened(int fd, char const* call) {
  if (fd < 0) throwErrno(call);
  return Descriptor(fd);
}

/// An absolute timerfd time. Rounded up, so that now() has reached it when it fires; never 0, which
/// would disarm.
timespec timerTime(double time) {
  constexpr double secondsMax = 1e10;  // about 300 years: within what the kernel takes
  double const seconds = std::floor(std::min(time, secondsMax));
  auto const nanoseconds = std::ceil((std::min(time, secondsMax) - seconds) * 1e9);
  timespec result{static_cast<time_t>(seconds), static_cast<long>(nanoseconds)};
  if (result.tv_nsec >= 1'000'000'000) result = {result.tv_sec + 1, 0};
  if (result.tv_sec == 0 && result.tv_nsec == 0) result.tv_nsec = 1;
  return result;
}

}  // namespace

struct Activity::Impl {
  struct Watched {
    int fd;
    // Asked for again when the watch has rested.
    std::uint32_t events;
    std::shared_ptr<Ready const> ready;  // outlives its watch while it runs
  };

  Impl();
  // Others may hold the clock for longer, and `resume` tells it when it goes: neither may arm what
  // is being destroyed.
  ~Impl() { clock->onTimeNextIs(nullptr); }

  void addToEpoll(int descriptor, std::uint32_t events, std::uint64_t token) const;
  void drop(std::uint64_t token);
  void turn(int timeout);
  void endTurn() noexcept;
  void call(std::uint64_t token, std::uint32_t events) noexcept;
  void rest(std::uint64_t token);
  void resumeRested();
  void arm();
  void ring(bool on) const;
  void timerIs(double time) const;

  Descriptor const epoll = opened(epoll_create1(EPOLL_CLOEXEC), "epoll_create1");
  Descriptor const timer =
      opened(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create");
  Descriptor const bell = opened(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd");
  Ptr<Clock const> const clock = makeObject<Clock>();

  std::unordered_map<std::uint64_t, Watched> watched;
  std::unordered_map<int, std::uint64_t> tokens;  // the watch that epoll has for a descriptor
  // No token is used twice: an event that was fetched for a watch that has gone meanwhile finds
  // nobody.
  std::uint64_t lastToken = ownToken;
  double armed = never;            // what bell and timer stand at
  std::vector<TurnEnd*> turnEnds;  // asked for
  bool inTurn = false;
  bool stopped = false;

  std::vector<std::uint64_t> rested;
  Timer resume{clock, [this] { resumeRested(); }};
};

Activity::Impl::Impl() {
  addToEpoll(timer.get(), EPOLLIN, ownToken);
  addToEpoll(bell.get(), EPOLLIN, ownToken);
  clock->onTimeNextIs([this] {
    // During a turn times change all the time: its end looks once.
    if (!inTurn) arm();
  });
}

void Activity::Impl::addToEpoll(int descriptor, std::uint32_t events, std::uint64_t token) const {
  epoll_event event{};
  event.events = events;
  event.data.u64 = token;
  if (epoll_ctl(epoll.get(), EPOLL_CTL_ADD, descriptor, &event) == 0) return;
  throwErrno(fmt::format("cannot watch descriptor {}", descriptor));
}

void Activity::Impl::drop(std::uint64_t token) {
  auto const found = watched.find(token);
  if (found == watched.end()) return;
  int const descriptor = found->second.fd;
  // The number of a descriptor is not its identity (epoll(7), questions and answers 6).
  // A descriptor that was closed has left the epoll set by itself; its number may be in use again,
  // by a newer watch or by nobody that we know.
  if (auto const current = tokens.find(descriptor);
      current != tokens.end() && current->second == token) {
    // Of a watch that rests there is none in the set: that error says nothing.
    epoll_ctl(epoll.get(), EPOLL_CTL_DEL, descriptor, nullptr);
    tokens.erase(current);
  }
  auto const ready = std::move(found->second.ready);  // destroyed after the watch is gone
  watched.erase(found);
}

void Activity::Impl::turn(int timeout) {
  std::array<epoll_event, eventsMax> events;
  // What this throws is for the caller, and nothing of a turn has begun.
  int const count = epoll_wait(epoll.get(), events.data(), eventsMax, timeout);
  // A signal ends the wait, not the turn: the clock is looked at all the same.
  if (count < 0 && errno != EINTR) throwErrno("epoll_wait");
  inTurn = true;
  // Descriptors before the clock: a reactor that asks for every turn, as a long backlog does, keeps
  // none of them waiting. Our own two only wake the loop; arm() sets them back.
  for (int i = 0; i < count; ++i) {
    auto const& event = events[static_cast<std::size_t>(i)];
    // An exception of a callback ends in call(): the rest of the turn is the others'.
    if (event.data.u64 != ownToken) call(event.data.u64, event.events);
  }
  // Reactors' exceptions stay with the clock.
  clock->deliver();
  endTurn();
  arm();
}

void Activity::Impl::endTurn() noexcept {
  std::size_t const count = turnEnds.size();  // what an action asks for belongs to the next turn
  for (std::size_t i = 0; i < count; ++i) {
    auto* const end = std::exchange(turnEnds[i], nullptr);
    if (!end) continue;  // dropped
    end->asked_ = false;
    try {
      end->action_();
    } catch (...) {
      tell([] {
        log(Severity::error, fmt::format("activity: end of a turn failed: {}",
                                         exceptionText(std::current_exception())));
      });
    }
  }
  // Asked for again, an action stands behind `count`, and makes arm() ring for another turn.
  turnEnds.erase(turnEnds.begin(), turnEnds.begin() + static_cast<std::ptrdiff_t>(count));
  // Only here: what is armed during a turn is armed once, by arm() behind it.
  inTurn = false;
}

void Activity::Impl::call(std::uint64_t token, std::uint32_t events) noexcept {
  auto const found = watched.find(token);
  if (found == watched.end()) return;  // dropped since the event was fetched
  auto const target = found->second;   // a copy: the callback may drop its watch
  try {
    (*target.ready)(events);
  } catch (...) {
    tell([&] {
      log(Severity::error, fmt::format("activity: handler of descriptor {} failed: {}", target.fd,
                                       exceptionText(std::current_exception())));
    });
    tell([&] { rest(token); });
  }
}

void Activity::Impl::rest(std::uint64_t token) {
  auto const found = watched.find(token);
  if (found == watched.end()) return;
  // Before the watch leaves the set: where this fails it stays there, busy and alive.
  rested.push_back(token);
  // Level-triggered: a descriptor that nobody reads stays ready, and each turn would begin with it.
  epoll_ctl(epoll.get(), EPOLL_CTL_DEL, found->second.fd, nullptr);
  if (resume.timeMin() == never) resume.timeMinIs(now() + Clock::retryDelay);
}

void Activity::Impl::resumeRested() {
  for (; !rested.empty(); rested.pop_back()) {
    auto const token = rested.back();
    auto const found = watched.find(token);
    if (found == watched.end()) continue;
    // Another watch may have got the descriptor's number meanwhile: that one is in the set now.
    auto const current = tokens.find(found->second.fd);
    if (current == tokens.end() || current->second != token) continue;
    try {
      addToEpoll(found->second.fd, found->second.events, token);
    } catch (Exception const& e) {  // closed meanwhile
      log(Severity::error, e.what());
    }
  }
}

/// Makes the epoll descriptor readable at the clock's next time, and not before.
void Activity::Impl::arm() {
  // What was asked for outside of a turn needs one to end.
  double next = turnEnds.empty() ? clock->timeNext() : asap;
  if (next <= asap) next = asap;
  // Simulated time is moved by hand: the kernel's timer would fire by another clock.
  if (next != asap && timeIsSimulated()) next = never;
  // Arming costs a system call, and most turns leave the next time where it is.
  if (next == armed) return;
  if ((next == asap) != (armed == asap)) ring(next == asap);
  // At asap the timer is left as it is: it may fire, and wakes a turn that comes anyway.
  if (next != asap) timerIs(next);
  armed = next;
}

void Activity::Impl::ring(bool on) const {
  // An eventfd stays readable until it is read, so a foreign loop comes back until the work is
  // done.
  std::uint64_t value = 1;
  auto const done =
      on ? write(bell.get(), &value, sizeof value) : read(bell.get(), &value, sizeof value);
  if (done != sizeof value) throwErrno("eventfd");
}

void Activity::Impl::timerIs(double time) const {
  // Left at zero, it disarms the timer (timerfd_settime(2)).
  itimerspec setting{};
  if (time != never) setting.it_value = timerTime(time);
  if (timerfd_settime(timer.get(), TFD_TIMER_ABSTIME, &setting, nullptr) != 0) {
    throwErrno("timerfd_settime");
  }
}

Activity::Activity() : impl_(std::make_unique<Impl>()) {}
Activity::~Activity() = default;

Activity::Watch::Watch(Watch&& other) noexcept
    : activity_(std::exchange(other.activity_, nullptr)), token_(other.token_) {}

Activity::Watch& Activity::Watch::operator=(Watch&& other) noexcept {
  // The watch that was held ends with `moved`, after this one is whole.
  Watch moved(std::move(other));
  std::swap(activity_, moved.activity_);
  std::swap(token_, moved.token_);
  return *this;
}

Activity::Watch::~Watch() {
  if (activity_) activity_->impl_->drop(token_);
}

Activity::TurnEnd::TurnEnd(Activity& activity, std::function<void()> action)
    : activity_(activity), action_(std::move(action)) {}

Activity::TurnEnd::~TurnEnd() {
  // The place stays, empty: endTurn() goes by places, and an action may drop another TurnEnd.
  auto& ends = activity_.impl_->turnEnds;
  if (asked_) std::replace(ends.begin(), ends.end(), this, static_cast<TurnEnd*>(nullptr));
}

void Activity::TurnEnd::ask() {
  if (asked_) return;
  auto& impl = *activity_.impl_;
  impl.turnEnds.push_back(this);  // first: one that finds no memory is to be asked for again
  asked_ = true;
  // Outside of a turn nobody else wakes the loop: a snapshot that a request has opened would last
  // until something happens.
  if (!impl.inTurn) impl.arm();
}

Activity::Watch Activity::watch(int fd, std::uint32_t events, Ready ready) {
  auto const token = ++impl_->lastToken;
  // The room for it before the kernel is asked: a descriptor in the epoll set that nobody is called
  // for would begin every turn.
  auto& current = impl_->tokens[fd];
  impl_->watched[token] = {fd, events, std::make_shared<Ready const>(std::move(ready))};
  Watch watch(this, token);  // undoes it, should the kernel refuse
  impl_->addToEpoll(fd, events, token);
  // A number that is watched already is refused above (EEXIST). One that was closed without
  // dropping its Watch is taken over here, and drop() of the old Watch leaves it alone.
  current = token;
  return watch;
}

Ptr<Clock const> Activity::clock() const { return impl_->clock; }

int Activity::fd() const { return impl_->epoll.get(); }

void Activity::deliver() {
  if (!impl_->inTurn) impl_->turn(0);
}

void Activity::run() {
  if (impl_->inTurn) throw Exception("activity: run() called from inside a callback");
  while (!std::exchange(impl_->stopped, false)) {
    // While time is simulated, no timer of the kernel wakes the loop (arm()).
    bool const isDue = timeIsSimulated() && impl_->clock->timeNext() <= now();
    impl_->turn(isDue ? 0 : -1);
  }
}

void Activity::stop() { impl_->stopped = true; }

}  // namespace Mav
