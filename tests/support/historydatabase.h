// Builder of the demand-history database, which the acquisition side writes to the SD card.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "support/databasefile.h"

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
  HistoryDatabase();

  // Creates the table of the point's device if it is missing: "history_0103_tbl".
  HistoryDatabase& Table(std::uint32_t dataId);
  // Appends a row; creates its table if it is missing.
  HistoryDatabase& Add(const Minute& minute);
  // Appends a released row for every minute from `first` to `last`, both included, valued 0, 1, 2…
  HistoryDatabase& Series(std::uint32_t dataId, std::time_t first, std::time_t last);
  // Appends a row of finished SQL values to the device's table: identifier, time, value, Upload.
  HistoryDatabase& AddValues(std::uint32_t device, const std::string& values);
};

}  // namespace test
