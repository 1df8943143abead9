#pragma once
// Carries the messages about neighbours into the model.
//
// The kernel tells of every neighbour that goes, with its link, with a flush or by garbage
// collection too, and of every state in which it has a link address and stays. What it does not
// tell (net/core/neighbour.c, __neigh_event_send, neigh_timer_handler, __neigh_update): that it
// begins to look for one (NUD_INCOMPLETE), that it is about to doubt one that is used (NUD_DELAY),
// and what an administrator makes of one without a link address. Of the former two it tells what
// comes of it, some seconds later. So the neighbours are looked at every lookInterval, by a dump
// which removes nothing: at longer intervals where there are so many that it would cost more than
// lookShare of a processor, and not at all while no link is up but the loopback.
//
// What the kernel does not tell either is that a dump has left some out: from one datagram of the
// answer to the next it remembers a bucket of its hash table and a place in it (neigh_dump_table),
// and when neighbours go meanwhile, or the table grows, in any network namespace, the rest of the
// dump is of other places, without NLM_F_DUMP_INTR. So a dump of several datagrams that tells of
// neighbours which came or went is taken again, until one tells of none.

#include <cstddef>

#include "kelbase/model/neighbour.h"
#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/model_source.h"

namespace Kelbase {

class NeighbourSource : public ModelSource<NeighbourDecoder, Neighbours>, private Links::Observer {
 public:
  /// So many fit the kernel's smallest datagram.
  static constexpr std::size_t onePiece = 32;
  static constexpr double confirmDelay = 1.0;  // seconds
  /// Dumps in a row; where neighbours change all the time each has news.
  static constexpr unsigned confirmMax = 3;

  static constexpr double lookInterval = 2.0;  // seconds
  static constexpr double lookShare = 0.005;

  /// Both must outlive it.
  NeighbourSource(Neighbours& neighbours, Links& links);

  void dumpBegin() override;
  void dumpEnd(bool whole) override;
  void receive(NetlinkMessage const& message) override;

 private:
  void onLink(Link const* before, Link const& now) override;
  void planLook();
  void confirm(std::size_t before);

  Links const& links_;
  std::size_t heard_ = 0;  // messages since the last dump began
  bool hasNews_ = false;   // one of them was of a neighbour that came or went
  unsigned confirms_ = 0;  // dumps asked for in a row

  bool isLookPlanned_ = false;
  double begunAt_ = 0;  // the processor's time when the last dump began
  double cost_ = 0;     // seconds of it that the last look took
};

}  // namespace Kelbase
