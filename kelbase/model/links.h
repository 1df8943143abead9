#pragma once
// The kernel's links (network devices), and which of them has which name: the kernel speaks of
// everything that hangs on a link by the link's index, the tables by its name.
//
// The kernel identifies a link by its index; a rename is a change like any other. A name belongs to
// whichever index claimed it last: swapped names, a name that comes back with another index, and an
// index that comes back with another name all end right, whatever was lost in between.
//
// Filled by netlink's decoders or from a file, asked by all that hangs on links. One thread.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kelbase/model/marked.h"
#include "platform/dovel/intf_id.h"

namespace Kelbase {

/// The loopback, in every network namespace (net/core/dev.c).
inline constexpr std::int32_t loopback = 1;

struct Link {
  std::int32_t index = 0;  // 1 or more
  Dovel::IntfId name;
  bool isUp = false;         // IFF_UP: as the administrator wants it
  bool isRunning = false;    // IFF_RUNNING
  bool hasCarrier = false;   // IFF_LOWER_UP
  bool isLoopback = false;   // IFF_LOOPBACK
  bool fitsIp6 = true;       // its MTU is one that IPv6 is content with (RFC 8200 section 5)
  std::uint32_t master = 0;  // the link that it is a port of; 0: of none
  bool operator==(Link const&) const = default;
};

class Links {
 public:
  /// Hears of changes after they were made, from inside the call that made them; must not make
  /// any. Must live as long as the links.
  class Observer {
   public:
    virtual ~Observer() = default;
    /// The link has come by `name`, or has lost it.
    virtual void onLinkName(std::int32_t /*index*/, Dovel::IntfId const& /*name*/) {}
    /// The link is new (`before` is null), or is not as it was, or has been told again.
    virtual void onLink(Link const* /*before*/, Link const& /*now*/) {}
    /// The link does not exist any more, nor does anything that hung on it. It has lost its name
    /// before. Told of each removal that the kernel tells, of links that were not known too.
    virtual void onLinkGone(std::int32_t /*index*/) {}
  };

  Links() = default;
  Links(Links const&) = delete;
  Links& operator=(Links const&) = delete;

  void observerIs(Observer& observer) { observers_.push_back(&observer); }

  /// The kernel has this link, and its name is this link's from here on, whoever had it.
  void is(Link const& link);
  void del(Link const& link) { del(link.index); }
  /// The kernel has it no more; nor, with it, what hung on it. Observers hear of an index that was
  /// not known too.
  void del(std::int32_t index);
  void dumpBegin() { links_.dumpBegin(); }
  void dumpEnd(bool whole);

  /// The name of a link; nothing while it is not known, or while another has its name.
  std::optional<Dovel::IntfId> linkName(std::int32_t index) const;
  /// The index of the link of that name.
  std::optional<std::int32_t> linkIndex(Dovel::IntfId const& name) const;
  /// The link of that name, or null.
  Link const* find(Dovel::IntfId const& name) const;
  /// Calls visit(link) for every link that has its name.
  template <class Visit>
  void forEach(Visit const& visit) const {
    // In no order.
    for (auto const& [name, index] : indexByName_) visit(*links_.find(index));
  }
  /// Of those that have a name.
  std::size_t size() const { return indexByName_.size(); }
  /// "3 links"
  std::string summary() const;

 private:
  void nameIs(Link const& link);
  void nameDel(Dovel::IntfId const& name, std::int32_t index);
  void tellName(std::int32_t index, Dovel::IntfId const& name) const;

  // Each name in the one below is that of a link in this one, and leads to the link that claimed it
  // last.
  MarkedHash<std::int32_t, Link> links_;  // by index
  absl::flat_hash_map<Dovel::IntfId, std::int32_t> indexByName_;
  std::vector<Observer*> observers_;
};

}  // namespace Kelbase
