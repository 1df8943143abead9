#pragma once
// Counted objects. The count is plain: an object and all its references stay on one thread.

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include "platform/mav/exception.h"

namespace Mav {

template <class T>
using Ptr = boost::intrusive_ptr<T>;

/// Base of everything that is held by Ptr and has virtual functions.
class Object : public boost::intrusive_ref_counter<Object, boost::thread_unsafe_counter> {
 public:
  Object() = default;
  Object(Object const&) = delete;
  Object& operator=(Object const&) = delete;
  virtual ~Object() = default;
};

/// Base of small entries that are held by Ptr in great number: a count and nothing else.
template <class Derived>
using Counted = boost::intrusive_ref_counter<Derived, boost::thread_unsafe_counter>;

template <class T, class... Args>
Ptr<T> makeObject(Args&&... args) {
  return Ptr<T>(new T(std::forward<Args>(args)...));
}

/// The type test of a lookup by path: null when the object is null or of another class.
template <class T, class U>
Ptr<T> objectCast(Ptr<U> const& object) {
  return boost::dynamic_pointer_cast<T>(object);
}

/// `pointer`, which must not be null: RangeException "null ValidPtr" otherwise.
template <class T>
Ptr<T> validPtr(Ptr<T> pointer) {
  if (!pointer) throw RangeException("null ValidPtr");
  return pointer;
}

}  // namespace Mav
