#pragma once
// Carries the messages about IPv4 neighbours into the model.
//
// The kernel tells of every neighbour that comes, changes or goes, with its link, with a flush or
// by garbage collection too. What it does not tell is that a dump has left some out: from one
// datagram of the answer to the next it remembers a bucket of its hash table and a place in it
// (net/core/neighbour.c, neigh_dump_table), and when neighbours go meanwhile, or the table grows,
// in any network namespace, the rest of the dump is of other places, without NLM_F_DUMP_INTR. So a
// dump of several datagrams that tells anything new is taken again, until one tells nothing new.

#include <cstddef>

#include "kelbase/model/neighbour.h"
#include "kelbase/netlink/model_source.h"
#include "kelbase/netlink/neighbour_decoder.h"

namespace Kelbase {

class NeighbourSource : public ModelSource<NeighbourDecoder, Neighbours4> {
 public:
  /// So many fit the kernel's smallest datagram.
  static constexpr std::size_t onePiece = 32;
  static constexpr double confirmDelay = 1.0;  // seconds
  /// Dumps in a row; where neighbours change all the time each has news.
  static constexpr unsigned confirmMax = 3;

  using ModelSource::ModelSource;

  void dumpBegin() override;
  void dumpEnd(bool whole) override;
  void receive(NetlinkMessage const& message) override;

 private:
  std::size_t heard_ = 0;  // messages since the last dump began
  bool hasNews_ = false;   // one of them changed the model
  unsigned confirms_ = 0;  // dumps asked for in a row
};

}  // namespace Kelbase
