// Builder of the demand-history database, which the acquisition side writes to the SD card.
#pragma once

#include <cstdint>
#include <ctime>

#include "support/databasefile.h"
#include "util/text.h"

namespace test {

inline constexpr char kHistoryDatabase[] = "/media/mmcblk0p1/demand_history.db";

// One row of a history table.
struct Minute {
  std::uint32_t dataId = 0x01030001;  // point identifier; its upper half chooses the table
  std::time_t time = 0;               // Unix time; whole minutes in a healthy series
  double value = 0;                   // TriggerValue
  int upload = 1;                     // 1: released
};

// The minutes of any points: `HistoryDatabase().Add({.time = noon, .value = 1.5})`.
class HistoryDatabase : public DatabaseFile {
 public:
  // Creates the file if it is missing.
  HistoryDatabase() : DatabaseFile(kHistoryDatabase) {}

  // Appends a row; creates its device's table if it is missing: "history_0103_tbl".
  HistoryDatabase& Add(const Minute& minute) {
    Table(minute.dataId);
    Insert(minute);
    return *this;
  }
  // Appends a released row for every minute from `first` to `last`, both included, valued 0, 1, 2…
  HistoryDatabase& Series(std::uint32_t dataId, std::time_t first, std::time_t last) {
    Table(dataId);
    Run("BEGIN");
    double value = 0;
    for (auto time = first; time <= last; time += 60) Insert({dataId, time, value++});
    Run("COMMIT");
    return *this;
  }
  HistoryDatabase& Table(std::uint32_t dataId) {
    Run(
        util::Format("CREATE TABLE IF NOT EXISTS history_%04x_tbl("
                     "Pid INTEGER PRIMARY KEY, dataid INTEGER NOT NULL, UnixTime INTEGER NOT NULL, "
                     "TriggerValue REAL, Upload INTEGER DEFAULT 1)",
                     dataId >> 16));
    return *this;
  }

 private:
  // %.17g keeps every bit of a double.
  void Insert(const Minute& minute) {
    Run(
        util::Format("INSERT INTO history_%04x_tbl(dataid,UnixTime,TriggerValue,Upload) "
                     "VALUES(%d,%lld,%.17g,%d)",
                     minute.dataId >> 16, static_cast<std::int32_t>(minute.dataId),
                     static_cast<long long>(minute.time), minute.value, minute.upload));
  }
};

}  // namespace test
