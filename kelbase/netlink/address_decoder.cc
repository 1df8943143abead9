#include <fmt/format.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <sys/socket.h>

#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

constexpr std::array address4Rules{
    AttributeRule{IFA_LOCAL, "IFA_LOCAL", exactly(sizeof(Dovel::IpAddr::Octets))},
    AttributeRule{IFA_ADDRESS, "IFA_ADDRESS", exactly(sizeof(Dovel::IpAddr::Octets))},
    AttributeRule{IFA_LABEL, "IFA_LABEL", textOf(IFNAMSIZ)},
    // IFA_CACHEINFO is not among them: lifetimes are the kernel's business until it tells what they
    // end in.
    AttributeRule{IFA_FLAGS, "IFA_FLAGS", exactly(sizeof(std::uint32_t))},
};

constexpr std::array address6Rules{
    AttributeRule{IFA_LOCAL, "IFA_LOCAL", exactly(sizeof(Dovel::Ip6Addr::Octets))},
    AttributeRule{IFA_ADDRESS, "IFA_ADDRESS", exactly(sizeof(Dovel::Ip6Addr::Octets)), required},
    AttributeRule{IFA_FLAGS, "IFA_FLAGS", exactly(sizeof(std::uint32_t))},
};

/// The header, with its index checked; nothing for the other version of IP.
std::optional<ifaddrmsg> headerOf(NetlinkMessage const& message, std::uint8_t family) {
  auto const info = message.header<ifaddrmsg>();
  if (info.ifa_family != family) return std::nullopt;
  checkedIndex(message, info.ifa_index, 1);
  return info;
}

template <class Addr>
void checkAddress(NetlinkMessage const& message, Addr const& local, unsigned length) {
  if (local.isUnspecified()) {
    message.fail(fmt::format("{} is no interface's address", local.stringValue()));
  }
  checkLength(message, length, Addr::bits);
}

/// ifa_flags has room for the first eight alone. IFA_F_NOPREFIXROUTE is beyond them.
std::uint32_t flagsOf(Attributes const& attributes, ifaddrmsg const& info) {
  return attributes.value<std::uint32_t>(IFA_FLAGS).value_or(info.ifa_flags);
}

/// A kernel that lacks this version of IP has no such addresses.
std::vector<NetlinkRequest> dumpOf(std::uint8_t family) {
  ifaddrmsg header{};
  header.ifa_family = family;
  NetlinkRequest request(RTM_GETADDR, NLM_F_DUMP, header);
  return {request.unsupportedIsEmpty()};
}

}  // namespace

std::vector<NetlinkRequest> Address4Decoder::requests() { return dumpOf(AF_INET); }

std::optional<Address4> Address4Decoder::read(NetlinkMessage const& message) {
  auto const info = headerOf(message, AF_INET);
  if (!info) return std::nullopt;
  Attributes const attributes(message, message.attributes<ifaddrmsg>(), address4Rules);
  // IFA_ADDRESS is the peer, or the address again; each is left out when it is 0.0.0.0.
  auto const peer = attributes.address<Dovel::IpAddr>(IFA_ADDRESS).value_or(Dovel::IpAddr());
  auto const local = attributes.address<Dovel::IpAddr>(IFA_LOCAL).value_or(peer);
  // Neither told: an address of 0.0.0.0, which is malformed.
  checkAddress(message, local, info->ifa_prefixlen);
  // Where nobody gave the address a label it has the link's name for one (net/ipv4/devinet.c,
  // rtm_to_ifaddr). One that is empty is left out.
  auto const label = attributes.text(IFA_LABEL);
  auto const flags = flagsOf(attributes, *info);
  return Address4{.link = static_cast<std::int32_t>(info->ifa_index),
                  .key = {local, info->ifa_prefixlen, peer},
                  .state = {.label = label ? Dovel::IntfId(*label) : Dovel::IntfId(),
                            .isSecondary = (flags & IFA_F_SECONDARY) != 0,
                            .makesRoute = (flags & IFA_F_NOPREFIXROUTE) == 0}};
}

std::vector<NetlinkRequest> Address6Decoder::requests() { return dumpOf(AF_INET6); }

std::optional<Address6> Address6Decoder::read(NetlinkMessage const& message) {
  auto const info = headerOf(message, AF_INET6);
  if (!info) return std::nullopt;
  Attributes const attributes(message, message.attributes<ifaddrmsg>(), address6Rules);
  // With a peer the address is IFA_LOCAL and the peer IFA_ADDRESS; without there is no IFA_LOCAL.
  auto const peer = *attributes.address<Dovel::Ip6Addr>(IFA_ADDRESS);
  auto const local = attributes.address<Dovel::Ip6Addr>(IFA_LOCAL).value_or(peer);
  checkAddress(message, local, info->ifa_prefixlen);
  auto const flags = flagsOf(attributes, *info);
  return Address6{.link = static_cast<std::int32_t>(info->ifa_index),
                  .key = local,
                  .state = {.length = info->ifa_prefixlen,
                            .peer = peer,
                            .isTentative = (flags & IFA_F_TENTATIVE) != 0,
                            .hasFailed = (flags & IFA_F_DADFAILED) != 0,
                            .isDeprecated = (flags & IFA_F_DEPRECATED) != 0,
                            .hasEnd = (flags & IFA_F_PERMANENT) == 0}};
}

}  // namespace Kelbase
