#pragma once
// The event loop: one epoll set that holds watched descriptors, one timerfd (the clock's next
// time) and one eventfd (as soon as possible).
//
// Used in two ways. Embedded in a foreign loop: hand fd() to it, and call deliver() whenever it is
// readable; everything that is due, timers and asap included, makes fd() readable. Alone: run().
//
// One turn (deliver) handles the descriptors that are ready, then the clock reactors that are due,
// each once, and returns: work that asks for more time yields to the foreign loop. Never blocks.
// An exception from a callback is logged and does not end the turn. One thread.

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/mav/clock.h"

namespace Mav {

class Activity {
 public:
  /// Called with the epoll(7) events that are ready. May drop its own Watch or any other.
  using Ready = std::function<void(std::uint32_t events)>;

  /// Dropping it ends the watch; the descriptor stays the caller's and must outlive it. Must not
  /// outlive the Activity.
  class Watch {
   public:
    Watch() = default;
    Watch(Watch&& other) noexcept;
    Watch& operator=(Watch&& other) noexcept;
    ~Watch();
    explicit operator bool() const { return activity_ != nullptr; }

   private:
    friend class Activity;
    Watch(Activity* activity, int fd) : activity_(activity), fd_(fd) {}
    Activity* activity_ = nullptr;
    int fd_ = -1;
  };

  /// Throws Exception when the kernel refuses the descriptors.
  Activity();
  ~Activity();
  Activity(Activity const&) = delete;
  Activity& operator=(Activity const&) = delete;

  /// `events` as of epoll(7), level triggered. One watch a descriptor.
  [[nodiscard]] Watch watch(int fd, std::uint32_t events, Ready ready);

  /// The clock whose reactors this loop runs.
  Ptr<Clock const> clock() const;

  /// The epoll descriptor, for a foreign loop.
  int fd() const;

  /// One turn, without waiting.
  void deliver();

  /// Turns until stop(), waiting in between. Under simulated time it waits for descriptors alone.
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
