#include "platform/pondo/environment/reader_slots.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace Pondo {
namespace {

// A line of mdb_reader_list: pid, thread, and the transaction's number, or "-" between snapshots.
int noteReader(char const* text, void* context) {
  auto& oldest = *static_cast<std::optional<std::uint64_t>*>(context);
  std::string_view line = text;
  while (line.ends_with('\n') || line.ends_with(' ')) line.remove_suffix(1);
  auto const last = line.substr(line.find_last_of(' ') + 1);
  // The heading ends in a word, and is passed over as a reader between snapshots is.
  std::uint64_t number = 0;
  auto const parsed = std::from_chars(last.data(), last.data() + last.size(), number);
  if (parsed.ec == std::errc() && parsed.ptr == last.data() + last.size()) {
    oldest = std::min(number, oldest.value_or(number));
  }
  return 0;
}

}  // namespace

// A reader that was killed keeps its slot, and the pages of its snapshot, until somebody looks
// (lmdb.h, mdb_reader_check).
int freeDeadSlots(MDB_env* env) {
  int dead = 0;
  mdb_reader_check(env, &dead);
  return dead;
}

std::optional<std::uint64_t> oldestReader(MDB_env* env) {
  std::optional<std::uint64_t> oldest;
  // Text is the one form in which LMDB gives the transactions of its readers.
  mdb_reader_list(env, &noteReader, &oldest);
  return oldest;
}

Space spaceOf(Environment const& env) {
  // mdb_stat() asks for a transaction; this one ends before the publisher goes on.
  auto const txn = env.begin(MDB_RDONLY);
  MDB_envinfo info{};
  MDB_stat stat{};
  mdb_env_info(env.get(), &info);
  mdb_env_stat(env.get(), &stat);
  auto const pagesOf = [](MDB_stat const& s) {
    return s.ms_branch_pages + s.ms_leaf_pages + s.ms_overflow_pages;
  };
  // Pages that LMDB keeps for reuse count as used and not as live.
  std::size_t pages = 2 + pagesOf(stat);  // the meta pages, the table of tables
  auto const add = [&](MDB_dbi table) {
    check(mdb_stat(txn.get(), table, &stat), env.directory(), "read");
    pages += pagesOf(stat);
  };
  add(env.tables().meta);
  add(env.tables().log);
  for (auto const& table : Format::tables) add(env.tables()[table.id]);
  return {(info.me_last_pgno + 1) * stat.ms_psize, pages * stat.ms_psize};
}

bool StoppedReaderWatch::hasStopped(std::optional<std::uint64_t> oldest, double now) {
  // A reader that turns its loop renews its snapshot, and so the number: one that stays the same
  // belongs to a process that stands still, and no page freed since then can be used again.
  if (!oldest || oldest != oldest_) {
    oldest_ = oldest;
    since_ = now;
    return false;
  }
  return now - since_ >= stoppedAfter;
}

}  // namespace Pondo
