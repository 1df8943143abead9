#pragma once
// A request to the kernel, built once and sent as often as wanted:
//
//   NetlinkRequest(RTM_GETLINK, NLM_F_DUMP, ifinfomsg{}).put(IFLA_EXT_MASK, std::uint32_t{...})
//
// A dump ends with NLMSG_DONE; any other request asks for an acknowledgement, which ends it.
//
// A value: a source keeps its requests, and a copy of one goes out under a new number each time
// (NetlinkSocket::send). Which answers are good enough is noted with it, since that differs from
// question to question.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include <libmnl/libmnl.h>

#include "platform/mav/exception.h"

namespace Kelbase {

class NetlinkRequest {
 public:
  /// Room for the header and a handful of attributes.
  static constexpr std::size_t sizeMax = 256;

  template <class Header>
  NetlinkRequest(std::uint16_t type, std::uint16_t flags, Header const& header) {
    static_assert(std::is_trivially_copyable_v<Header> && sizeof(Header) < sizeMax / 2);
    nlmsghdr* const message = mnl_nlmsg_put_header(buffer_.data());
    message->nlmsg_type = type;
    // NLM_F_DUMP is two bits: NLM_F_ROOT and NLM_F_MATCH.
    bool const isDump = (flags & NLM_F_DUMP) == NLM_F_DUMP;
    message->nlmsg_flags =
        static_cast<std::uint16_t>(NLM_F_REQUEST | flags | (isDump ? 0 : NLM_F_ACK));
    std::memcpy(mnl_nlmsg_put_extra_header(message, sizeof(Header)), &header, sizeof(Header));
  }

  /// Adds an attribute, in host byte order. Mav::Exception where there is no room: a fault of ours.
  template <class T>
  NetlinkRequest& put(std::uint16_t attribute, T const& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    bool const fits = mnl_attr_put_check(message(), buffer_.size(), attribute, sizeof(T), &value);
    if (!fits) throw Mav::Exception("netlink request: more attributes than it has room for");
    return *this;
  }

  /// A kernel that lacks the request's family answers EOPNOTSUPP, one that lacks the table it asks
  /// for ENOENT; that means "no such objects".
  NetlinkRequest& unsupportedIsEmpty() {
    unsupportedIsEmpty_ = true;
    return *this;
  }
  bool isUnsupportedEmpty() const { return unsupportedIsEmpty_; }

  /// An answer that was interrupted (NLM_F_DUMP_INTR) will do, though objects may be left out.
  NetlinkRequest& interruptedIsWhole() {
    interruptedIsWhole_ = true;
    return *this;
  }
  bool isInterruptedWhole() const { return interruptedIsWhole_; }

  /// What is sent: nlmsg_len bytes from here on.
  nlmsghdr* message() { return reinterpret_cast<nlmsghdr*>(buffer_.data()); }
  nlmsghdr const* message() const { return reinterpret_cast<nlmsghdr const*>(buffer_.data()); }

 private:
  alignas(nlmsghdr) std::array<std::byte, sizeMax> buffer_{};
  bool unsupportedIsEmpty_ = false;
  bool interruptedIsWhole_ = false;
};

}  // namespace Kelbase
