#pragma once
// The errors of the object model. A caller catches the class, an operator reads the text. A text
// that a header states is part of the interface.

#include <stdexcept>
#include <string>

namespace Mav {

/// What this system throws itself. Whoever catches it lets std::bad_alloc pass.
class Exception : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A value is outside what its type or operation allows: an unknown enumerator, malformed text,
/// null where an object must be, an unknown attribute name.
class RangeException : public Exception {
 public:
  using Exception::Exception;
};

/// A key or path exists already, with other constructor parameters or another entity.
class NameInUseException : public Exception {
 public:
  using Exception::Exception;
};

}  // namespace Mav
