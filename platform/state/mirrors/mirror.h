#pragma once
// The mirror of one shared table: keeps entities of the agent's process as the table says.
//
// State::Mirrors hands each slice of changes to the mirrors in two steps. First every mirror reads
// what its keys hold now and works out its differences, changing nothing. Then all of them apply,
// phase by phase, so that dependants never outlive or precede what they depend on:
//
//   withdraw        addresses and neighbours that go
//   interfacesGo    interfaces that go
//   interfacesCome  interfaces that come, and changes of those that stay
//   announce        addresses and neighbours that come
//
// A slice can be tried again from the start after an exception: applying twice must come to the
// same as applying once. All on the agent's thread.

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/pondo/environment/reader.h"

namespace State {

/// A key of a table whose record differs from what is filed; absent: nothing.
template <class Table>
struct RecordChange {
  typename Table::Key key;
  std::optional<typename Table::Record> before, after;
};
using InterfaceChange = RecordChange<Pondo::LinkTable>;

/// One interface goes; another may come under its name, with another index.
inline bool leaves(InterfaceChange const& change) {
  auto const& [link, before, after] = change;
  return before && (!after || after->ifIndex != before->ifIndex);
}

enum class Phase { withdraw, interfacesGo, interfacesCome, announce };

class Mirror {
 public:
  virtual ~Mirror() = default;

  /// The one table whose keys it is given.
  virtual Pondo::TableId table() const = 0;

  /// Forgets what was read before. Begins every slice, in every mirror.
  virtual void begin() = 0;

  /// Works out what changed under `key`.
  virtual void read(Pondo::Snapshot const& snapshot, std::string_view key) = 0;

  /// The interfaces that come, change or go in this slice, as far as read() has told.
  virtual std::span<InterfaceChange const> interfaceChanges() const { return {}; }

  /// An interface changes in this slice, though changes of what hangs on it may come only in a
  /// later one. Called after every read(). A mirror of things that hang on interfaces works out,
  /// for all that it has filed for one that leaves, the withdrawal (once, should read() have told
  /// it already) and the announcement again of what the table still holds: the interface may come
  /// back at once, with another index.
  virtual void interfaceChanged(Pondo::Snapshot const& /*snapshot*/,
                                InterfaceChange const& /*change*/) {}

  /// Whether applying will mount or unmount an entity.
  virtual bool changesMounts() const { return false; }

  /// Makes the phase's part of the changes that read() and interfaceChanged() have worked out.
  /// Called for each phase in turn, in all mirrors, once the whole slice has been read.
  virtual void apply(Phase phase) = 0;

  /// All phases are done: what was read is filed.
  virtual void end() = 0;

  /// The first key (bytes) not less than `from` that is filed, or nothing.
  virtual std::optional<std::string> filedKey(std::string_view from) const = 0;
};

}  // namespace State
