#pragma once
// The event loop: one epoll set that holds watched descriptors, one timerfd (the clock's next
// time) and one eventfd (as soon as possible).
//
// Used in two ways. Embedded in a foreign loop: hand fd() to it, and call deliver() whenever it is
// readable; everything that is due, timers and asap included, makes fd() readable. Alone: run().
//
// One turn (deliver) handles the descriptors that are ready, then the clock reactors that are due,
// each once, then what was asked for its end, and returns: work that asks for more time yields to
// the foreign loop. Never blocks. An exception from a callback is logged and does not end the turn;
// a watch whose callback threw rests for Clock::retryDelay seconds, so that a lasting fault does
// not spin the loop. One thread.

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/mav/clock.h"

namespace Mav {

class Activity {
 public:
  /// Called with the epoll(7) events that are ready. May drop its own Watch or any other, and make
  /// new ones: no event that was fetched before reaches a callback made or dropped since.
  using Ready = std::function<void(std::uint32_t events)>;

  /// Dropping it ends the watch; the descriptor stays the caller's. Drop the watch, then close the
  /// descriptor; the other way round is harmless too, even when the number is in use again by then,
  /// but for a descriptor that was duplicated. Must not outlive the Activity.
  class Watch {
   public:
    Watch() = default;
    Watch(Watch&& other) noexcept;
    Watch& operator=(Watch&& other) noexcept;
    ~Watch();
    explicit operator bool() const { return activity_ != nullptr; }

   private:
    friend class Activity;
    Watch(Activity* activity, std::uint64_t token) : activity_(activity), token_(token) {}
    Activity* activity_ = nullptr;
    std::uint64_t token_ = 0;
  };

  /// Ends what is to last for one turn only.
  class TurnEnd {
   public:
    /// Must not outlive the Activity. The action must not drop its own TurnEnd.
    TurnEnd(Activity& activity, std::function<void()> action);
    ~TurnEnd();
    TurnEnd(TurnEnd const&) = delete;
    TurnEnd& operator=(TurnEnd const&) = delete;

    /// Has the action called once, when the turn under way ends, whatever threw in it. Outside of
    /// a turn: when the next one ends, which then comes as soon as possible.
    void ask();

   private:
    friend class Activity;
    Activity& activity_;
    std::function<void()> const action_;
    bool asked_ = false;
  };

  /// Throws Exception when the kernel refuses the descriptors.
  Activity();
  ~Activity();
  Activity(Activity const&) = delete;
  Activity& operator=(Activity const&) = delete;

  /// `events` as of epoll(7), level triggered. One watch a descriptor: Exception when there is one
  /// already or when the kernel refuses the descriptor.
  [[nodiscard]] Watch watch(int fd, std::uint32_t events, Ready ready);

  /// The clock whose reactors this loop runs.
  Ptr<Clock const> clock() const;

  /// The epoll descriptor, for a foreign loop.
  int fd() const;

  /// One turn, without waiting. From inside a callback: no effect.
  void deliver();

  /// Turns until stop(), waiting in between. Under simulated time it waits for descriptors alone
  /// when no reactor is due. A stop() that came before it ends it at once. Exception when called
  /// from inside a callback.
  void run();
  void stop();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// Names the activity on which a state machine's reactors run.
class ActivityConfig : public Object {
 public:
  explicit ActivityConfig(Activity& activity) : activity_(activity) {}
  Activity& activity() const { return activity_; }

 private:
  Activity& activity_;
};

}  // namespace Mav
