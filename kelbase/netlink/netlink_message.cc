#include "kelbase/netlink/netlink_message.h"

#include <algorithm>
#include <array>
#include <limits>

#include <fmt/format.h>
#include <linux/rtnetlink.h>

#include "kelbase/netlink/netlink_attributes.h"

namespace Kelbase {
namespace {

/// Of those that the kernel sends and somebody reads: a request has no fault to be told of.
struct TypeName {
  std::uint16_t type;
  char const* name;
};

constexpr std::array typeNames{
    TypeName{NLMSG_ERROR, "NLMSG_ERROR"},       TypeName{NLMSG_DONE, "NLMSG_DONE"},
    TypeName{RTM_NEWLINK, "RTM_NEWLINK"},       TypeName{RTM_DELLINK, "RTM_DELLINK"},
    TypeName{RTM_NEWNETCONF, "RTM_NEWNETCONF"}, TypeName{RTM_DELNETCONF, "RTM_DELNETCONF"},
    TypeName{RTM_NEWADDR, "RTM_NEWADDR"},       TypeName{RTM_DELADDR, "RTM_DELADDR"},
    TypeName{RTM_NEWROUTE, "RTM_NEWROUTE"},     TypeName{RTM_DELROUTE, "RTM_DELROUTE"},
    TypeName{RTM_NEWNEXTHOP, "RTM_NEWNEXTHOP"}, TypeName{RTM_DELNEXTHOP, "RTM_DELNEXTHOP"},
    TypeName{RTM_NEWNEIGH, "RTM_NEWNEIGH"},     TypeName{RTM_DELNEIGH, "RTM_DELNEIGH"},
};

constexpr std::array extendedErrorRules{
    AttributeRule{NLMSGERR_ATTR_MSG, "NLMSGERR_ATTR_MSG", textOf(1024)},
};

/// Where the attributes of an NLMSG_ERROR start: after the copy of the request, which the kernel
/// cuts to its header when NLM_F_CAPPED says so.
Bytes extendedErrorAttributes(NetlinkMessage const& message) {
  // Without the flag there are none: what follows the number may be the request's own attributes.
  if ((message.flags() & NLM_F_ACK_TLVS) == 0) return {};
  if (message.type() == NLMSG_DONE) return message.attributes<int>();
  auto const error = message.header<nlmsgerr>();
  std::size_t const request =
      (message.flags() & NLM_F_CAPPED) != 0 ? sizeof(nlmsghdr) : error.msg.nlmsg_len;
  std::size_t const skipped = sizeof(int) + MNL_ALIGN(request);
  Bytes const payload = message.payload();
  return payload.subspan(std::min(skipped, payload.size()));
}

}  // namespace

std::string NetlinkMessage::name() const {
  for (auto const& known : typeNames) {
    if (known.type == type()) return known.name;
  }
  return "message type " + std::to_string(type());
}

void NetlinkMessage::fail(std::string_view problem) const {
  throw BadMessage(fmt::format("{}: {}", name(), problem));
}

void NetlinkMessage::failShort(std::size_t expected) const {
  fail(fmt::format("header of {} bytes, expected at least {}", payload().size(), expected));
}

std::int32_t checkedIndex(NetlinkMessage const& message, std::int64_t index, std::int32_t min) {
  // Messages have it with a sign or without.
  if (index >= min && index <= std::numeric_limits<std::int32_t>::max()) {
    return static_cast<std::int32_t>(index);
  }
  message.fail(fmt::format("interface index {}, expected {} or more", index, min));
}

void checkLength(NetlinkMessage const& message, unsigned length, unsigned max) {
  if (length > max) message.fail(fmt::format("prefix length {}, expected 0 to {}", length, max));
}

int errorOf(NetlinkMessage const& message) {
  // A dump that failed half-way says so in its NLMSG_DONE; older kernels leave the number out.
  if (message.type() == NLMSG_DONE && message.payload().size() < sizeof(int)) return 0;
  int const code = message.header<int>();
  return code < 0 ? -code : code;
}

std::string extendedErrorOf(NetlinkMessage const& message) try {
  // Read as carefully as any message, though it only adds words to a log line.
  Attributes const attributes(message, extendedErrorAttributes(message), extendedErrorRules);
  return std::string(attributes.text(NLMSGERR_ATTR_MSG).value_or(""));
} catch (BadMessage const&) {
  return {};  // an explanation that cannot be read explains nothing
}

}  // namespace Kelbase
