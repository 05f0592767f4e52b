#include "collect/ledgerreader.h"

#include <unistd.h>

#include <chrono>
#include <limits>
#include <span>

#include "collect/keepowners.h"
#include "historydata/ledgerfile.h"
#include "util/paths.h"
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
// No name, and one value that is read of each row; 0 asks for a closer look.
constexpr char kSumUpFiles[] =
    "select case when result=0 then 0 else filetype end,rowid from %s where rowid>%lld order by "
    "rowid limit %zu";
// The name of the index is SQLite's own for the key of a table; without it the statement fails
// rather than read the whole table for each day.
constexpr char kSelectLast[] =
    "with recursive day(n) as (select 1 union all select n+1 from day where n<31),"
    "folder(p) as (select '%s/'||n||'/%c' from day) "
    "select t.filename from folder cross join %s t on t.rowid="
    "(select s.rowid from %s s indexed by sqlite_autoindex_%s_1 where s.filename>=p and "
    "s.filename<p||':' and s.filetype=%d and (s.result=0) is not 1 order by s.filename desc limit "
    "1)";
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

LedgerState LedgerReader::RunOnce(const std::string& sql, const TakeResult& take) {
  using std::chrono::steady_clock;
  const auto begin = steady_clock::now();
  m_database.LimitTime(m_millisecondsLeft);
  LedgerState state = LedgerState::kGood;
  if (util::Statement rows = m_database.Prepare(sql); !rows) {
    state = Failed(m_database.WhyFailed(), false);
  } else {
    take(rows);
    if (rows.Failed()) state = Failed(rows.WhyFailed(), true);
  }
  const auto taken =
      std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
  m_millisecondsLeft -= static_cast<int>(taken.count());
  return state;
}

// A lock is met before the first row, so no row comes twice. The moment in which the service begins
// a write can look like an unfinished one.
LedgerState LedgerReader::Run(const std::string& sql, const TakeResult& take) {
  const std::string said = m_detail;
  while (true) {
    const LedgerState state = RunOnce(sql, take);
    if (state == LedgerState::kGood) m_detail = said;
    if (state != LedgerState::kBusy && state != LedgerState::kUnfinished) return state;
    if (--m_triesLeft <= 0) return state;
    if (state == LedgerState::kUnfinished) usleep(kPauseMicroseconds);
  }
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

// The page's rows are used again for the next page: their names need no new memory.
LedgerState LedgerReader::ReadPage(std::int64_t after, Page* page) {
  page->size = 0;
  page->last = after;
  return Run(util::Format(kSelectFiles, kPendingTable, static_cast<long long>(after), kPageRows),
             [page](util::Statement& row) {
               while (row.NextRow()) {
                 LedgerRow& read = page->rows[page->size++];
                 page->last = row.Integer64(0);
                 read.name = row.Text(1).substr(0, kNameBytes);
                 read.type = row.Integer(2);
                 read.accepted = row.Integer(3) == 0;
               }
             });
}

// A page with a row that needs a closer look, or that cannot be read, has no sums.
LedgerState LedgerReader::SumUpPage(std::int64_t after, Page* page, Sums* sums) {
  std::size_t rows = 0;
  bool isSummedUp = true;
  *sums = {};
  const LedgerState state =
      Run(util::Format(kSumUpFiles, kPendingTable, static_cast<long long>(after), kPageRows),
          [&](util::Statement& row) {
            while (isSummedUp && row.NextRow()) {
              const int type = row.Integer(0);
              isSummedUp = type != 0;
              if (type == kRealDataFile) ++sums->realData;
              if (type == kAlarmDataFile) ++sums->alarmData;
              if (++rows == kPageRows) page->last = row.Integer64(1);
            }
          });
  const bool isUsable = state == LedgerState::kGood && isSummedUp;
  sums->all = isUsable ? rows : 0;
  page->size = sums->all;
  return state;
}

LedgerState LedgerReader::ReadFiles(const TakeRow& take) {
  return GivePages({}, take);
}

LedgerState LedgerReader::SumUpFiles(const TakeSums& count, const TakeRow& take) {
  return GivePages(count, take);
}

LedgerState LedgerReader::GivePages(const TakeSums& count, const TakeRow& take) {
  LedgerState state = LookForTable(kPendingTable);
  Page page{.rows = std::vector<LedgerRow>(kPageRows), .size = kPageRows, .last = kBeforeAll};
  while (state == LedgerState::kGood && page.size == kPageRows) {
    const std::int64_t before = page.last;
    Sums sums;
    if (count) state = SumUpPage(before, &page, &sums);
    if (sums.all > 0) {
      count(sums);
      m_givenRows += sums.all;
      if (sums.all == kPageRows && page.last <= before) return LedgerState::kDamaged;
      if (m_givenRows >= kMostRows) {
        m_detail = util::Format("only its first %zu rows were read", m_givenRows);
        return state;
      }
      continue;
    }
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

LedgerState LedgerReader::ReadLastAccepted(int type, const TakeRow& take) {
  const bool isReal = type == kRealDataFile;
  const std::string folder(util::BaseName(isReal ? paths::kRealData : paths::kAlarmData));
  std::vector<LedgerRow> found;
  const LedgerState state =
      Run(util::Format(kSelectLast, folder.c_str(), isReal ? 'S' : 'T', kPendingTable,
                       kPendingTable, kPendingTable, type),
          [&](util::Statement& row) {
            while (row.NextRow()) {
              found.push_back({.name = std::string(row.Text(0).substr(0, kNameBytes)),
                               .type = type,
                               .accepted = true,
                               .stamp = {}});
            }
          });
  for (LedgerRow& row : found) {
    row.stamp = m_stamps.Of(row.name);
    if (!take(row)) break;
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
                [&](util::Statement& row) {
                  for (; row.NextRow(); ++rows) last = row.Integer64(0);
                });
    *count += rows;
  }
  return state;
}

}  // namespace status
