#pragma once
// What goes wrong with shared tables. Texts say what, where and what to do; one line each.

#include "platform/mav/exception.h"

namespace Pondo {

/// The run directory, its files or the library refuse: absent, no permission, foreign file, wrong
/// schema, no space. A reader waits and tries again; a writer reports and ends or retries.
class EnvironmentException : public Mav::Exception {
 public:
  using Exception::Exception;
};

/// Another publisher holds the run directory.
class PublisherRunningException : public EnvironmentException {
 public:
  using EnvironmentException::EnvironmentException;
};

/// The consistency check of a read failed beyond what trying again mends.
class ConsistencyException : public Mav::Exception {
 public:
  using Exception::Exception;
};

}  // namespace Pondo
