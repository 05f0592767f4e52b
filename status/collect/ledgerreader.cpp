#include "collect/ledgerreader.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <limits>

#include "collect/keepowners.h"
#include "historydata/ledgerfile.h"
#include "util/text.h"

namespace status {
namespace {

constexpr std::size_t kMostRows = 2'000'000;

constexpr int kTries = 10;
constexpr int kLockMilliseconds = 100;  // of one try
constexpr int kPauseMicroseconds = 20'000;
constexpr int kAllMilliseconds = 5000;

constexpr std::int64_t kBeforeAll = std::numeric_limits<std::int64_t>::min();

// A virtual table has no root page.
constexpr char kCountTable[] =
    "select count(*) from sqlite_master where tbl_name='%s' and type='table' and rootpage>0";
constexpr char kSelectRecalls[] = "select rowid from %s where rowid>%lld order by rowid limit %zu";

util::Database Open(const std::string& path, LedgerReader::File file) {
  KeepOwners();
  if (file == LedgerReader::File::kGatewaysOwn) return util::Database::OpenForReading(path.c_str());
  util::Database copy(path.c_str(), util::Database::Missing::kFails);
  copy.DistrustContent();
  return copy;
}

}  // namespace

LedgerReader::LedgerReader(const std::string& path, File file)
    : m_database(Open(path, file)), m_triesLeft(kTries), m_millisecondsLeft(kAllMilliseconds) {
  m_database.WaitForLocks(kLockMilliseconds);
}

LedgerState LedgerReader::Failed(util::Failure why, bool rowsAreRead) {
  m_detail = m_database.ErrorText();
  if (why == util::Failure::kDamaged) {
    return rowsAreRead ? LedgerState::kDamaged : LedgerState::kForeign;
  }
  if (why == util::Failure::kStatement) {
    return rowsAreRead ? LedgerState::kDamaged : LedgerState::kNoTable;
  }
  switch (m_database.WhyHindered()) {
    case util::Hindrance::kLocked:
      return LedgerState::kBusy;
    case util::Hindrance::kUnfinishedWrite:
      return LedgerState::kUnfinished;
    case util::Hindrance::kTooLong:
      m_detail = "it could not be read within 5 seconds";
      return LedgerState::kUnreadable;
    default:
      return LedgerState::kUnreadable;
  }
}

LedgerState LedgerReader::TryOnce(const Attempt& attempt) {
  using std::chrono::steady_clock;
  const auto begin = steady_clock::now();
  m_database.LimitTime(m_millisecondsLeft);
  const LedgerState state = attempt();
  const auto taken =
      std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
  m_millisecondsLeft -= static_cast<int>(taken.count());
  return state;
}

// A lock is met before the first row, so no row comes twice. The moment in which the service begins
// a write can look like an unfinished one.
LedgerState LedgerReader::Try(const Attempt& attempt) {
  const std::string said = m_detail;
  while (true) {
    const LedgerState state = TryOnce(attempt);
    if (state == LedgerState::kGood) m_detail = said;
    if (state != LedgerState::kBusy && state != LedgerState::kUnfinished) return state;
    if (--m_triesLeft <= 0) return state;
    if (state == LedgerState::kUnfinished) usleep(kPauseMicroseconds);
  }
}

LedgerState LedgerReader::Run(const std::string& sql,
                              const std::function<void(util::Statement&)>& take) {
  return Try([&] {
    util::Statement rows = m_database.Prepare(sql);
    if (!rows) return Failed(m_database.WhyFailed(), false);
    take(rows);
    return rows.Failed() ? Failed(rows.WhyFailed(), true) : LedgerState::kGood;
  });
}

LedgerState LedgerReader::LookForTable(const char* table) {
  if (!m_database) return Failed(m_database.WhyFailed(), false);
  bool isThere = false;
  const LedgerState state = Run(util::Format(kCountTable, table), [&isThere](util::Statement& row) {
    isThere = row.NextRow() && row.Integer(0) > 0;
  });
  if (state != LedgerState::kGood) return state;
  return isThere ? LedgerState::kGood : LedgerState::kNoTable;
}

LedgerState LedgerReader::ReadPage(std::int64_t after) {
  return Try([&] {
    const auto [why, isRead] = m_statement.Read(after, &m_page);
    return why == util::Failure::kNone ? LedgerState::kGood : Failed(why, isRead);
  });
}

LedgerState LedgerReader::ReadPages(const TakePage& take) {
  LedgerState state = LookForTable(kPendingTable);
  std::int64_t after = kBeforeAll;
  while (state == LedgerState::kGood) {
    state = ReadPage(after);
    const std::span rows(m_page.rows.data(), m_page.size);
    m_givenRows += rows.size();
    for (LedgerRow& row : rows) row.stamp = m_stamps.Of(row.name);
    if (!take(rows) || state != LedgerState::kGood || !m_page.IsFull()) return state;
    // A "rowid" that does not rise is a column like any other.
    if (m_page.last <= after) return LedgerState::kDamaged;
    if (m_givenRows >= kMostRows) {
      m_detail = util::Format("only its first %zu rows were read", m_givenRows);
      return state;
    }
    after = m_page.last;
  }
  return state;
}

LedgerState LedgerReader::ReadFiles(const TakeRow& take) {
  return ReadPages([&take](std::span<const LedgerRow> rows) {
    return std::all_of(rows.begin(), rows.end(), take);
  });
}

LedgerState LedgerReader::CountRecalls(std::size_t* count) {
  LedgerState state = LookForTable(kRecallTable);
  if (state == LedgerState::kNoTable) return LedgerState::kGood;
  std::int64_t last = kBeforeAll;
  std::size_t rows = LedgerPage::kMostRows;
  while (state == LedgerState::kGood && rows == LedgerPage::kMostRows && *count < kMostRows) {
    rows = 0;
    state = Run(util::Format(kSelectRecalls, kRecallTable, static_cast<long long>(last),
                             LedgerPage::kMostRows),
                [&](util::Statement& row) {
                  for (; row.NextRow(); ++rows) last = row.Integer64(0);
                });
    *count += rows;
  }
  return state;
}

}  // namespace status
