#pragma once
// Clock reactors. A reactor sets its timeMin; the clock calls its onTime() in every turn of the
// activity in which now() has reached it: 0.0 (asap) means the next turn, infinity (never) means
// not armed. The reactor moves its timeMin on itself: the clock does not disarm it. A turn calls
// each due reactor once, whatever it sets meanwhile, so that a reactor that asks for 0.0 again
// yields to the rest of the loop.
//
// A reactor whose onTime() threw is handed the exception (onException) and is not called again for
// retryDelay seconds while its timeMin is due, so that a lasting fault does not spin the loop.

#include <functional>
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
    void timeMinIs(double time);

    virtual void onTime() {}

   private:
    friend class Clock;
    double timeMin_ = never;
    double notBefore_ = 0.0;  // after an exception
  };

  explicit Clock(Name name = "clock") : Entity(std::move(name)) {}

  double now() const { return Mav::now(); }

  /// The earliest time at which a reactor is due; never when none is armed.
  double timeNext() const;

  /// One turn: calls every reactor that is due now, each once.
  void deliver() const;

  /// Called whenever timeNext() may have become earlier (the activity re-arms its timer).
  void onEarlierIs(std::function<void()> hook) const { onEarlier_ = std::move(hook); }

  std::string_view typeName() const override { return "Mav::Clock"; }
  AttributeTable const& attributeTable() const override;
  void addNotifiee(NotifieeConst* notifiee) const;
  void removeNotifiee(NotifieeConst* notifiee) const;

 private:
  mutable std::vector<NotifieeConst*> reactors_;  // null: left during deliver()
  mutable int depth_ = 0;
  mutable std::function<void()> onEarlier_;
};

/// A clock reactor with its action as a function: one-shot, set again from inside as wished.
/// It is disarmed before the action runs.
class Timer : private Clock::NotifieeConst {
 public:
  Timer(Ptr<Clock const> clock, std::function<void()> action);
  /// Absolute platform time; asap, never.
  using Clock::NotifieeConst::timeMin;
  using Clock::NotifieeConst::timeMinIs;

 private:
  void onTime() override;
  std::function<void()> action_;
};

}  // namespace Mav
