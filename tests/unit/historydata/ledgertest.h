// What the tests of the ledger share: its database as seen by somebody else, rows, and data files.
#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "historydata/historydata.h"
#include "support/gateway.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

struct sqlite3;

namespace test {

struct SqliteCloser {
  void operator()(sqlite3* database) const;
};

// What it is for: a connection of the test's own to the ledger's database, made when missing.
// Threads: the one that made it. Owns: the connection.
class LedgerFile {
 public:
  LedgerFile();

  // Runs statements; a failure fails the test.
  void Run(const std::string& sql);
  // The rows of a query, columns parted by "|"; a NULL is "NULL".
  std::vector<std::string> Query(const std::string& sql);

 private:
  std::unique_ptr<sqlite3, SqliteCloser> m_database;
};

// The pending table's rows in the order of their recording: "filename|filetype|result".
std::vector<std::string> LedgerRows();
// The recall table's rows in the order of their recording: "createtime|filename".
std::vector<std::string> RecallRows();
// Names of the tables of the ledger's database.
std::vector<std::string> Tables();
// The pending table, filled with finished rows: "'name',type,result".
void MakePendingTable(const std::vector<std::string>& rows = {});

// A row as the packers record it.
History_Data_Para Row(const std::string& filename, std::int32_t filetype = kRealDataFile,
                      std::int32_t result = 0);
// The name of a real-data file of that moment: "realdata/7/S20240307120000.tar.gz".
std::string RealDataName(std::time_t when);
// The path of a data file.
std::string DataFile(const std::string& filename);
// Writes a data file.
void WriteDataFile(const std::string& filename);

// While one lives, what this thread leaks is meant to be leaked.
#if defined(__SANITIZE_ADDRESS__)
using LeakAllowance = __lsan::ScopedDisabler;
#else
struct LeakAllowance {
  LeakAllowance() {}  // not defaulted: an object of it counts as used
};
#endif

// What it is for: tests of the ledger, each starting on a card without one and with nothing that an
// earlier test could not record or mark.
class LedgerTest : public GatewayTest {
 protected:
  void SetUp() override;
  static CHistoryData& Ledger() { return GetCHistoryDataInstance(); }
  static std::int32_t Save(const std::vector<History_Data_Para>& rows) {
    return Ledger().SaveHistoryData(&rows);
  }
};

}  // namespace test
