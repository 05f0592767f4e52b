#include <unistd.h>

#include <filesystem>

#include "historydata/ledgerfile.h"
#include "ledger.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr std::time_t kSecondsBetweenFiles = 20;  // 100,000 files are younger than 31 days
constexpr char kDurable[] = "PRAGMA journal_mode=PERSIST;PRAGMA cache_size=-256";
constexpr char kInsert[] = "insert into tJsonFileNames(filetype, filename, result) values(?,?,?)";
constexpr char kMark[] = "update tJsonFileNames set result=1 where result=0 and filename=?";

// Opened as the service opens it.
class OpenedLedger : public BareDatabase {
 public:
  explicit OpenedLedger(const char* pragmas) : BareDatabase(paths::kLedger) {
    sqlite3_busy_timeout(Get(), util::kLockWaitMilliseconds);
    Run(pragmas);
  }
};

BareStatement& BindRow(BareStatement& insert, const History_Data_Para& row) {
  return insert.Bind(1, row.filetype).Bind(2, row.filename).Bind(3, row.result);
}

void RunOnce(const BareDatabase& database, const char* sql) {
  BareStatement(database, sql).Run();
}

void InsertRow(const BareDatabase& database, const History_Data_Para& row) {
  BareStatement insert(database, kInsert);
  BindRow(insert, row).Run();
}

// A ledger that is copied for each benchmark.
std::string TemplateOf(std::size_t rows, std::time_t newest) {
  std::string path = util::Format("/tmp/ledger-%zu.db", rows);
  if (std::filesystem::exists(path)) return path;
  util::Database(path.c_str()).Execute(CreatePendingStatement());
  BareDatabase database(path.c_str());
  BareStatement insert(database, kInsert);
  database.Run("BEGIN");
  for (std::size_t i = rows; i-- > 0;) {
    const auto row = PendingRow(newest - static_cast<std::time_t>(i) * kSecondsBetweenFiles);
    BindRow(insert, row).Run();
  }
  database.Run("COMMIT");
  return path;
}

std::time_t StartTime() {
  static const std::time_t start = std::time(nullptr);
  return start;
}

const char* PlaceTemplate(const std::string& path) {
  std::filesystem::remove_all(paths::kCloudTree);
  std::filesystem::create_directories(paths::kLedgerDirectory);
  std::filesystem::create_directories(paths::kDataFiles);
  std::filesystem::copy_file(path, paths::kLedger);
  return paths::kLedger;
}

}  // namespace

std::string DataFileName(std::time_t when) {
  const auto local = util::LocalTime(when).value_or(std::tm{});
  return util::Format("realdata/%d/S%s.tar.gz", local.tm_mday, util::Stamp(local).c_str());
}

History_Data_Para PendingRow(std::time_t when) {
  History_Data_Para row{};
  row.filetype = kRealDataFile;
  util::CopyText(row.filename, DataFileName(when));
  return row;
}

FilledLedger::FilledLedger(std::size_t rows)
    : m_newest(StartTime()),
      m_rows(rows),
      m_database(PlaceTemplate(TemplateOf(rows, StartTime()))) {
  m_database.Run(kDurable);
}

std::time_t FilledLedger::At(std::size_t place) const {
  return m_newest - static_cast<std::time_t>(place % m_rows) * kSecondsBetweenFiles;
}

void FilledLedger::Insert(std::time_t when) {
  InsertRow(m_database, PendingRow(when));
}

void FilledLedger::Remove(std::time_t when) {
  BareStatement(m_database, "delete from tJsonFileNames where filename=?")
      .Bind(1, DataFileName(when))
      .Run();
}

void FilledLedger::MarkPending(std::time_t when) {
  BareStatement(m_database, "update tJsonFileNames set result=0 where filename=?")
      .Bind(1, DataFileName(when))
      .Run();
}

void InsertBare(const History_Data_Para& row) {
  const OpenedLedger ledger(kDurable);
  RunOnce(ledger, "BEGIN");
  InsertRow(ledger, row);
  RunOnce(ledger, "COMMIT");
}

void SaveBare(const History_Data_Para& row, const std::string& cutOff) {
  const OpenedLedger ledger(kDurable);
  RunOnce(ledger, "BEGIN");
  InsertRow(ledger, row);
  std::vector<std::string> names;
  {
    BareStatement aged(ledger,
                       "select filename from tJsonFileNames where "
                       "substr(filename,length(filename)-20, 14) <= ?");
    aged.Bind(1, cutOff);
    while (aged.Next()) names.emplace_back(aged.Text(0));
  }
  if (!names.empty()) {
    BareStatement(ledger,
                  "delete from tJsonFileNames where substr(filename,length(filename)-20, 14) <= ?")
        .Bind(1, cutOff)
        .Run();
  }
  RunOnce(ledger, "COMMIT");
  for (const auto& name : names) unlink((std::string(paths::kDataFiles) + "/" + name).c_str());
}

void PickBare(std::vector<History_Data_Para>& rows) {
  constexpr std::size_t kMostRows = 20;
  const OpenedLedger ledger("PRAGMA cache_size=-256");
  BareStatement pending(ledger,
                        "select filetype, filename, result from tJsonFileNames where result=0 "
                        "order by substr(filename,length(filename)-20, 14) desc limit 20");
  rows.reserve(kMostRows);
  while (pending.Next()) {
    auto& row = rows.emplace_back();
    row.filetype = pending.Integer(0);
    util::CopyText(row.filename, pending.Text(1));
    row.result = pending.Integer(2);
  }
}

void MarkBare(const std::string& name) {
  const OpenedLedger ledger(kDurable);
  RunOnce(ledger, "BEGIN");
  BareStatement(ledger, kMark).Bind(1, name).Run();
  RunOnce(ledger, "COMMIT");
}

KeptLedger::KeptLedger()
    : m_database(paths::kLedger),
      m_begin(m_database, "BEGIN"),
      m_commit(m_database, "COMMIT"),
      m_insert(m_database, kInsert),
      m_mark(m_database, kMark) {
  m_database.Run(kDurable);
}

void KeptLedger::Insert(const History_Data_Para& row) {
  InTransaction(BindRow(m_insert, row));
}

void KeptLedger::Mark(const std::string& name) {
  InTransaction(m_mark.Bind(1, name));
}

void KeptLedger::InTransaction(BareStatement& statement) {
  m_begin.Run();
  statement.Run();
  m_commit.Run();
}
