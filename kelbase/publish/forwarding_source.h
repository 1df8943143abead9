#pragma once
// Whether the host forwards: netconf messages (linux/netconf.h) of the pseudo-interface "all" to
// Pondo::ForwardingTable, IPv4 and IPv6. These are net.ipv4.ip_forward and
// net.ipv6.conf.all.forwarding of the namespace.
//
// A version of IP that the kernel lacks has no record.

#include <map>
#include <vector>

#include "kelbase/netlink/table_source.h"

namespace Kelbase {

class ForwardingSource : public TableSource {
 public:
  ForwardingSource();

  std::string_view name() const override { return "forwarding"; }
  std::span<unsigned const> groups() const override;
  std::span<NetlinkRequest const> requests() const override { return requests_; }
  bool takes(std::uint16_t messageType) const override;
  void dumpBegin() override { ++dump_; }
  void dumpEnd(bool whole) override;
  void receive(NetlinkMessage const& message) override;
  void writeRemovals(Pondo::Writer& /*writer*/) override {}  // nothing hangs on it
  void writeRest(Pondo::Writer& writer) override;
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override;
  std::string summary() const override;

  /// What the table is to hold.
  std::map<Pondo::Family, Pondo::ForwardingTable::Record> records() const;

 private:
  struct Flag {
    Pondo::ForwardingTable::Record record;
    std::uint64_t dump = 0;  // the last dump that mentioned it
  };

  std::vector<NetlinkRequest> requests_;
  std::map<Pondo::Family, Flag> flags_;
  std::uint64_t dump_ = 0;
  bool changed_ = false;
};

}  // namespace Kelbase
