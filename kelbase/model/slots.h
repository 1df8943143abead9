#pragma once
// Things that are named by a number while they live, and whose numbers are used again: the sets of
// next hops, which a million routes name in four octets each.
//
// A slot holds a thing or is free, and a free one holds the number of the next free one: that a
// slot is free is told in one place. So no number is given out twice, and freeing one twice, or
// using one that is free, is noticed there and then: std::bad_variant_access. One thread.
//
// A handle is an index of four octets, where a pointer would put eight into each route. Whoever
// keeps handles says when a thing is free (NextHopSets counts); a stale handle names whatever lives
// in the slot by then.

#include <cstddef>
#include <cstdint>
#include <utility>
#include <variant>
#include <vector>

namespace Kelbase {

template <class T>
class Slots {
 public:
  using Handle = std::uint32_t;
  static constexpr Handle none = 0;  // names nothing, ever

  /// References to things end with it, handles do not.
  template <class... Arguments>
  Handle make(Arguments&&... arguments) {
    ++used_;
    if (firstFree_ == none) {
      slots_.emplace_back(std::in_place_type<T>, std::forward<Arguments>(arguments)...);
      return static_cast<Handle>(slots_.size() - 1);
    }
    Handle const handle = firstFree_;
    firstFree_ = std::get<Free>(slots_[handle]).next;
    slots_[handle].template emplace<T>(std::forward<Arguments>(arguments)...);
    return handle;
  }

  void free(Handle handle) {
    static_cast<void>((*this)[handle]);  // throws where it is free
    slots_[handle] = Free{std::exchange(firstFree_, handle)};
    --used_;
  }

  T& operator[](Handle handle) { return std::get<T>(slots_[handle]); }
  T const& operator[](Handle handle) const { return std::get<T>(slots_[handle]); }

  /// Calls `visit(handle, thing)` for each, in order of handles; it may make none and free none.
  template <class Visit>
  void forEach(Visit const& visit) const {
    for (std::size_t i = 1; i < slots_.size(); ++i) {
      if (auto const* const thing = std::get_if<T>(&slots_[i])) {
        visit(static_cast<Handle>(i), *thing);
      }
    }
  }

  /// Of things, not of slots.
  std::size_t size() const { return used_; }

 private:
  struct Free {
    Handle next = none;
  };

  // The first slot stays free for ever and is in no list: its number is `none`.
  std::vector<std::variant<Free, T>> slots_{1};  // by handle
  Handle firstFree_ = none;
  std::size_t used_ = 0;
};

}  // namespace Kelbase
