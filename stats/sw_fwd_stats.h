#pragma once
// The IP counters of one version, for the packets that the machine's own kernel receives, forwards
// and sends: one row of the software-forwarding statistics table.
//
// Holds the last snapshot and reads the kernel's files (stats_file.h) again when a counter is asked
// for and the snapshot is older than half a second. All counters of a snapshot come from one read.
// A read that fails is traced, changes nothing, and is tried again by the next question. Read by
// handlers, on the agent's thread; a read takes as long as the kernel needs to add its counters up
// (about 0.2 ms).
//
// A notifiee of a new snapshot sees that snapshot: what it asks for is not read again.

#include <cstdint>

#include <boost/preprocessor/seq/for_each.hpp>
#include <boost/preprocessor/variadic/to_seq.hpp>

#include "platform/mav/entity.h"
#include "stats/ip_version.h"
#include "stats/sw_fwd_counter_list.h"
#include "stats/sw_fwd_stats_data.h"

namespace Ip {

class SwFwdStats : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId ipVersionAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId dataAttributeId = Mav::firstAttributeId + 1;
  static constexpr Mav::AttributeId lastUpdateAttributeId = Mav::firstAttributeId + 2;

  /// A snapshot this old (seconds) is still served; an older one is not.
  static constexpr double freshness = 0.5;

  class NotifieeConst : public Mav::Notifiee<SwFwdStats const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    virtual void onData() {}
    virtual void onLastUpdate() {}
  };

  /// Made by swFwdStatsFactory; named after the version.
  explicit SwFwdStats(IpVersion ipVersion)
      : Entity(stringValue(ipVersion)), ipVersion_(ipVersion) {}

  IpVersion key() const { return ipVersion_; }
  IpVersion ipVersion() const { return ipVersion_; }

  /// The snapshot as it is, not freshened.
  SwFwdStatsData const& data() const { return data_; }
  /// Notifiees hear where a counter differs.
  void dataIs(SwFwdStatsData const& data);

  /// Mav::now() of the last successful read; 0.0 before the first.
  double lastUpdate() const { return lastUpdate_; }
  void lastUpdateIs(double time);

  /// inReceives(), inOctets(), ...: one reader a field of SwFwdStatsData, freshened. Of IPv4, the
  /// kernel's octet counters are not read; of IPv6, there are no broadcasts: these stay 0.
#define IP_DECLARE_READER(r, data, field) \
  std::uint64_t field() const { return fresh().field(); }
  BOOST_PP_SEQ_FOR_EACH(IP_DECLARE_READER, _, BOOST_PP_VARIADIC_TO_SEQ(IP_SW_FWD_FIELDS))
#undef IP_DECLARE_READER

  /// Datagrams for which a route was sought: forwarded, or dropped for want of one.
  std::uint64_t inForwDatagrams() const;
  /// Datagrams that had to be fragmented, with success or without.
  std::uint64_t fragReqds() const;
  /// Datagrams handed to the lower layer. The kernel's counters are not of one instant, so that the
  /// sum may fall below zero: it is modulo 2^64.
  std::uint64_t outTransmits() const;

  /// doRead(), if the snapshot is older than `freshness`. Costs a comparison where it is fresh: a
  /// manager that asks for every column of a row reads once.
  void doFreshen() const;
  /// Reads the files of this version into a new snapshot. Of an unknown version there are none.
  void doRead() const;

 private:
  SwFwdStatsData const& fresh() const {
    doFreshen();
    return data_;
  }
  void commit(SwFwdStatsData const& data);

  IpVersion const ipVersion_;

  SwFwdStatsData data_;
  double lastUpdate_ = 0.0;
  // A read is being told to notifiees: none may begin another.
  bool committing_ = false;
};

Mav::Ptr<SwFwdStats> swFwdStatsFactory(IpVersion version);

}  // namespace Ip
