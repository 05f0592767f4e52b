#include "ledgertest.h"

#include <sqlite3.h>

#include "support/files.h"
#include "util/paths.h"
#include "util/text.h"

namespace test {
namespace {

constexpr int kLockWaitMilliseconds = 20000;  // a deadline for a broken test

int AppendRow(void* rows, int columns, char** texts, char** /*names*/) {
  std::string row;
  for (int i = 0; i < columns; ++i) {
    if (i > 0) row += '|';
    row += texts[i] == nullptr ? "NULL" : texts[i];
  }
  static_cast<std::vector<std::string>*>(rows)->push_back(row);
  return 0;
}

}  // namespace

void SqliteCloser::operator()(sqlite3* database) const {
  sqlite3_close(database);
}

LedgerFile::LedgerFile() {
  GetCHistoryDataInstance().Mkdirs(paths::kLedgerDirectory);
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open(paths::kLedger, &database), SQLITE_OK);
  m_database.reset(database);
  sqlite3_busy_timeout(database, kLockWaitMilliseconds);
}

void LedgerFile::Run(const std::string& sql) {
  const int result = sqlite3_exec(m_database.get(), sql.c_str(), nullptr, nullptr, nullptr);
  EXPECT_EQ(result, SQLITE_OK) << sql << ": " << sqlite3_errmsg(m_database.get());
}

std::vector<std::string> LedgerFile::Query(const std::string& sql) {
  std::vector<std::string> rows;
  const int result = sqlite3_exec(m_database.get(), sql.c_str(), AppendRow, &rows, nullptr);
  EXPECT_EQ(result, SQLITE_OK) << sql << ": " << sqlite3_errmsg(m_database.get());
  return rows;
}

std::vector<std::string> LedgerRows() {
  return LedgerFile().Query("select filename, filetype, result from tJsonFileNames order by rowid");
}

std::vector<std::string> RecallRows() {
  return LedgerFile().Query("select createtime, filename from recallJsonFile order by rowid");
}

std::vector<std::string> Tables() {
  return LedgerFile().Query("select name from sqlite_master where type='table' order by name");
}

void MakePendingTable(const std::vector<std::string>& rows) {
  LedgerFile file;
  GetCHistoryDataInstance().CreateTable();
  file.Run("begin");
  for (const auto& row : rows) {
    file.Run("insert into tJsonFileNames(filename, filetype, result) values(" + row + ")");
  }
  file.Run("commit");
}

History_Data_Para Row(const std::string& filename, std::int32_t filetype, std::int32_t result) {
  History_Data_Para row{};
  row.filetype = filetype;
  row.result = result;
  util::CopyText(row.filename, filename);
  return row;
}

std::string RealDataName(std::time_t when) {
  std::tm time{};
  localtime_r(&when, &time);
  char name[64] = "";
  strftime(name, sizeof(name), "/S%Y%m%d%H%M%S.tar.gz", &time);
  return "realdata/" + std::to_string(time.tm_mday) + name;
}

std::string DataFile(const std::string& filename) {
  return std::string(paths::kDataFiles) + "/" + filename;
}

void WriteDataFile(const std::string& filename) {
  WriteFile(DataFile(filename), "archive");
}

void LedgerTest::SetUp() {
  GatewayTest::SetUp();
  std::vector<History_Data_Para> rows;
  Save({});
  Ledger().GetHistoryData(&rows);
  GatewayTest::SetUp();
}

}  // namespace test
