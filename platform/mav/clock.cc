#include "platform/mav/clock.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Mav {

void Clock::NotifieeConst::timeMinIs(double time) {
  if (std::isnan(time)) throw RangeException("timeMin of a clock reactor is not a number");
  // A reactor that asks for the same again costs no look at all the others (timeNext).
  if (time == timeMin_) return;
  timeMin_ = time;
  tellClock();
}

void Clock::NotifieeConst::hasNotificationActiveIs(bool active) {
  Notifiee::hasNotificationActiveIs(active);
  tellClock();
}

void Clock::NotifieeConst::notifierIs(Ptr<Clock const> clock) {
  // The base registers in silence (addNotifiee), and the reactor may come armed.
  Notifiee::notifierIs(std::move(clock));
  tellClock();
}

double Clock::NotifieeConst::timeDue() const {
  return hasNotificationActive() ? std::max(timeMin_, notBefore_) : never;
}

void Clock::NotifieeConst::tellClock() const {
  if (notifier()) notifier()->tellTimeNext();
}

void Clock::tellTimeNext() const {
  if (onTimeNext_) onTimeNext_();
}

double Clock::timeNext() const {
  double next = never;
  // All are asked: there are few, and a turn asks once.
  reactors_.notify(timeAttributeId,
                   [&](NotifieeConst const& reactor) { next = std::min(next, reactor.timeDue()); });
  return next;
}

void Clock::deliver() const {
  // Read once: a reactor whose time comes while the others run belongs to the next turn, as one
  // does that comes meanwhile.
  double const time = now();
  reactors_.notify(timeAttributeId, [&](NotifieeConst& reactor) {
    if (reactor.timeDue() <= time) callReactor(reactor);
  });
}

void Clock::callReactor(NotifieeConst& reactor) const {
  // Its rest, if it had one, is over.
  reactor.notBefore_ = 0.0;
  try {
    reactor.onTime();
  } catch (...) {
    // The rest comes before the news of it: onException() may destroy the reactor, as onTime() may
    // have.
    if (reactors_.contains(&reactor)) {
      reactor.notBefore_ = now() + retryDelay;
      tellTimeNext();
    }
    throw;
  }
}

std::span<std::string_view const> Clock::attributeNames() const {
  static constexpr std::array<std::string_view, 1> names{"time"};
  return names;
}

// Tells nobody: the reactor may still be under construction, and then is not armed.
void Clock::addNotifiee(NotifieeConst* notifiee) const { reactors_.add(notifiee); }

void Clock::removeNotifiee(NotifieeConst* notifiee) const {
  reactors_.remove(notifiee);
  tellTimeNext();
}

Timer::Timer(Ptr<Clock const> clock, std::function<void()> action)
    : NotifieeConst(std::move(clock)),
      action_(std::make_shared<std::function<void()> const>(std::move(action))) {}

void Timer::onTime() {
  double const due = timeMin();
  // First: what the action arms stands.
  timeMinIs(never);
  auto const action = action_;
  try {
    (*action)();
  } catch (...) {
    // The clock has it wait a while. Nobody but this function holds the action of a Timer that has
    // been destroyed.
    if (action.use_count() > 1) timeMinIs(std::min(timeMin(), due));
    throw;
  }
}

}  // namespace Mav
