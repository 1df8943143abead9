#pragma once
// Errors of the object model. A caller catches the class, an operator reads the text; the texts
// are part of the interface where a header states them.

#include <stdexcept>
#include <string>

namespace Mav {

class Exception : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A value outside what its type or its operation allows: unknown enumerators, malformed text,
/// null where an object must be, unknown attribute names.
class RangeException : public Exception {
 public:
  using Exception::Exception;
};

/// A key that exists already with other constructor parameters.
class NameInUseException : public Exception {
 public:
  using Exception::Exception;
};

}  // namespace Mav
