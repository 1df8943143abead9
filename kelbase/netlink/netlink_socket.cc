#include "kelbase/netlink/netlink_socket.h"

#include <cerrno>
#include <cstring>

#include <fmt/format.h>
#include <sys/socket.h>

namespace Kelbase {
namespace {

/// The kernel fills dump datagrams up to the size of the reads it has seen, 32 KiB at most.
constexpr std::size_t bufferSize = std::size_t{32} * 1024;

[[noreturn]] void throwErrno(std::string_view what, std::string_view remedy) {
  throw Mav::Exception(fmt::format("{}: {}; {}", what, std::strerror(errno), remedy));
}

}  // namespace

NetlinkSocket::NetlinkSocket()
    : socket_(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK)), buffer_(bufferSize) {
  constexpr std::string_view remedy = "allow this process sockets of family AF_NETLINK";
  if (!socket_) throwErrno("cannot open a netlink socket", remedy);
  if (mnl_socket_bind(socket_.get(), 0, MNL_SOCKET_AUTOPID) < 0) {
    throwErrno("cannot bind a netlink socket", remedy);
  }
}

std::size_t NetlinkSocket::receiveBufferIs(std::size_t bytes) {
  auto wanted = static_cast<int>(bytes);
  if (setsockopt(fd(), SOL_SOCKET, SO_RCVBUFFORCE, &wanted, sizeof wanted) != 0) {
    setsockopt(fd(), SOL_SOCKET, SO_RCVBUF, &wanted, sizeof wanted);
  }
  int granted = 0;
  socklen_t length = sizeof granted;
  getsockopt(fd(), SOL_SOCKET, SO_RCVBUF, &granted, &length);
  return static_cast<std::size_t>(granted) / 2;  // socket(7): the kernel doubles and reports that
}

void NetlinkSocket::subscribe(unsigned group) {
  if (mnl_socket_setsockopt(socket_.get(), NETLINK_ADD_MEMBERSHIP, &group, sizeof group) < 0) {
    throwErrno(fmt::format("cannot join netlink group {}", group), "a newer kernel is needed");
  }
}

void NetlinkSocket::strictChecksOn() {
  // Kernels that know neither option work without them.
  int on = 1;
  mnl_socket_setsockopt(socket_.get(), NETLINK_GET_STRICT_CHK, &on, sizeof on);
  mnl_socket_setsockopt(socket_.get(), NETLINK_EXT_ACK, &on, sizeof on);
}

NetlinkSocket::Received NetlinkSocket::receive() {
  sockaddr_nl sender{};
  iovec part{buffer_.data(), buffer_.size()};
  msghdr message{};
  message.msg_name = &sender;
  message.msg_namelen = sizeof sender;
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  ssize_t size = -1;
  do {
    size = recvmsg(fd(), &message, MSG_DONTWAIT | MSG_TRUNC);
  } while (size < 0 && errno == EINTR);
  if (size < 0) return {errno == EAGAIN ? Outcome::empty : Outcome::overrun, {}};

  auto const length = static_cast<std::size_t>(size);
  if (message.msg_namelen != sizeof sender || sender.nl_pid != 0) return {Outcome::foreign, {}};
  if ((message.msg_flags & MSG_TRUNC) != 0 || length > buffer_.size()) {
    buffer_.resize(MNL_ALIGN(length));
    return {Outcome::truncated, {}};
  }
  return {Outcome::datagram, Bytes(buffer_.data(), length)};
}

bool NetlinkSocket::send(NetlinkRequest const& request, std::uint32_t sequence) {
  NetlinkRequest copy = request;
  copy.message()->nlmsg_seq = sequence;
  return mnl_socket_sendto(socket_.get(), copy.message(), copy.message()->nlmsg_len) >= 0;
}

}  // namespace Kelbase
