#pragma once
// The clock of an activity, and its reactors. A reactor sets its timeMin; the clock calls its
// onTime() in every turn of the activity in which now() has reached it. A timeMin of 0.0 (asap)
// means the next turn, infinity (never) means not armed. The clock does not disarm a reactor: the
// reactor moves its timeMin on.
//
// A turn calls each reactor that is due once, whatever it sets meanwhile, so that a reactor which
// asks for 0.0 again leaves the rest of the loop its turn.
//
// A reactor whose onTime() throws gets the exception in its onException(), and is not called for
// retryDelay seconds, so that a lasting fault does not fill a core. It keeps its timeMin: it is
// called again after that.
//
// A reactor may destroy itself or any other from inside onTime(). All on the activity's thread.

#include <functional>
#include <memory>
#include <utility>

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
    /// Arms the reactor for `time` (seconds of Mav::now()). RangeException when it is not a number.
    void timeMinIs(double time);

    void hasNotificationActiveIs(bool active) override;
    /// Moves the reactor to another clock, with its timeMin.
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

  /// The earliest time at which a reactor is due; never when none is armed. Costs a look at every
  /// reactor.
  double timeNext() const;

  /// Calls every reactor that is due now, each once: the clock's part of a turn.
  void deliver() const;

  /// Sets what is called whenever timeNext() may have changed: the activity arms its timer by it.
  /// The hook must not throw.
  void onTimeNextIs(std::function<void()> hook) const { onTimeNext_ = std::move(hook); }

  std::span<std::string_view const> attributeNames() const override;
  void addNotifiee(NotifieeConst* notifiee) const;
  void removeNotifiee(NotifieeConst* notifiee) const;

 private:
  void callReactor(NotifieeConst& reactor) const;
  void tellTimeNext() const;

  mutable NotifieeList<NotifieeConst> reactors_;
  mutable std::function<void()> onTimeNext_;
};

/// A clock reactor whose action is a function. It is disarmed before the action runs, which may arm
/// it again, and may destroy its Timer. An action that throws is due again after retryDelay.
class Timer : private Clock::NotifieeConst {
 public:
  /// Not armed at first.
  Timer(Ptr<Clock const> clock, std::function<void()> action);
  /// When the action runs: an absolute time of Mav::now(), asap or never.
  using Clock::NotifieeConst::timeMin;
  using Clock::NotifieeConst::timeMinIs;

 private:
  void onTime() override;
  std::shared_ptr<std::function<void()> const> const action_;  // outlives the Timer in onTime()
};

}  // namespace Mav
