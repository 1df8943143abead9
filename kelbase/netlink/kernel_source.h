#pragma once
// One kind of kernel object, as NetlinkFeed fills it: what to subscribe to, what to ask for, and
// who takes the messages. Fed in one of two ways:
//
//   dumpBegin, receive*, dumpEnd       the answer to requests(), whole
//   receive*                           notifications of groups(), in order
//
// never mixed: notifications that come during any source's dump are held back until it has ended,
// and then replayed. They start with what is older than the dump, or repeats it, and end with what
// is newer: what a replay leaves behind must not depend on where in it the dump was taken.
//
// No method blocks. All on the publisher's thread.

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "kelbase/netlink/netlink_message.h"
#include "kelbase/netlink/netlink_request.h"

namespace Kelbase {

class KernelSource {
 public:
  KernelSource() = default;
  KernelSource(KernelSource const&) = delete;
  KernelSource& operator=(KernelSource const&) = delete;
  virtual ~KernelSource() = default;

  /// "links": for log lines.
  virtual std::string_view name() const = 0;
  /// The multicast groups that tell of changes (RTNLGRP_...).
  virtual std::span<unsigned const> groups() const = 0;
  /// What to ask for all objects; the answers together are one dump.
  virtual std::span<NetlinkRequest const> requests() const = 0;
  /// Whether receive() wants messages of this type (RTM_NEW..., RTM_DEL...).
  virtual bool takes(std::uint16_t messageType) const = 0;

  /// A dump starts (again): from here on receive() marks what it hears of.
  virtual void dumpBegin() = 0;
  /// A piece of the answer has ended: the kernel makes the next from what there is by then.
  virtual void pieceEnd() {}
  /// The dump has ended. `whole`: what it did not mention does not exist and is forgotten;
  /// otherwise it was interrupted, or a look, and may have left out objects that exist.
  virtual void dumpEnd(bool whole) = 0;
  /// BadMessage when a message is not as declared; nothing has changed then.
  virtual void receive(NetlinkMessage const& message) = 0;
  /// From here on receive() is (or is no more) given what was held back.
  virtual void replayIs(bool /*on*/) {}
  /// For the operator: "3 links".
  virtual std::string summary() const = 0;

  /// What wantDump() and wantLook() call.
  using DumpWish = std::function<void(double delay)>;
  void dumpWishIs(DumpWish wish) { dumpWish_ = std::move(wish); }
  void lookWishIs(DumpWish wish) { lookWish_ = std::move(wish); }
  /// Asks for another dump, in `delay` seconds or when one that is under way has ended.
  void wantDump(double delay) const {
    if (dumpWish_) dumpWish_(delay);
  }
  /// Asks for a look in `delay` seconds: a dump for what the kernel changes without a word. Until
  /// then nothing is in doubt, and what it leaves out stays, for the kernel tells what goes.
  void wantLook(double delay) const {
    if (lookWish_) lookWish_(delay);
  }

 private:
  DumpWish dumpWish_;
  DumpWish lookWish_;
};

}  // namespace Kelbase
