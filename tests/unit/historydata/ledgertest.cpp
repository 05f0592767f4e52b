#include "ledgertest.h"

#include "support/files.h"
#include "util/paths.h"
#include "util/text.h"

namespace test {
namespace {

const char* MakeLedgerDirectory() {
  GetCHistoryDataInstance().Mkdirs(paths::kLedgerDirectory);
  return paths::kLedger;
}

}  // namespace

LedgerFile::LedgerFile() : DatabaseFile(MakeLedgerDirectory()) {}

std::vector<std::string> LedgerRows() {
  return LedgerFile().Lines(
      "select filename||'|'||filetype||'|'||result from tJsonFileNames order by rowid");
}

std::vector<std::string> RecallRows() {
  return LedgerFile().Lines("select createtime||'|'||filename from recallJsonFile order by rowid");
}

std::vector<std::string> Tables() {
  return LedgerFile().Lines("select name from sqlite_master where type='table' order by name");
}

void MakePendingTable(const std::vector<std::string>& rows) {
  LedgerFile file;
  GetCHistoryDataInstance().CreateTable();
  std::string inserts = "begin;";
  for (const auto& row : rows) {
    inserts += "insert into tJsonFileNames(filename, filetype, result) values(" + row + ");";
  }
  file.Run(inserts + "commit");
}

History_Data_Para Row(const std::string& filename, std::int32_t filetype, std::int32_t result) {
  History_Data_Para row{};
  row.filetype = filetype;
  row.result = result;
  util::CopyText(row.filename, filename);
  return row;
}

std::vector<std::string> Names(const std::vector<History_Data_Para>& rows) {
  std::vector<std::string> names;
  for (const auto& row : rows) names.emplace_back(row.filename);
  return names;
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
  List(rows);
  GatewayTest::SetUp();
}

}  // namespace test
