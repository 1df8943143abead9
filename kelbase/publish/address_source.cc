#include "kelbase/publish/address_source.h"

#include <array>
#include <limits>
#include <map>

#include <fmt/format.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <sys/socket.h>

#include "kelbase/model/trace.h"
#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

constexpr std::array address4Groups{unsigned{RTNLGRP_IPV4_IFADDR}};
constexpr std::array address6Groups{unsigned{RTNLGRP_IPV6_IFADDR}};

constexpr std::array address4Rules{
    AttributeRule{IFA_LOCAL, "IFA_LOCAL", exactly(sizeof(Dovel::IpAddr::Octets))},
    AttributeRule{IFA_ADDRESS, "IFA_ADDRESS", exactly(sizeof(Dovel::IpAddr::Octets))},
    AttributeRule{IFA_LABEL, "IFA_LABEL", textOf(IFNAMSIZ)},
    AttributeRule{IFA_FLAGS, "IFA_FLAGS", exactly(sizeof(std::uint32_t))},
};

constexpr std::array address6Rules{
    AttributeRule{IFA_LOCAL, "IFA_LOCAL", exactly(sizeof(Dovel::Ip6Addr::Octets))},
    AttributeRule{IFA_ADDRESS, "IFA_ADDRESS", exactly(sizeof(Dovel::Ip6Addr::Octets)), required},
    AttributeRule{IFA_FLAGS, "IFA_FLAGS", exactly(sizeof(std::uint32_t))},
};

template <class Addr>
std::optional<Addr> addressOf(Attributes const& attributes, std::uint16_t type) {
  auto const octets = attributes.value<typename Addr::Octets>(type);
  if (!octets) return std::nullopt;
  return Addr(*octets);
}

template <class Addr>
void checkAddress(NetlinkMessage const& message, Addr const& local, unsigned length) {
  if (local.isUnspecified()) {
    throw BadMessage(
        fmt::format("{}: {} is no interface's address", message.name(), local.stringValue()));
  }
  if (length > Addr::bits) {
    throw BadMessage(
        fmt::format("{}: prefix length {}, expected 0 to {}", message.name(), length, Addr::bits));
  }
}

/// ifa_flags has room for the first eight alone.
std::uint32_t flagsOf(Attributes const& attributes, ifaddrmsg const& info) {
  return attributes.value<std::uint32_t>(IFA_FLAGS).value_or(info.ifa_flags);
}

ifaddrmsg dumpHeader(std::uint8_t family) {
  ifaddrmsg header{};
  header.ifa_family = family;
  return header;
}

std::string counted(std::size_t count, std::string_view what) {
  return fmt::format("{} {} address{}", count, what, count == 1 ? "" : "es");
}

}  // namespace

template <class Table>
AddressSource<Table>::AddressSource(LinkNames& names, std::uint8_t family)
    : names_(names), family_(family), request_(RTM_GETADDR, NLM_F_DUMP, dumpHeader(family)) {
  request_.unsupportedIsEmpty();
  names.observerIs(*this);
}

template <class Table>
void AddressSource<Table>::receive(NetlinkMessage const& message) {
  auto const info = message.header<ifaddrmsg>();
  if (info.ifa_family != family_) return;
  auto const index = static_cast<std::int32_t>(info.ifa_index);
  if (index < 1) {
    throw BadMessage(
        fmt::format("{}: interface index {}, expected 1 or more", message.name(), info.ifa_index));
  }
  auto const [key, record] = parse(message, info);
  Place const place{index, key};
  if (message.type() == RTM_DELADDR) {
    if (addresses_.erase(place) != 0) mark(place);
    return;
  }
  auto const [address, isNew] = addresses_.try_emplace(place);
  if (isNew || address->second.record != record) mark(place);
  address->second = {record, dump_};
}

template <class Table>
void AddressSource<Table>::mark(Place const& place) {
  auto const name = names_.linkName(place.first);
  if (!name) return;  // onLinkName() marks
  Key key = place.second;
  key.link = *name;
  changed_.insert(key);
  MAV_TRACE(traceHandle(), 2, "address " << key.local << " of " << key.link << " changed");
}

template <class Table>
typename AddressSource<Table>::Addresses::const_iterator AddressSource<Table>::firstOf(
    std::int32_t index) const {
  return addresses_.lower_bound(Place{index, Key{}});
}

template <class Table>
void AddressSource<Table>::onLinkName(std::int32_t index, Dovel::IntfId const& name) {
  for (auto it = firstOf(index); it != addresses_.end() && it->first.first == index; ++it) {
    Key key = it->first.second;
    key.link = name;
    changed_.insert(key);
  }
}

