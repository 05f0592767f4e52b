// The upload ledger on the card and the data files that it lists.
#pragma once

#include <ctime>
#include <iosfwd>
#include <string>
#include <vector>

namespace test {

inline constexpr int kRealDataType = 2;
inline constexpr int kAlarmDataType = 1;

struct LedgerRow {
  std::string name;  // below the root of the data files
  int type = kRealDataType;
  int result = 0;  // 1 once the cloud has accepted the file

  bool operator==(const LedgerRow&) const = default;
};
// Shows a row in the message of a failed test.
void PrintTo(const LedgerRow& row, std::ostream* out);

// The rows, by name. Empty when there is no ledger.
std::vector<LedgerRow> ReadLedger();
// How many rows have that result.
int CountResults(int result);
// Adds rows, and makes the ledger when it is missing.
void WriteLedger(const std::vector<LedgerRow>& rows);

// "realdata/7/S20240307120500.tar.gz" of a stamp, Unix time.
std::string RealDataName(std::time_t stamp);
std::string AlarmDataName(std::time_t stamp);
// The stamp of a time, and the one in a data file's name: "20240307120500".
std::string StampOf(std::time_t when);
std::string StampOf(const std::string& name);
// The name without its directory.
std::string BaseOf(const std::string& name);
// The path on the card of a name in the ledger.
std::string DataFilePath(const std::string& name);

// Packs a real-data file of the empty plant as the service does, without a row. Returns its name.
std::string PackDataFile(std::time_t stamp);

}  // namespace test
