#pragma once
// The event loop: one epoll set that holds the watched descriptors, a timerfd (the clock's next
// time) and an eventfd (as soon as possible).
//
// It works in two ways. Inside another loop (snmpd's): that loop watches fd(), which is readable
// whenever anything is due, timers included, and then calls deliver(). Alone (tools, tests): run().
//
// One turn calls the callbacks of the descriptors that are ready, then each clock reactor that is
// due, once, then the actions that were asked for its end, and returns. Work that wants to go on
// asks for another turn, so that the other loop has its own in between. A turn never waits.
//
// An exception of a callback is logged, and the turn goes on. The watch whose callback threw rests
// for Clock::retryDelay seconds, so that a lasting fault does not fill a core.
//
// One thread uses an activity: the one that delivers. Callbacks may make and drop watches, timers
// and turn ends, their own included; they must not destroy the activity.

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/mav/clock.h"

namespace Mav {

class Activity {
 public:
  /// Takes the epoll(7) events that are ready. It may drop its own Watch or any other, and make new
  /// ones: an event that was fetched earlier in the turn reaches neither a dropped watch nor a new
  /// one that has got the same descriptor number.
  using Ready = std::function<void(std::uint32_t events)>;

  /// A watched descriptor. Dropping the Watch ends the watch; the descriptor stays the caller's,
  /// who drops the Watch first and closes the descriptor then. The other order does no harm either,
  /// even when the number is in use again by then, unless the descriptor was duplicated. A Watch
  /// must not outlive its Activity.
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

  /// An action that runs when a turn ends: it takes away what was to last for that turn only.
  class TurnEnd {
   public:
    /// The TurnEnd must not outlive its Activity, and the action must not drop its own TurnEnd.
    TurnEnd(Activity& activity, std::function<void()> action);
    ~TurnEnd();
    TurnEnd(TurnEnd const&) = delete;
    TurnEnd& operator=(TurnEnd const&) = delete;

    /// Has the action run once when the turn under way ends, whatever was thrown in that turn.
    /// Outside of a turn it runs when the next one ends, which then comes as soon as possible.
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

  /// Watches `fd` for `events` of epoll(7), level triggered. Raises Exception when the descriptor
  /// is watched already, or when the kernel refuses it (a regular file).
  [[nodiscard]] Watch watch(int fd, std::uint32_t events, Ready ready);

  /// The clock whose reactors this loop runs. It may outlive the activity, which then arms nothing
  /// by it.
  Ptr<Clock const> clock() const;

  /// The epoll descriptor, for a foreign loop. Readable is all that the other loop may do with it:
  /// what is in the set is this one's.
  int fd() const;

  /// Makes one turn, without waiting. A call from inside a callback has no effect.
  void deliver();

  /// Makes turns until stop(), and waits in between. Under simulated time no timer wakes it: it
  /// waits for descriptors alone when no reactor is due. A stop() that came earlier ends it at
  /// once. Raises Exception when called from inside a callback.
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
