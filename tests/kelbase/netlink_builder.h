#pragma once
// Netlink messages made by hand: link(RTM_NEWLINK, 2, IFF_UP).text(IFLA_IFNAME, "eth0").

#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

#include <linux/netconf.h>
#include <linux/nexthop.h>
#include <linux/rtnetlink.h>

#include "kelbase/netlink/netlink_message.h"
#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/prefix.h"

namespace Kelbase {

class NetlinkBuilder {
 public:
  template <class Header>
  NetlinkBuilder(int type, Header const& header) : bytes_(sizeof(nlmsghdr)) {
    append(&header, sizeof header);
    this->header().nlmsg_type = static_cast<std::uint16_t>(type);
  }

  NetlinkBuilder& raw(int type, void const* value, std::size_t size) {
    nlattr attribute{static_cast<std::uint16_t>(sizeof(nlattr) + size),
                     static_cast<std::uint16_t>(type)};
    append(&attribute, sizeof attribute);
    append(value, size);
    return *this;
  }
  NetlinkBuilder& text(int type, std::string_view value) {
    return raw(type, std::string(value).c_str(), value.size() + 1);
  }
  template <class T>
  NetlinkBuilder& value(int type, T const& value) {
    return raw(type, &value, sizeof value);
  }
  NetlinkBuilder& flags(int flags) {
    header().nlmsg_flags = static_cast<std::uint16_t>(flags);
    return *this;
  }
  /// rtm_flags.
  NetlinkBuilder& routeFlags(unsigned flags) {
    std::memcpy(bytes_.data() + sizeof(nlmsghdr) + offsetof(rtmsg, rtm_flags), &flags,
                sizeof flags);
    return *this;
  }
  NetlinkBuilder& cutTo(std::size_t payload) {
    bytes_.resize(sizeof(nlmsghdr) + payload);
    header().nlmsg_len = static_cast<std::uint32_t>(bytes_.size());
    return *this;
  }

  Bytes datagram() const { return bytes_; }
  NetlinkMessage message() const {
    return NetlinkMessage(*reinterpret_cast<nlmsghdr const*>(bytes_.data()));
  }

 private:
  nlmsghdr& header() { return *reinterpret_cast<nlmsghdr*>(bytes_.data()); }
  void append(void const* data, std::size_t size) {
    std::size_t const at = bytes_.size();
    bytes_.resize(at + MNL_ALIGN(size));
    std::memcpy(bytes_.data() + at, data, size);
    header().nlmsg_len = static_cast<std::uint32_t>(bytes_.size());
  }

  std::vector<std::byte> bytes_;
};

/// Adds a next hop on link 3 to what RTA_MULTIPATH is to hold.
template <class Octets>
void addPath(std::vector<std::byte>& paths, Octets const& gateway, bool isAlive = true) {
  struct {
    rtnexthop path;
    nlattr header;
    Octets octets;
  } const one{{sizeof one, static_cast<unsigned char>(isAlive ? 0 : RTNH_F_DEAD), 0, 3},
              {sizeof(nlattr) + sizeof(Octets), RTA_GATEWAY},
              gateway};
  auto const* const bytes = reinterpret_cast<std::byte const*>(&one);
  paths.insert(paths.end(), bytes, bytes + sizeof one);
}

inline NetlinkBuilder linkMessage(int type, int index, unsigned flags = 0, int family = AF_UNSPEC) {
  ifinfomsg info{};
  info.ifi_family = static_cast<unsigned char>(family);
  info.ifi_index = index;
  info.ifi_flags = flags;
  return NetlinkBuilder(type, info);
}

inline NetlinkBuilder addressMessage(int type, int family, unsigned index, unsigned length,
                                     unsigned flags = 0) {
  ifaddrmsg info{};
  info.ifa_family = static_cast<unsigned char>(family);
  info.ifa_prefixlen = static_cast<unsigned char>(length);
  info.ifa_flags = static_cast<unsigned char>(flags);
  info.ifa_index = index;
  return NetlinkBuilder(type, info);
}

/// Of table main; the destination of a default route is left out, as by the kernel.
inline NetlinkBuilder routeMessage(int type, std::string_view prefix, int routeType = RTN_UNICAST,
                                   int tos = 0, int protocol = RTPROT_BOOT) {
  Dovel::Prefix const parsed(prefix);
  rtmsg header{};
  header.rtm_family = AF_INET;
  header.rtm_dst_len = static_cast<unsigned char>(parsed.length());
  header.rtm_tos = static_cast<unsigned char>(tos);
  header.rtm_table = RT_TABLE_MAIN;
  header.rtm_protocol = static_cast<unsigned char>(protocol);
  header.rtm_type = static_cast<unsigned char>(routeType);
  NetlinkBuilder builder(type, header);
  if (parsed.length() > 0) builder.value(RTA_DST, parsed.address().octets());
  return builder;
}

/// The same of IPv6, of metric 5.
inline NetlinkBuilder routeMessage6(int type, std::string_view address, int length,
                                    int routeType = RTN_UNICAST, int protocol = RTPROT_BOOT) {
  rtmsg header{};
  header.rtm_family = AF_INET6;
  header.rtm_dst_len = static_cast<unsigned char>(length);
  header.rtm_table = RT_TABLE_MAIN;
  header.rtm_protocol = static_cast<unsigned char>(protocol);
  header.rtm_type = static_cast<unsigned char>(routeType);
  NetlinkBuilder builder(type, header);
  builder.value(RTA_DST, Dovel::Ip6Addr(address).octets());
  return builder.value(RTA_PRIORITY, 5);
}

inline NetlinkBuilder nexthopMessage(int type, std::uint32_t id, int family = AF_INET) {
  nhmsg header{};
  header.nh_family = static_cast<unsigned char>(family);
  return NetlinkBuilder(type, header).value(NHA_ID, id);
}

inline NetlinkBuilder neighbourMessage(int type, int index, unsigned state, int family = AF_INET,
                                       unsigned flags = 0) {
  ndmsg header{};
  header.ndm_family = static_cast<unsigned char>(family);
  header.ndm_ifindex = index;
  header.ndm_state = static_cast<__u16>(state);
  header.ndm_flags = static_cast<__u8>(flags);
  return NetlinkBuilder(type, header);
}

inline NetlinkBuilder netconfMessage(int type, int family) {
  return NetlinkBuilder(type, netconfmsg{static_cast<__u8>(family)});
}

}  // namespace Kelbase
