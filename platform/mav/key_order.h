#pragma once
// How the b-tree of an OrderedMap compares: by the keys' own `<=>`, or by a place among the keys
// that is none of them, which lets a search go by half a key, or by one in another form.

#include <absl/types/compare.h>

namespace Mav::Detail {

/// A place in the order of keys, which need not be a key: order(key) tells how a key stands to it.
/// It lives as long as the search.
template <class Order>
struct Bound {
  Order const& order;
};

/// One three-way comparison for each step of a descent, which ends early on equality. That it
/// returns a weak_ordering tells absl's b-tree so.
struct KeyOrder {
  using is_transparent = void;  // a Bound descends too

  template <class Key>
  absl::weak_ordering operator()(Key const& a, Key const& b) const {
    return from(a <=> b);
  }
  template <class Key, class Order>
  absl::weak_ordering operator()(Key const& key, Bound<Order> const& bound) const {
    return from(bound.order(key));
  }
  // The same question from the other side: what stands before is turned round.
  template <class Key, class Order>
  absl::weak_ordering operator()(Bound<Order> const& bound, Key const& key) const {
    auto const order = bound.order(key);
    if (order < 0) return absl::weak_ordering::greater;
    return order > 0 ? absl::weak_ordering::less : absl::weak_ordering::equivalent;
  }

 private:
  template <class Ordering>
  static absl::weak_ordering from(Ordering order) {
    if (order < 0) return absl::weak_ordering::less;
    return order > 0 ? absl::weak_ordering::greater : absl::weak_ordering::equivalent;
  }
};
}  // namespace Mav::Detail
