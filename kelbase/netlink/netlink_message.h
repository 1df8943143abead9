#pragma once
// One netlink message (RFC 3549 section 2.3.2; linux/netlink.h), as a view into a datagram. Nothing
// is trusted: a family header is handed out only after its length was checked.
//
// The view dies with the datagram. Whatever is wrong with a message is a BadMessage that names the
// message: the reader rejects and counts that message, and goes on with the next.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include <libmnl/libmnl.h>
#include <sys/socket.h>

#include "kelbase/model/family.h"
#include "platform/mav/exception.h"

namespace Kelbase {

/// "RTM_NEWLINK: IFLA_IFNAME: 17 bytes, expected a text of 1 to 15 characters"
class BadMessage : public Mav::Exception {
 public:
  using Exception::Exception;
};

using Bytes = std::span<std::byte const>;

class NetlinkMessage {
 public:
  /// `header` is followed by as many bytes as it says: forEachMessage() has looked.
  explicit NetlinkMessage(nlmsghdr const& header) : header_(&header) {}

  std::uint16_t type() const { return header_->nlmsg_type; }
  std::uint16_t flags() const { return header_->nlmsg_flags; }
  /// Of an answer that of the request. A notification has that of whoever made the change: it says
  /// nothing here.
  std::uint32_t sequence() const { return header_->nlmsg_seq; }

  /// "RTM_NEWLINK"; "message type 99" where it has no name here.
  std::string name() const;
  /// BadMessage "NAME: PROBLEM".
  [[noreturn]] void fail(std::string_view problem) const;

  Bytes payload() const {
    return {static_cast<std::byte const*>(mnl_nlmsg_get_payload(header_)),
            mnl_nlmsg_get_payload_len(header_)};
  }

  /// The fixed header that the payload starts with (struct ifinfomsg ...), copied.
  template <class Header>
  Header header() const {
    static_assert(std::is_trivially_copyable_v<Header>);
    Header result;
    if (payload().size() < sizeof(Header)) failShort(sizeof(Header));
    // The datagram's bytes are no object of that type, and the copy outlives them.
    std::memcpy(&result, payload().data(), sizeof(Header));
    return result;
  }

  /// What follows the fixed header: attributes. Empty when the payload ends before.
  template <class Header>
  Bytes attributes() const {
    std::size_t const skipped = std::min<std::size_t>(MNL_ALIGN(sizeof(Header)), payload().size());
    return payload().subspan(skipped);
  }

 private:
  [[noreturn]] void failShort(std::size_t expected) const;

  nlmsghdr const* header_;
};

/// Calls visit(message) for each message of a datagram, in order. BadMessage, after the good ones,
/// when the rest of the datagram is no message. The datagram must be aligned as nlmsghdr is. What
/// `visit` throws ends the walk, and the messages behind are not read: NetlinkFeed catches within
/// it what is wrong with one message.
template <class Visit>
void forEachMessage(Bytes datagram, Visit const& visit) {
  auto const* next = reinterpret_cast<nlmsghdr const*>(datagram.data());
  int left = static_cast<int>(datagram.size());
  while (mnl_nlmsg_ok(next, left)) {
    visit(NetlinkMessage(*next));
    next = mnl_nlmsg_next(next, &left);
  }
  if (left > 0) throw BadMessage("datagram: " + std::to_string(left) + " stray bytes at its end");
}

/// What the headers of messages call a version of IP.
constexpr std::uint8_t familyOf(IpVersion version) {
  return version == IpVersion::v4 ? AF_INET : AF_INET6;
}

/// The index of a link, at least `min`; BadMessage otherwise.
std::int32_t checkedIndex(NetlinkMessage const& message, std::int64_t index, std::int32_t min);
/// BadMessage for the length of a prefix that has more bits than an address of the version.
void checkLength(NetlinkMessage const& message, unsigned length, unsigned max);

/// The errno that an NLMSG_ERROR or NLMSG_DONE message carries, 0 for none (an acknowledgement, or
/// a dump that ended well). BadMessage where an NLMSG_ERROR ends before it.
int errorOf(NetlinkMessage const& message);

/// The kernel's own words on that error (NETLINK_EXT_ACK), or empty.
std::string extendedErrorOf(NetlinkMessage const& message);

}  // namespace Kelbase
