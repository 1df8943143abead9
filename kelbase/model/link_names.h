#pragma once
// Which interface has which name: the kernel speaks of everything that hangs on a link by the
// link's index, the tables by its name. Kept by LinkSource, asked by the sources of what hangs on
// links. One thread.

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/dovel/intf_id.h"

namespace Kelbase {

class LinkNames {
 public:
  /// Hears of changes after they were made. Must live as long as the names.
  class Observer {
   public:
    virtual ~Observer() = default;
    /// The link has come by `name`, or has lost it.
    virtual void onLinkName(std::int32_t index, Dovel::IntfId const& name) = 0;
    /// The link does not exist any more, nor does anything that hung on it. It has lost its name
    /// before.
    virtual void onLinkGone(std::int32_t index) = 0;
  };

  virtual ~LinkNames() = default;

  /// The name of a link; nothing while it is not known.
  virtual std::optional<Dovel::IntfId> linkName(std::int32_t index) const = 0;
  /// The index of the link of that name.
  virtual std::optional<std::int32_t> linkIndex(Dovel::IntfId const& name) const = 0;

  void observerIs(Observer& observer) { observers_.push_back(&observer); }

 protected:
  void tellName(std::int32_t index, Dovel::IntfId const& name) const {
    for (auto* observer : observers_) observer->onLinkName(index, name);
  }
  void tellGone(std::int32_t index) const {
    for (auto* observer : observers_) observer->onLinkGone(index);
  }

 private:
  std::vector<Observer*> observers_;
};

}  // namespace Kelbase
