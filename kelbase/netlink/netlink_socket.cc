#include "kelbase/netlink/netlink_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>

namespace Kelbase {
namespace {

/// The kernel fills dump datagrams up to the size of the reads it has seen, 32 KiB at most.
constexpr std::size_t bufferSize = std::size_t{32} * 1024;

[[noreturn]] void throwErrno(std::string_view what, std::string_view remedy) {
  throw Mav::Exception(fmt::format("{}: {}; {}", what, std::strerror(errno), remedy));
}

}  // namespace

NetlinkSocket::NetlinkSocket(std::size_t batch)
    : socket_(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK)),
      sizeWanted_(bufferSize),
      senders_(batch),
      parts_(batch),
      messages_(batch) {
  constexpr std::string_view remedy = "allow this process sockets of family AF_NETLINK";
  if (!socket_) throwErrno("cannot open a netlink socket", remedy);
  // The kernel chooses the port: one socket of a process could have the process id (netlink(7)),
  // and there are several.
  if (mnl_socket_bind(socket_.get(), 0, MNL_SOCKET_AUTOPID) < 0) {
    throwErrno("cannot bind a netlink socket", remedy);
  }
}

std::size_t NetlinkSocket::receiveBufferIs(std::size_t bytes) {
  auto wanted = static_cast<int>(bytes);
  // Beyond net.core.rmem_max, which needs CAP_NET_ADMIN (socket(7)); else as much as that allows.
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

void NetlinkSocket::buffersAre(std::size_t size) {
  size_ = size;
  buffers_.reset(new std::byte[size * messages_.size()]);  // not to be written before it is read
  for (std::size_t i = 0; i < messages_.size(); ++i) parts_[i] = {buffers_.get() + i * size, size};
}

int NetlinkSocket::fetch() {
  // Here alone, where all that was fetched has been handed out: the rest would lie in the old
  // buffers.
  if (size_ != sizeWanted_) buffersAre(sizeWanted_);
  for (std::size_t i = 0; i < messages_.size(); ++i) {
    // Anew for each call, which writes the lengths and flags in it (recvmmsg(2)).
    msghdr header{};
    // The sender is asked for with each datagram: nothing else tells the kernel's from a forged
    // one.
    header.msg_name = &senders_[i];
    header.msg_namelen = sizeof senders_[i];
    header.msg_iov = &parts_[i];
    header.msg_iovlen = 1;
    messages_[i] = {header, 0};
  }
  // With MSG_TRUNC the kernel tells the whole length of what did not fit (recv(2)).
  int count = -1;
  do {
    count = recvmmsg(fd(), messages_.data(), static_cast<unsigned>(messages_.size()),
                     MSG_DONTWAIT | MSG_TRUNC, nullptr);
  } while (count < 0 && errno == EINTR);
  next_ = 0;
  fetched_ = count < 0 ? 0 : static_cast<std::size_t>(count);
  return count < 0 ? errno : 0;
}

NetlinkSocket::Received NetlinkSocket::receive() {
  if (next_ == fetched_) {
    int const error = fetch();
    // ENOBUFS: the kernel has dropped notifications (netlink(7)). Another error may hide as much.
    if (error != 0) return {error == EAGAIN ? Outcome::empty : Outcome::overrun, {}};
  }
  auto const& [header, length] = messages_[next_];
  Bytes const buffer(buffers_.get() + next_ * size_, size_);
  auto const& sender = senders_[next_++];
  // The kernel's port is 0. Another process may send to ours as well (netlink(7)).
  if (header.msg_namelen != sizeof sender || sender.nl_pid != 0) return {Outcome::foreign, {}};
  // The buffers grow for the next one. This one is lost, as in an overrun: its beginning might be
  // read as a whole list.
  if ((header.msg_flags & MSG_TRUNC) != 0 || length > size_) {
    sizeWanted_ = std::max<std::size_t>(sizeWanted_, MNL_ALIGN(length));
    return {Outcome::truncated, {}};
  }
  return {Outcome::datagram, buffer.first(length)};
}

bool NetlinkSocket::send(NetlinkRequest const& request, std::uint32_t sequence) {
  // A source's request is sent as often as it is dumped, each time under another number.
  NetlinkRequest copy = request;
  copy.message()->nlmsg_seq = sequence;
  return mnl_socket_sendto(socket_.get(), copy.message(), copy.message()->nlmsg_len) >= 0;
}

}  // namespace Kelbase
