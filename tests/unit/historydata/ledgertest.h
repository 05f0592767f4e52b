// What the tests of the ledger share: its database as another program sees it, rows, data files.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "historydata/historydata.h"
#include "support/databasefile.h"
#include "support/files.h"
#include "support/gateway.h"
#include "util/paths.h"
#include "util/text.h"

namespace test {

// The name of a file of live values, and its row while it waits.
inline constexpr char kFirst[] = "realdata/7/S20240307115500.tar.gz";
inline constexpr char kFirstRow[] = "realdata/7/S20240307115500.tar.gz|2|0";

using Rows = std::vector<History_Data_Para>;

// A row as the packers record it.
inline History_Data_Para Row(const std::string& filename, std::int32_t filetype = kRealDataFile,
                             std::int32_t result = 0) {
  History_Data_Para row{};
  row.filetype = filetype;
  row.result = result;
  util::CopyText(row.filename, filename);
  return row;
}

inline std::string DataFile(const std::string& filename) {
  return std::string(paths::kDataFiles) + "/" + filename;
}

inline void WriteDataFile(const std::string& filename) {
  WriteFile(DataFile(filename), "archive");
}

// Starts on a card without a ledger, with nothing waiting in memory.
class LedgerTest : public GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    Save({});
    List();
    GatewayTest::SetUp();
  }
  static CHistoryData& Ledger() { return GetCHistoryDataInstance(); }
  static std::int32_t Save(const Rows& rows) { return Ledger().SaveHistoryData(&rows); }
  static std::int32_t List(Rows& rows) { return Ledger().GetHistoryData(&rows); }
  static std::int32_t List() {
    Rows rows;
    return List(rows);
  }
};

// A connection of the test's own to the ledger's database. The file is made when missing.
class LedgerFile : public DatabaseFile {
 public:
  LedgerFile() : DatabaseFile((MakeDirectory(), paths::kLedger)) {}

 private:
  static void MakeDirectory() { GetCHistoryDataInstance().Mkdirs(paths::kLedgerDirectory); }
};

// The pending table's rows in the order of their recording: "filename|filetype|result".
inline std::vector<std::string> LedgerRows() {
  return LedgerFile().Lines(
      "select filename||'|'||filetype||'|'||result from tJsonFileNames order by rowid");
}

// The recall table's rows in the order of their recording: "createtime|filename".
inline std::vector<std::string> RecallRows() {
  return LedgerFile().Lines("select createtime||'|'||filename from recallJsonFile order by rowid");
}

inline std::vector<std::string> Tables() {
  return LedgerFile().Lines("select name from sqlite_master where type='table' order by name");
}

// Makes the pending table and fills it with finished rows: "'name',type,result".
inline void MakePendingTable(const std::vector<std::string>& rows = {}) {
  LedgerFile file;
  GetCHistoryDataInstance().CreateTable();
  std::string inserts = "begin;";
  for (const auto& row : rows) {
    inserts += "insert into tJsonFileNames(filename, filetype, result) values(" + row + ");";
  }
  file.Run(inserts + "commit");
}

}  // namespace test
