#pragma once
// The type of a second set of software-forwarding counters, by IP version: those of packets with
// addresses that must not be routed. The kernel does not count these apart, so that nothing makes
// one; the type stands for what publishes such counters.
//
// What publishes such counters would fill it and mount it; there is no reader or table here that
// asks for it. On the agent's thread, as every entity.

#include "platform/mav/announced_map.h"
#include "stats/sw_fwd_stats.h"

namespace Ip {

class FwdStatsBogon : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId bogonAttributeId = Mav::firstAttributeId;

  class NotifieeConst : public Mav::Notifiee<FwdStatsBogon const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    /// A member came or went.
    virtual void onBogon(IpVersion const& /*version*/) {}
    /// The collection changed as a whole.
    virtual void onBogon() {}
  };

  using BogonMap = Mav::OrderedMap<IpVersion, Mav::Ptr<SwFwdStats>>;

  explicit FwdStatsBogon(Mav::Name name = "bogon") : Entity(std::move(name)) {}

  /// Null when there is none.
  Mav::Ptr<SwFwdStats const> bogon(IpVersion version) const { return bogon_.map().get(version); }
  BogonMap::IteratorConst bogonIterator() const { return bogon_.map().first(); }

  /// The one that is there, where there is one.
  Mav::Ptr<SwFwdStats> bogonIs(IpVersion version) {
    return bogon_.is(version, [version] { return swFwdStatsFactory(version); });
  }
  void bogonDel(IpVersion version) { bogon_.del(version); }
  void bogonDelAll() { bogon_.delAll(); }

 private:
  Mav::AnnouncedMap<BogonMap, NotifieeConst, bogonAttributeId, &NotifieeConst::onBogon> bogon_{
      *this};
};

}  // namespace Ip
