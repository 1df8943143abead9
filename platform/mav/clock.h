#pragma once
// Clock reactors. A reactor sets its timeMin; the clock calls its onTime() in every turn of the
// activity in which now() has reached it: 0.0 (asap) means the next turn, infinity (never) means
// not armed. The reactor moves its timeMin on itself: the clock does not disarm it. A turn calls
// each due reactor once, whatever it sets meanwhile, so that a reactor that asks for 0.0 again
// yields to the rest of the loop.
//
// A reactor whose onTime() threw is handed the exception (onException) and is not called again for
// retryDelay seconds while its timeMin is due, so that a lasting fault does not spin the loop.

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/mav/entity.h"
#include "platform/mav/time.h"

namespace Mav {

class Clock : public Entity {
 public:
  static constexpr AttributeId timeAttributeId = firstAttributeId;
  static constexpr double retryDelay = 1.0;

  class NotifieeConst : public Notifiee<Clock const, NotifieeConst> {
   public:
    explicit NotifieeConst(Ptr<Clock const> clock = nullptr) : Notifiee(std::move(clock)) {}

    double timeMin() const { return timeMin_; }
    /// RangeException when `time` is not a number.
    void timeMinIs(double time);

    void hasNotificationActiveIs(bool active) override;
    /// Takes its timeMin along to the other clock.
    void notifierIs(Ptr<Clock const> clock);

    virtual void onTime() {}

   private:
    friend class Clock;
    double timeDue() const;
    void tellClock() const;
    double timeMin_ = never;
    double notBefore_ = 0.0;  // after an exception
  };

  explicit Clock(Name name = "clock") : Entity(std::move(name)) {}

  double now() const { return Mav::now(); }

  /// The earliest time at which a reactor is due; never when none is armed.
  double timeNext() const;

  /// One turn: calls every reactor that is due now, each once.
  void deliver() const;

  /// Called whenever timeNext() may have changed (the activity re-arms its timer). Must not throw.
  void onTimeNextIs(std::function<void()> hook) const { onTimeNext_ = std::move(hook); }

  std::string_view typeName() const override { return "Mav::Clock"; }
  AttributeTable const& attributeTable() const override;
  void addNotifiee(NotifieeConst* notifiee) const;
  void removeNotifiee(NotifieeConst* notifiee) const;

 private:
  void callReactor(std::size_t i) const;
  void tellTimeNext() const;

  mutable std::vector<NotifieeConst*> reactors_;  // null: left during deliver()
  mutable int depth_ = 0;
  mutable std::function<void()> onTimeNext_;
};

/// A clock reactor with its action as a function: one-shot, set again from inside as wished.
/// It is disarmed before the action runs. The action may destroy its Timer.
class Timer : private Clock::NotifieeConst {
 public:
  Timer(Ptr<Clock const> clock, std::function<void()> action);
  /// Absolute platform time; asap, never.
  using Clock::NotifieeConst::timeMin;
  using Clock::NotifieeConst::timeMinIs;

 private:
  void onTime() override;
  std::shared_ptr<std::function<void()> const> const action_;  // outlives the Timer in onTime()
};

}  // namespace Mav
