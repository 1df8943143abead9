#pragma once
// The IPv6 addresses as configured (Ip6::Config), and those of them that are in operation
// (Ip6::Status): of links that are up, neither tentative nor failed (RFC 4862). An interface is
// there while it has one. Filled by State::Address6Mirror, read by IpAddressTableSm, on the agent's
// thread.

#include "platform/dovel/addr_with_mask.h"
#include "platform/mav/announced_map.h"
#include "platform/state/entities/intf_dir.h"

namespace Ip6 {

/// What is known of one address; the empty value stands for "no such address". Kept by
/// State::Ip6IntfAddresses under its address. A value, so that the same again is seen to be
/// the same, and announces nothing. One thread. What else the table says of an address decides
/// at most where it is announced (tentative, not unique), and is not kept here.
class AddressInfo {
 public:
  constexpr AddressInfo() = default;
  explicit constexpr AddressInfo(Dovel::Ip6AddrWithMask const& addr) : addr_(addr) {}

  /// With its host bits, and the length of its prefix: the key of the collection, too.
  constexpr Dovel::Ip6AddrWithMask const& addr() const { return addr_; }

  bool operator==(AddressInfo const&) const = default;
  bool operator!() const { return !addr_; }

 private:
  Dovel::Ip6AddrWithMask addr_;
};

}  // namespace Ip6

namespace State {

/// What Ip6::IntfConfig and Ip6::IntfStatus have in common: an interface and the collection `addr`
/// of its addresses, in the order of address, then prefix length. Intf is the class itself (CRTP),
/// so that what is configured and what is in operation stay distinct types with notifiee interfaces
/// of their own.
template <class Intf>
class Ip6IntfAddresses : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId intfIdAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId addrAttributeId = Mav::firstAttributeId + 1;

  class NotifieeConst : public Mav::Notifiee<Intf const, NotifieeConst> {
   public:
    using Mav::Notifiee<Intf const, NotifieeConst>::Notifiee;
    /// An address came, went or changed. What it is now, addr() tells: the empty value where it has
    /// gone.
    virtual void onAddr(Dovel::Ip6AddrWithMask const& /*addr*/) {}
  };

  /// By address and length: an address that gets another length is one that goes and another that
  /// comes.
  using AddrMap = Mav::OrderedMap<Dovel::Ip6AddrWithMask, Ip6::AddressInfo>;
  using AddrIteratorConst = typename AddrMap::IteratorConst;

  explicit Ip6IntfAddresses(Dovel::IntfId const& intfId)
      : Entity(intfId.stringValue()), intfId_(intfId) {}

  Dovel::IntfId const& intfId() const { return intfId_; }

  /// The empty value when the interface has no such address.
  Ip6::AddressInfo addr(Dovel::Ip6AddrWithMask const& addr) const { return addr_.map().get(addr); }
  /// Survives what comes and goes meanwhile (ordered_map.h).
  AddrIteratorConst addrIterator() const { return addr_.map().first(); }
  bool hasAddr() const { return !addr_.map().empty(); }

  /// Files the address under its addr(); the same again does nothing.
  void addrIs(Ip6::AddressInfo const& info) { addr_.put(info.addr(), info); }
  /// No effect when there is none. Whoever takes the last one takes the interface out of its
  /// directory next (Address6Mirror).
  void addrDel(Dovel::Ip6AddrWithMask const& addr) { addr_.del(addr); }

 private:
  Dovel::IntfId const intfId_;
  Mav::AnnouncedMap<AddrMap, NotifieeConst, addrAttributeId, &NotifieeConst::onAddr> addr_{*this};
};

/// What Ip6::Config and Ip6::Status have in common, by the class itself, too.
template <class Dir, class Intf>
class Ip6IntfDir : public IntfDir<Dir, Intf> {
 public:
  class NotifieeConst : public Mav::Notifiee<Dir const, NotifieeConst> {
   public:
    using Mav::Notifiee<Dir const, NotifieeConst>::Notifiee;
    /// An interface came or went. Its addresses are its own to tell.
    virtual void onIntf(Dovel::IntfId const& /*intfId*/) {}
  };
  static constexpr auto onIntfOf = &NotifieeConst::onIntf;

  using IntfDir<Dir, Intf>::IntfDir;
};

}  // namespace State

namespace Ip6 {

/// Those of one link, whether that is up or down, tentative or not; in use or not, they are
/// configured.
class IntfConfig : public State::Ip6IntfAddresses<IntfConfig> {
 public:
  using Ip6IntfAddresses::Ip6IntfAddresses;
};

/// In the order of the links' names.
class Config : public State::Ip6IntfDir<Config, IntfConfig> {
 public:
  explicit Config(Mav::Name name = "config") : Ip6IntfDir(std::move(name)) {}
};

/// Those of one link. All go at once where the link falls, and come back when it is up.
class IntfStatus : public State::Ip6IntfAddresses<IntfStatus> {
 public:
  using Ip6IntfAddresses::Ip6IntfAddresses;
};

/// A link without an address in operation is not in it, though Ip6::Config has it.
class Status : public State::Ip6IntfDir<Status, IntfStatus> {
 public:
  explicit Status(Mav::Name name = "status") : Ip6IntfDir(std::move(name)) {}
};

}  // namespace Ip6
