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
  for (auto const* reactor : reactors_) {
    if (reactor) next = std::min(next, reactor->timeDue());
  }
  return next;
}

void Clock::deliver() const {
  // Read once: a reactor whose time comes while the others run belongs to the next turn.
  double const time = now();
  ++depth_;
  std::size_t const end = reactors_.size();
  // A reactor that comes meanwhile stands behind `end` and waits for the next turn; one that leaves
  // becomes null, so that the others keep their places.
  for (std::size_t i = 0; i < end; ++i) {
    if (reactors_[i] && reactors_[i]->timeDue() <= time) callReactor(i);
  }
  if (--depth_ == 0) std::erase(reactors_, nullptr);
}

void Clock::callReactor(std::size_t i) const {
  // Its rest, if it had one, is over. onTime() may destroy it: from there on only the slot tells.
  reactors_[i]->notBefore_ = 0.0;
  try {
    reactors_[i]->onTime();
  } catch (...) {
    // The rest comes before the news of it: onException() may destroy the reactor.
    if (reactors_[i]) {
      reactors_[i]->notBefore_ = now() + retryDelay;
      tellTimeNext();
    }
    NotifieeBase::deliverException(reactors_[i], timeAttributeId);
  }
}

std::span<std::string_view const> Clock::attributeNames() const {
  static constexpr std::array<std::string_view, 1> names{"time"};
  return names;
}

// Tells nobody: the reactor may still be under construction, and then is not armed.
void Clock::addNotifiee(NotifieeConst* notifiee) const { reactors_.push_back(notifiee); }

void Clock::removeNotifiee(NotifieeConst* notifiee) const {
  auto const found = std::find(reactors_.begin(), reactors_.end(), notifiee);
  if (found == reactors_.end()) return;
  *found = nullptr;  // a turn under way skips it
  if (depth_ == 0) reactors_.erase(found);
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
