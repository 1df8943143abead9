#pragma once
// What can go wrong with the shared tables. Each text is one line of the form "PATH: what is wrong;
// what to do", which an operator reads as it is (docs/errors.md).

#include <string>

#include "platform/mav/exception.h"

namespace Pondo {

/// The run directory, its files or LMDB refuse. A reader waits and tries again; a publisher that
/// starts ends with the text, one that runs tells it and tries again.
class EnvironmentException : public Mav::Exception {
 public:
  /// What callers decide by; the text is for people. The follower comes back soon from `busy`, and
  /// waits for a notice of the path or for the next look after all else. The writer makes room for
  /// `noSpace`, lets go of an environment that is `foreign` or `truncated`, and makes new tables at
  /// a start unless the reason would meet those too.
  enum class Reason {
    absent,         // no run directory, no tables, no file
    denied,         // no permission
    readOnlyMount,  // readers cannot be registered there
    foreign,        // not a file of this program, or not a regular file
    truncated,      // shorter than what it says it holds
    schema,         // written by another version
    busy,           // passes by itself: no free reader slot, resized, lost slot
    noSpace,        // file system or map full
    other,
  };

  explicit EnvironmentException(std::string const& text, Reason reason = Reason::other)
      : Exception(text), reason_(reason) {}

  Reason reason() const { return reason_; }

 private:
  Reason reason_;
};

/// Another publisher holds the run directory. Whoever meets it gives up: two writers would undo
/// each other's work.
class PublisherRunningException : public EnvironmentException {
 public:
  using EnvironmentException::EnvironmentException;
};

/// The consistency check of a read failed beyond what trying again mends. To the state machines
/// SharedFib says so whenever routes cannot be read, whatever the tables suffer from: they keep
/// their rows and come back.
class ConsistencyException : public Mav::Exception {
 public:
  using Exception::Exception;
};

}  // namespace Pondo
