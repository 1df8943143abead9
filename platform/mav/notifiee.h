#pragma once
// Change notification. An entity E has a notifiee interface E::NotifieeConst, which derives from
// Notifiee<E const, NotifieeConst> and has one virtual handler for each attribute. That of a
// collection takes the key of the member that came, went or changed. Some collections have a second
// one, without a key, for the collection as a whole. A handler that is not overridden does nothing.
//
//   class Config::NotifieeConst : public Mav::Notifiee<Config const, NotifieeConst> {
//    public:
//     using Notifiee::Notifiee;
//     virtual void onRouting() {}
//   };
//
// A notifiee that overrides one of two handlers of a name names the other by using
// NotifieeConst::onX, which would be hidden otherwise.
//
// The entity (entity.h) announces after a change:
//   notify(attributeId, &NotifieeConst::onRouting);
//
// Rules.
// - Notification is synchronous, in the order of registration.
// - It reaches the notifiees that were registered at its start, less those that were unregistered
//   or destroyed since. A handler may unregister or destroy any notifiee, its own included, and may
//   register new ones, which hear the next change. It may change the entity again.
// - The exception of a handler is handed to its own onException, with the attribute's number. The
//   other handlers run all the same.
// - A notifiee is called only while hasNotificationActive().
// - A notifiee holds its entity by a counted reference. Whoever changes an entity holds one too, so
//   that the entity outlives its notification.
// - One thread.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "platform/mav/object.h"

namespace Mav {

using AttributeId = std::uint32_t;

/// Writes an exception that nobody else takes as a level-0 trace line: "exception in handler of
/// attribute N: WHAT".
void traceNotifieeException(AttributeId attribute, std::exception_ptr const& exception);

/// Gives what an exception says of itself; a fixed text when it is no std::exception.
std::string exceptionText(std::exception_ptr const& exception);

class NotifieeBase {
 public:
  NotifieeBase() = default;
  NotifieeBase(NotifieeBase const&) = delete;
  NotifieeBase& operator=(NotifieeBase const&) = delete;
  virtual ~NotifieeBase() = default;

  bool hasNotificationActive() const { return active_; }
  virtual void hasNotificationActiveIs(bool active) { active_ = active; }

  /// Hears that the entity's isNondestructing() has turned.
  virtual void onIsNondestructing() {}

  /// Takes what a handler of this notifiee threw. The default traces it. What it throws in its turn
  /// is traced. It may destroy the notifiee.
  virtual void onException(AttributeId attribute, std::exception_ptr exception) {
    traceNotifieeException(attribute, exception);
  }

  /// Hands the exception that is being caught to `notifiee`. Traces it when `notifiee` is null (it
  /// has gone) or throws in its turn.
  static void deliverException(NotifieeBase* notifiee, AttributeId attribute) noexcept;

 private:
  bool active_ = true;
};

/// The list of an entity's notifiees, in the order of registration. It owns none of them.
template <class N>
class NotifieeList {
 public:
  NotifieeList() = default;
  NotifieeList(NotifieeList const&) = delete;
  NotifieeList& operator=(NotifieeList const&) = delete;

  /// A notifiee adds itself once, at the end: it hears last.
  void add(N* notifiee) { notifiees_.push_back(notifiee); }

  /// Leaves a gap while a notification runs, so that places stay. No effect when it is not there.
  void remove(N* notifiee) {
    for (auto& slot : notifiees_) {
      if (slot != notifiee) continue;
      slot = nullptr;  // a notification under way skips it
      if (depth_ == 0) compact();
      return;
    }
  }

  bool contains(N const* notifiee) const {
    return std::find(notifiees_.begin(), notifiees_.end(), notifiee) != notifiees_.end();
  }

  /// Whether anybody would hear a notification now.
  bool anyActive() const {
    return std::any_of(notifiees_.begin(), notifiees_.end(), [](N const* notifiee) {
      return notifiee && notifiee->hasNotificationActive();
    });
  }

  /// Calls call(notifiee) for each, by the rules above. Never throws.
  template <class Call>
  void notify(AttributeId attribute, Call const& call) {
    if (notifiees_.empty()) return;
    ++depth_;
    // By places, not by iterators: a handler that registers somebody may move the vector. A
    // newcomer stands behind `end`.
    std::size_t const end = notifiees_.size();
    for (std::size_t i = 0; i < end; ++i) {
      N* const notifiee = notifiees_[i];
      if (!notifiee || !notifiee->hasNotificationActive()) continue;
      try {
        call(*notifiee);
      } catch (...) {
        // Null when the handler destroyed its notifiee before it threw.
        NotifieeBase::deliverException(notifiees_[i], attribute);
      }
    }
    if (--depth_ == 0) compact();
  }

 private:
  void compact() { std::erase(notifiees_, nullptr); }

  std::vector<N*> notifiees_;
  int depth_ = 0;
};

/// The base of the notifiee interface of entity E (usually const). A notifiee is registered from
/// its construction, or from notifierIs(), until its destruction. E has addNotifiee(N*) const and
/// removeNotifiee(N*) const for its interface N, which this base calls.
template <class E, class N>
class Notifiee : public NotifieeBase {
 public:
  explicit Notifiee(Ptr<E> notifier = nullptr) { notifierIs(std::move(notifier)); }
  ~Notifiee() override { notifierIs(nullptr); }

  Ptr<E> const& notifier() const { return notifier_; }

  /// Leaves the old entity and listens to the new one, or to none when that is null.
  void notifierIs(Ptr<E> notifier) {
    if (notifier_ == notifier) return;
    if (notifier_) notifier_->removeNotifiee(self());
    notifier_ = std::move(notifier);
    if (notifier_) notifier_->addNotifiee(self());
  }

 private:
  // Called while N is under construction or destruction: the list only keeps the pointer then.
  __attribute__((no_sanitize("vptr"))) N* self() { return static_cast<N*>(this); }

  Ptr<E> notifier_;
};

}  // namespace Mav
