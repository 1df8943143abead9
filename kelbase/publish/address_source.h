#pragma once
// Addresses: RTM_NEWADDR and RTM_DELADDR (rtnetlink(7)) of one IP version to its table.
//
// The kernel names an address's link by index, the table by name; LinkNames joins the two at each
// write. An address whose link has no name yet waits for it; one whose link is renamed moves in the
// same commit, removal first; those of a link that is gone are gone (the kernel says so too, unless
// the messages were lost).
//
// IPv6: the kernel removes the addresses of a link that goes down, and says so. With
// net.ipv6.conf.*.keep_addr_on_down they stay, and are tentative again without a message until the
// link is up and duplicate detection has begun (net/ipv6/addrconf.c, addrconf_ifdown).

#include <utility>
#include <vector>

#include <absl/container/btree_map.h>
#include <absl/container/btree_set.h>
#include <linux/rtnetlink.h>

#include "kelbase/model/link_names.h"
#include "kelbase/netlink/table_source.h"

namespace Kelbase {

template <class Table>
class AddressSource : public TableSource, private LinkNames::Observer {
 public:
  using Key = typename Table::Key;
  using Record = typename Table::Record;

  bool takes(std::uint16_t messageType) const override {
    return messageType == RTM_NEWADDR || messageType == RTM_DELADDR;
  }
  std::span<NetlinkRequest const> requests() const override { return {&request_, 1}; }
  void dumpBegin() override { ++dump_; }
  void dumpEnd(bool whole) override;
  void receive(NetlinkMessage const& message) override;
  void writeRemovals(Pondo::Writer& writer) override;
  void writeRest(Pondo::Writer& writer) override;
  Pondo::Writer::SyncCounts writeAll(Pondo::Writer& writer) override;

  /// What the table is to hold under `key`; null: nothing.
  Record const* find(Key const& key) const;
  std::size_t size() const { return addresses_.size(); }

 protected:
  /// `names` must outlive the source.
  AddressSource(LinkNames& names, std::uint8_t family);

 private:
  // By the link's index; the key's link is empty.
  using Place = std::pair<std::int32_t, Key>;
  struct Address {
    Record record;
    std::uint64_t dump = 0;  // the last dump that mentioned it
  };
  using Addresses = absl::btree_map<Place, Address>;

  /// The address that the message tells of. BadMessage.
  virtual std::pair<Key, Record> parse(NetlinkMessage const& message,
                                       ifaddrmsg const& info) const = 0;

  void onLinkName(std::int32_t index, Dovel::IntfId const& name) override;
  void onLinkGone(std::int32_t index) override;
  void mark(Place const& place);
  typename Addresses::const_iterator firstOf(std::int32_t index) const;

  LinkNames const& names_;
  std::uint8_t const family_;
  NetlinkRequest request_;
  Addresses addresses_;
  absl::btree_set<Key> changed_;  // with the link's name
  std::uint64_t dump_ = 0;
};

class Address4Source : public AddressSource<Pondo::Address4Table> {
 public:
  explicit Address4Source(LinkNames& names);
  std::string_view name() const override { return "IPv4 addresses"; }
  std::span<unsigned const> groups() const override;
  std::string summary() const override;

 private:
  std::pair<Key, Record> parse(NetlinkMessage const& message, ifaddrmsg const& info) const override;
};

class Address6Source : public AddressSource<Pondo::Address6Table> {
 public:
  explicit Address6Source(LinkNames& names);
  std::string_view name() const override { return "IPv6 addresses"; }
  std::span<unsigned const> groups() const override;
  std::string summary() const override;

 private:
  std::pair<Key, Record> parse(NetlinkMessage const& message, ifaddrmsg const& info) const override;
};

}  // namespace Kelbase
