// What the tests of the ledger share: its database as another program sees it, rows, data files.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "historydata/historydata.h"
#include "support/databasefile.h"
#include "support/gateway.h"

namespace test {

// A connection of the test's own to the ledger's database. The file is made when missing.
class LedgerFile : public DatabaseFile {
 public:
  LedgerFile();
};

// The pending table's rows in the order of their recording: "filename|filetype|result".
std::vector<std::string> LedgerRows();
// The recall table's rows in the order of their recording: "createtime|filename".
std::vector<std::string> RecallRows();
// Names of the tables of the ledger's database.
std::vector<std::string> Tables();
// Makes the pending table and fills it with finished rows: "'name',type,result".
void MakePendingTable(const std::vector<std::string>& rows = {});

// A row as the packers record it.
History_Data_Para Row(const std::string& filename, std::int32_t filetype = kRealDataFile,
                      std::int32_t result = 0);
// The names of rows.
std::vector<std::string> Names(const std::vector<History_Data_Para>& rows);
// The path of a data file.
std::string DataFile(const std::string& filename);
// Writes a data file.
void WriteDataFile(const std::string& filename);

// Starts on a card without a ledger, with nothing waiting in memory.
class LedgerTest : public GatewayTest {
 protected:
  void SetUp() override;
  static CHistoryData& Ledger() { return GetCHistoryDataInstance(); }
  static std::int32_t Save(const std::vector<History_Data_Para>& rows) {
    return Ledger().SaveHistoryData(&rows);
  }
  static std::int32_t List(std::vector<History_Data_Para>& rows) {
    return Ledger().GetHistoryData(&rows);
  }
};

}  // namespace test
