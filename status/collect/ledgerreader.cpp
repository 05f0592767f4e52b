#include "collect/ledgerreader.h"

#include <unistd.h>

#include <chrono>
#include <limits>
#include <span>

#include "collect/keepowners.h"
#include "historydata/ledgerfile.h"
#include "util/text.h"

namespace status {
namespace {

constexpr std::size_t kPageRows = 1000;
constexpr std::size_t kMostRows = 2'000'000;
constexpr std::size_t kNameBytes = 127;

constexpr int kTries = 10;
constexpr int kLockMilliseconds = 100;  // of one try
constexpr int kPauseMicroseconds = 20'000;
constexpr int kAllMilliseconds = 5000;

constexpr std::int64_t kBeforeAll = std::numeric_limits<std::int64_t>::min();

// A virtual table has no root page.
constexpr char kCountTable[] =
    "select count(*) from sqlite_master where tbl_name='%s' and type='table' and rootpage>0";
// A pending row is what the service's own query finds: its result equals 0.
constexpr char kSelectFiles[] =
    "select rowid,filename,filetype,result=0 from %s where rowid>%lld order by rowid limit %zu";
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

LedgerState LedgerReader::RunOnce(const std::string& sql, const EachResult& each) {
  using std::chrono::steady_clock;
  const auto begin = steady_clock::now();
  m_database.LimitTime(m_millisecondsLeft);
  LedgerState state = LedgerState::kGood;
  if (util::Statement rows = m_database.Prepare(sql); !rows) {
    state = Failed(m_database.WhyFailed(), false);
  } else {
    while (rows.NextRow()) each(rows);
    if (rows.Failed()) state = Failed(rows.WhyFailed(), true);
  }
  const auto taken =
      std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
  m_millisecondsLeft -= static_cast<int>(taken.count());
  return state;
}

// A lock is met before the first row, so no row comes twice. The moment in which the service begins
// a write can look like an unfinished one.
LedgerState LedgerReader::Run(const std::string& sql, const EachResult& each) {
  const std::string said = m_detail;
  while (true) {
    const LedgerState state = RunOnce(sql, each);
    if (state == LedgerState::kGood) m_detail = said;
    if (state != LedgerState::kBusy && state != LedgerState::kUnfinished) return state;
    if (--m_triesLeft <= 0) return state;
    if (state == LedgerState::kUnfinished) usleep(kPauseMicroseconds);
  }
}

LedgerState LedgerReader::LookForTable(const char* table) {
  if (!m_database) return Failed(m_database.WhyFailed(), false);
  bool isThere = false;
  const LedgerState state =
      Run(util::Format(kCountTable, table),
          [&isThere](const util::Statement& row) { isThere = row.Integer(0) > 0; });
  if (state != LedgerState::kGood) return state;
  return isThere ? LedgerState::kGood : LedgerState::kNoTable;
}

// The page's rows are used again for the next page: their names need no new memory.
LedgerState LedgerReader::ReadPage(std::int64_t after, Page* page) {
  page->size = 0;
  page->last = after;
  return Run(util::Format(kSelectFiles, kPendingTable, static_cast<long long>(after), kPageRows),
             [page](const util::Statement& row) {
               LedgerRow& read = page->rows[page->size++];
               page->last = row.Integer64(0);
               read.name = row.Text(1).substr(0, kNameBytes);
               read.type = row.Integer(2);
               read.accepted = row.Integer(3) == 0;
             });
}

LedgerState LedgerReader::ReadFiles(const TakeRow& take) {
  LedgerState state = LookForTable(kPendingTable);
  Page page{.rows = std::vector<LedgerRow>(kPageRows), .size = kPageRows, .last = kBeforeAll};
  while (state == LedgerState::kGood && page.size == kPageRows) {
    const std::int64_t before = page.last;
    state = ReadPage(before, &page);
    m_givenRows += page.size;
    for (LedgerRow& row : std::span(page.rows.data(), page.size)) {
      row.stamp = m_stamps.Of(row.name);
      if (!take(row)) return state;
    }
    // A "rowid" that does not rise is a column like any other.
    if (page.size > 0 && page.last <= before) return LedgerState::kDamaged;
    if (m_givenRows >= kMostRows) {
      m_detail = util::Format("only its first %zu rows were read", m_givenRows);
      return state;
    }
  }
  return state;
}

LedgerState LedgerReader::CountRecalls(std::size_t* count) {
  LedgerState state = LookForTable(kRecallTable);
  if (state == LedgerState::kNoTable) return LedgerState::kGood;
  std::int64_t last = kBeforeAll;
  std::size_t rows = kPageRows;
  while (state == LedgerState::kGood && rows == kPageRows && *count < kMostRows) {
    rows = 0;
    state = Run(util::Format(kSelectRecalls, kRecallTable, static_cast<long long>(last), kPageRows),
                [&](const util::Statement& row) {
                  last = row.Integer64(0);
                  ++rows;
                });
    *count += rows;
  }
  return state;
}

}  // namespace status
