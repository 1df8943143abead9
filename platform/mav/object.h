#pragma once
// Counted objects. The last reference that goes destroys the object. The count is a plain number:
// an object and all references to it stay on one thread.

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include "platform/mav/exception.h"

namespace Mav {

template <class T>
using Ptr = boost::intrusive_ptr<T>;

/// The base of everything that is held by Ptr and has virtual functions. Not copied: others hold
/// it, and listen to it, by its address.
class Object : public boost::intrusive_ref_counter<Object, boost::thread_unsafe_counter> {
 public:
  Object() = default;
  Object(Object const&) = delete;
  Object& operator=(Object const&) = delete;
  virtual ~Object() = default;
};

/// The base of small entries that are held by Ptr in great number: it adds a count and nothing
/// else. Its class needs no virtual destructor: the last reference knows the type.
template <class Derived>
using Counted = boost::intrusive_ref_counter<Derived, boost::thread_unsafe_counter>;

/// Makes an object and gives its first reference. What its constructor throws leaves nothing
/// behind.
template <class T, class... Args>
Ptr<T> makeObject(Args&&... args) {
  return Ptr<T>(new T(std::forward<Args>(args)...));
}

/// Gives the object as a T; null when it is null or of another class. The type test of a lookup by
/// path.
template <class T, class U>
Ptr<T> objectCast(Ptr<U> const& object) {
  return boost::dynamic_pointer_cast<T>(object);
}

/// Gives back `pointer`; raises RangeException "null ValidPtr" when it is null.
template <class T>
Ptr<T> validPtr(Ptr<T> pointer) {
  if (!pointer) throw RangeException("null ValidPtr");
  return pointer;
}

}  // namespace Mav
