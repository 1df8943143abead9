#pragma once
// A non-blocking rtnetlink socket (netlink(7)). Opened in the network namespace of the calling
// thread, needs no privilege. Move-only by nature of its descriptor: dropping it closes it.
//
// Netlink is a datagram protocol that loses: what does not fit into the receive buffer is dropped
// and ENOBUFS is reported once. From then on the kernel drops every further notification, without
// saying so again, until the queue has been read empty (NETLINK_S_CONGESTED, af_netlink.c). So
// after an overrun only what is asked after the next Outcome::empty is whole.
//
// NetlinkFeed has one for notifications and NetlinkDumper another for answers. The kernel makes an
// answer piece by piece, as the pieces before are read (af_netlink.c, netlink_dump), so that it
// waits for a slow reader; a notification does not. On one socket a long answer would take the room
// that notifications need.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <libmnl/libmnl.h>
#include <sys/socket.h>

#include "kelbase/netlink/netlink_message.h"
#include "kelbase/netlink/netlink_request.h"

namespace Kelbase {

class NetlinkSocket {
 public:
  enum class Outcome {
    datagram,   // one datagram of the kernel's
    empty,      // nothing more now
    foreign,    // from another process: its port id is not 0. To be ignored
    truncated,  // larger than the buffer, which has grown to that size; the datagram is lost
    overrun,    // datagrams were lost (ENOBUFS), or the kernel could not deliver
  };
  struct Received {
    Outcome outcome = Outcome::empty;
    Bytes datagram;  // valid until the next receive()
  };

  /// Reads up to `batch` datagrams with one call of the kernel (recvmmsg(2)). Mav::Exception saying
  /// what the kernel refused and what to do.
  explicit NetlinkSocket(std::size_t batch = 1);

  /// Readable as long as anything waits in the kernel. Datagrams that were fetched in a batch and
  /// not handed out yet do not make it so.
  int fd() const { return mnl_socket_get_fd(socket_.get()); }
  /// The address at which this socket gets messages; another process may send to it as well.
  std::uint32_t portId() const { return mnl_socket_get_portid(socket_.get()); }

  /// Asks for a receive buffer of so many bytes; without CAP_NET_ADMIN the kernel caps it at
  /// net.core.rmem_max. Returns what it granted, in the same measure.
  std::size_t receiveBufferIs(std::size_t bytes);

  /// Buffers as large as those of `other`, which is about to be closed, have had to grow.
  void buffersLike(NetlinkSocket const& other) { sizeWanted_ = other.sizeWanted_; }

  /// Joins a multicast group (RTNLGRP_...). What changes from here on is heard; of what is there
  /// already a dump alone tells. Mav::Exception where the kernel has no such group.
  void subscribe(unsigned group);

  /// Has the kernel check requests fully and heed their filters, where it can (since 4.20), and
  /// explain its errors.
  void strictChecksOn();

  /// The next datagram of those fetched, and of the kernel where none is left. Never waits. An
  /// overrun or a truncated datagram is told once: the next call goes on behind it.
  Received receive();

  /// False when the kernel does not take it now. The answer comes under `sequence`. errno says why
  /// where it is false.
  [[nodiscard]] bool send(NetlinkRequest const& request, std::uint32_t sequence);

 private:
  struct Closer {
    void operator()(mnl_socket* socket) const { mnl_socket_close(socket); }
  };

  void buffersAre(std::size_t size);
  /// The errno that the kernel answers; 0 when there are datagrams.
  int fetch();

  std::unique_ptr<mnl_socket, Closer> socket_;
  std::size_t size_ = 0;  // of a buffer
  std::size_t sizeWanted_;
  std::unique_ptr<std::byte[]> buffers_;  // pages that no datagram reaches cost nothing
  std::vector<sockaddr_nl> senders_;
  std::vector<iovec> parts_;
  std::vector<mmsghdr> messages_;
  // Datagrams in the buffers, all of the last fetch().
  std::size_t fetched_ = 0;
  std::size_t next_ = 0;  // of those fetched, to be handed out
};

}  // namespace Kelbase
