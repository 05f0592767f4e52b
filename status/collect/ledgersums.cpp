#include "collect/ledgersums.h"

#include <array>

#include "historydata/historydata.h"

namespace status {
namespace {

// The first row of a page among the newest ones, or among the oldest ones; none without a stamp.
using Best = const LedgerRow*;

// What a page has of one kind of files. Its rows are copied only when the page is over.
struct Sums {
  std::size_t pending = 0;
  std::size_t accepted = 0;
  Best newestAccepted = nullptr;
  Best newestPending = nullptr;
  Best oldestPending = nullptr;
};
enum Kind { kReal, kAlarm, kOther, kKinds };

Kind KindOf(const LedgerRow& row) {
  if (row.type == kRealDataFile) return kReal;
  return row.type == kAlarmDataFile ? kAlarm : kOther;
}

bool IsNewer(const LedgerRow& row, Best best) {
  return best == nullptr || *row.stamp > *best->stamp;
}

bool IsOlder(const LedgerRow& row, Best best) {
  return best == nullptr || *row.stamp < *best->stamp;
}

void Count(const LedgerRow& row, Sums* sums) {
  ++(row.accepted ? sums->accepted : sums->pending);
  if (!row.stamp) return;
  Best& newest = row.accepted ? sums->newestAccepted : sums->newestPending;
  if (IsNewer(row, newest)) newest = &row;
  if (!row.accepted && IsOlder(row, sums->oldestPending)) sums->oldestPending = &row;
}

// Rows of one page stand one behind the other in memory.
Best Newer(Best one, Best other) {
  if (one == nullptr || other == nullptr) return one == nullptr ? other : one;
  if (*one->stamp != *other->stamp) return *one->stamp > *other->stamp ? one : other;
  return one < other ? one : other;
}

void KeepNewest(std::optional<LedgerRow>* kept, Best row) {
  if (row != nullptr && (!*kept || *row->stamp > *(*kept)->stamp)) *kept = *row;
}

void KeepOldest(std::optional<LedgerRow>* kept, Best row) {
  if (row != nullptr && (!*kept || *row->stamp < *(*kept)->stamp)) *kept = *row;
}

void Add(const Sums& sums, FileCounts* counts) {
  counts->pending += sums.pending;
  counts->accepted += sums.accepted;
  KeepNewest(&counts->newest, Newer(sums.newestAccepted, sums.newestPending));
  KeepNewest(&counts->newestAccepted, sums.newestAccepted);
  KeepNewest(&counts->newestPending, sums.newestPending);
  KeepOldest(&counts->oldestPending, sums.oldestPending);
}

Best Older(Best one, Best other) {
  if (one == nullptr || other == nullptr) return one == nullptr ? other : one;
  if (*one->stamp != *other->stamp) return *one->stamp < *other->stamp ? one : other;
  return one < other ? one : other;
}

Sums Of(const Sums& one, const Sums& other) {
  return {.pending = one.pending + other.pending,
          .accepted = one.accepted + other.accepted,
          .newestAccepted = Newer(one.newestAccepted, other.newestAccepted),
          .newestPending = Newer(one.newestPending, other.newestPending),
          .oldestPending = Older(one.oldestPending, other.oldestPending)};
}

// A stamp of the future may hide younger ones of the page that have come.
void KeepByNow(std::span<const LedgerRow> rows, std::time_t latest, LedgerSums* sums) {
  for (const LedgerRow& row : rows) {
    if (!row.stamp || *row.stamp > latest) continue;
    if (row.type == kRealDataFile) KeepNewest(&sums->newestByNow, &row);
    if (row.accepted) KeepNewest(&sums->newestAcceptedByNow, &row);
  }
}

}  // namespace

void AddPage(std::span<const LedgerRow> rows, std::time_t latest, LedgerSums* sums) {
  std::array<Sums, kKinds> page;
  for (const LedgerRow& row : rows) Count(row, &page[KindOf(row)]);
  const Sums all = Of(Of(page[kReal], page[kAlarm]), page[kOther]);
  Add(all, &sums->ledger.all);
  Add(page[kReal], &sums->ledger.realData);
  Add(page[kAlarm], &sums->ledger.alarmData);
  const Best newest = Newer(all.newestAccepted, all.newestPending);
  if (newest != nullptr && *newest->stamp > latest) return KeepByNow(rows, latest, sums);
  KeepNewest(&sums->newestByNow, Newer(page[kReal].newestAccepted, page[kReal].newestPending));
  KeepNewest(&sums->newestAcceptedByNow, all.newestAccepted);
}

}  // namespace status
