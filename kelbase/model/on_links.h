#pragma once
// What the kernel has of one kind of object that hangs on links: addresses, neighbours. Kept by the
// link's index and what the kernel tells them apart by on the link.
//
// An object goes with its link: the kernel removes it and says so, unless the message was lost. One
// whose link has no name yet is kept, and waits for it.
//
// An Object is a plain struct: `link`, the index; `key`, of type Key, in order; `state`, of type
// State, without order; and for the operator `kind`, `kinds` and address(). One thread.

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "kelbase/model/links.h"
#include "kelbase/model/marked.h"

namespace Kelbase {

template <class Object>
class OnLinks : private Links::Observer {
 public:
  using Key = typename Object::Key;
  using State = typename Object::State;

  /// Hears of changes after they were made, from inside the call that made them; must not make
  /// any. Must live as long as the objects.
  class Observer {
   public:
    virtual ~Observer() = default;
    /// The object is new, or is not as it was.
    virtual void onObject(Object const& object) = 0;
    /// The object is gone: as the kernel told it last. Told of those that were not known too.
    virtual void onObjectGone(Object const& object) = 0;
    /// The object is gone with its link, of which Links tells.
    virtual void onGoneWithLink(std::int32_t /*link*/, Key const& /*key*/) {}
  };

  /// `links` must outlive it.
  explicit OnLinks(Links& links) { links.observerIs(*this); }
  OnLinks(OnLinks const&) = delete;
  OnLinks& operator=(OnLinks const&) = delete;

  void observerIs(Observer& observer) { observers_.push_back(&observer); }

  /// The kernel has this. True when it was not known, or was another.
  bool is(Object const& object) {
    // A repeated message, as each dump has of everything, ends here.
    if (!objects_.is({object.link, object.key}, object.state)) return false;
    for (auto* observer : observers_) observer->onObject(object);
    return true;
  }
  /// The kernel has it no more. True when it was known.
  bool del(Object const& object) {
    bool const isKnown = objects_.del({object.link, object.key});
    for (auto* observer : observers_) observer->onObjectGone(object);
    return isKnown;
  }
  void dumpBegin() { objects_.dumpBegin(); }
  /// What a whole dump left out goes, each as if the kernel had told its removal.
  void dumpEnd(bool whole) {
    // An interrupted dump may have left out what is there.
    if (!whole) return;
    for (auto const& place : objects_.unmarked()) {
      Object object{};
      std::tie(object.link, object.key) = place;
      // Observers hear of it as of a removal that the kernel has told: with the state that it had.
      object.state = *objects_.find(place);
      del(object);
    }
  }

  /// Null when there is none. Until the next change.
  State const* find(std::int32_t link, Key const& key) const { return objects_.find({link, key}); }
  /// Calls visit(key, state) for each object of the link, in order; it must add and remove none.
  template <class Visit>
  void forEachOf(std::int32_t link, Visit const& visit) const {
    for (auto it = objects_.lowerBound({link, Key{}}); isOf(link, it); ++it) {
      visit(it->first.second, it->second.value);
    }
  }
  /// Calls visit(link, key, state) for every object.
  template <class Visit>
  void forEach(Visit const& visit) const {
    for (auto const& [place, marked] : objects_) visit(place.first, place.second, marked.value);
  }
  /// Whether the link has any.
  bool isOn(std::int32_t link) const { return isOf(link, objects_.lowerBound({link, Key{}})); }
  std::size_t size() const { return objects_.size(); }
  /// "3 IPv4 addresses"
  std::string summary() const {
    return fmt::format("{} {}", size(), size() == 1 ? Object::kind : Object::kinds);
  }

 private:
  using Objects = MarkedTree<std::pair<std::int32_t, Key>, State>;

  bool isOf(std::int32_t link, typename Objects::Iterator const& it) const {
    return it != objects_.end() && it->first.first == link;
  }

  void onLinkGone(std::int32_t link) override {
    // The keys first: an erasure ends the iterators of a btree_map.
    std::vector<Key> keys;
    forEachOf(link, [&](Key const& key, State const&) { keys.push_back(key); });
    for (auto const& key : keys) {
      objects_.del({link, key});
      for (auto* observer : observers_) observer->onGoneWithLink(link, key);
    }
  }

  /// By link first, so that all of one link stand together.
  Objects objects_;
  std::vector<Observer*> observers_;
};

}  // namespace Kelbase