template <class Table>
void AddressSource<Table>::onLinkGone(std::int32_t index) {
  auto const first = firstOf(index);
  auto last = first;
  while (last != addresses_.end() && last->first.first == index) ++last;
  addresses_.erase(first, last);
}

template <class Table>
void AddressSource<Table>::dumpEnd(bool whole) {
  if (!whole) return;
  for (auto it = addresses_.begin(); it != addresses_.end();) {
    if (it->second.dump == dump_) {
      ++it;
    } else {
      mark(it->first);
      it = addresses_.erase(it);
    }
  }
}

template <class Table>
typename Table::Record const* AddressSource<Table>::find(Key const& key) const {
  auto const index = names_.linkIndex(key.link);
  if (!index) return nullptr;
  Place place{*index, key};
  place.second.link = {};
  auto const address = addresses_.find(place);
  return address == addresses_.end() ? nullptr : &address->second.record;
}

template <class Table>
void AddressSource<Table>::writeRemovals(Pondo::Writer& writer) {
  for (auto const& key : changed_) {
    if (!find(key)) writer.erase<Table>(key);
  }
}

template <class Table>
void AddressSource<Table>::writeRest(Pondo::Writer& writer) {
  for (auto const& key : changed_) {
    if (auto const* record = find(key)) writer.put<Table>(key, *record);
  }
  changed_.clear();
}

template <class Table>
Pondo::Writer::SyncCounts AddressSource<Table>::writeAll(Pondo::Writer& writer) {
  std::map<Key, Record> wanted;
  for (auto const& [place, address] : addresses_) {
    auto const name = names_.linkName(place.first);
    if (!name) continue;
    Key key = place.second;
    key.link = *name;
    wanted.emplace(key, address.record);
  }
  auto const counts = writer.sync<Table>(wanted);
  changed_.clear();
  return counts;
}

template class AddressSource<Pondo::Address4Table>;
template class AddressSource<Pondo::Address6Table>;

Address4Source::Address4Source(LinkNames& names) : AddressSource(names, AF_INET) {}

std::span<unsigned const> Address4Source::groups() const { return address4Groups; }

std::string Address4Source::summary() const { return counted(size(), "IPv4"); }

std::pair<Address4Source::Key, Address4Source::Record> Address4Source::parse(
    NetlinkMessage const& message, ifaddrmsg const& info) const {
  Attributes const attributes(message.name(), message.attributes<ifaddrmsg>(), address4Rules);
  // IFA_ADDRESS is the peer, or the address again; each is left out when it is 0.0.0.0.
  auto const peer = addressOf<Dovel::IpAddr>(attributes, IFA_ADDRESS).value_or(Dovel::IpAddr());
  auto const local = addressOf<Dovel::IpAddr>(attributes, IFA_LOCAL).value_or(peer);
  checkAddress(message, local, info.ifa_prefixlen);
  auto const label = attributes.text(IFA_LABEL);
  return {Key{{}, local, info.ifa_prefixlen, peer},
          Record{.label = label ? Dovel::IntfId(*label) : Dovel::IntfId(),
                 .secondary = (flagsOf(attributes, info) & IFA_F_SECONDARY) != 0}};
}

Address6Source::Address6Source(LinkNames& names) : AddressSource(names, AF_INET6) {}

std::span<unsigned const> Address6Source::groups() const { return address6Groups; }

std::string Address6Source::summary() const { return counted(size(), "IPv6"); }

std::pair<Address6Source::Key, Address6Source::Record> Address6Source::parse(
    NetlinkMessage const& message, ifaddrmsg const& info) const {
  Attributes const attributes(message.name(), message.attributes<ifaddrmsg>(), address6Rules);
  // With a peer the address is IFA_LOCAL and the peer IFA_ADDRESS; without there is no IFA_LOCAL.
  auto const peer = *addressOf<Dovel::Ip6Addr>(attributes, IFA_ADDRESS);
  auto const local = addressOf<Dovel::Ip6Addr>(attributes, IFA_LOCAL).value_or(peer);
  checkAddress(message, local, info.ifa_prefixlen);
  auto const flags = flagsOf(attributes, info);
  return {Key{{}, local}, Record{.length = info.ifa_prefixlen,
                                 .peer = peer,
                                 .tentative = (flags & IFA_F_TENTATIVE) != 0,
                                 .dadFailed = (flags & IFA_F_DADFAILED) != 0,
                                 .deprecated = (flags & IFA_F_DEPRECATED) != 0}};
}

}  // namespace Kelbase
