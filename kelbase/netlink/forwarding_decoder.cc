#include <linux/netconf.h>
#include <sys/socket.h>

#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

// A notification carries only the setting that changed.
constexpr std::array netconfRules{
    AttributeRule{NETCONFA_IFINDEX, "NETCONFA_IFINDEX", exactly(sizeof(std::int32_t)), required},
    AttributeRule{NETCONFA_FORWARDING, "NETCONFA_FORWARDING", exactly(sizeof(std::int32_t))},
};

/// MPLS has netconf messages too.
std::optional<IpVersion> versionOf(std::uint8_t family) {
  if (family == AF_INET) return IpVersion::v4;
  if (family == AF_INET6) return IpVersion::v6;
  return std::nullopt;
}

/// One question about "all" instead of a dump, which would list every interface. A kernel that
/// lacks the version (booted with ipv6.disable=1) answers EOPNOTSUPP.
NetlinkRequest questionOf(std::uint8_t family) {
  NetlinkRequest request(RTM_GETNETCONF, 0, netconfmsg{family});
  request.put(NETCONFA_IFINDEX, std::int32_t{NETCONFA_IFINDEX_ALL}).unsupportedIsEmpty();
  return request;
}

}  // namespace

std::vector<NetlinkRequest> ForwardingDecoder::requests() {
  return {questionOf(AF_INET), questionOf(AF_INET6)};
}

std::optional<ForwardingFlag> ForwardingDecoder::read(NetlinkMessage const& message) {
  auto const version = versionOf(message.header<netconfmsg>().ncm_family);
  if (!version) return std::nullopt;
  Attributes const attributes(message, message.attributes<netconfmsg>(), netconfRules);
  if (attributes.value<std::int32_t>(NETCONFA_IFINDEX) != NETCONFA_IFINDEX_ALL) return std::nullopt;
  // Of what goes the version alone counts (Forwarding::del).
  if (message.type() == RTM_DELNETCONF) return ForwardingFlag{*version, false};
  // A change of another setting of "all" comes without it.
  auto const forwarding = attributes.value<std::int32_t>(NETCONFA_FORWARDING);
  if (!forwarding) return std::nullopt;
  return ForwardingFlag{*version, *forwarding != 0};
}

}  // namespace Kelbase
