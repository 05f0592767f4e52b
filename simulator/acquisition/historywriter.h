// Owns the writing of the demand-history database on the SD card: the value of every point at every
// minute, in one table for each device.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "acquisition/carddatabase.h"

inline constexpr std::int64_t kMinuteSeconds = 60;

// One row of a history table.
struct HistoryRow {
  std::uint32_t dataId = 0;   // point identifier; its upper half chooses the table
  std::int64_t unixTime = 0;  // Unix seconds; whole minutes in a healthy series
  double triggerValue = 0;    // in the point's engineering unit
  std::int32_t upload = 1;    // 1: the value may be handed out

  bool operator==(const HistoryRow&) const = default;
};

// The rows of the points for every whole minute from Unix time `first` to `last`, both included, in
// the order of time, with the values of signals.h.
std::vector<HistoryRow> HistoryRows(const std::vector<std::uint32_t>& dataIds, std::int64_t first,
                                    std::int64_t last);

// The database, and the name of a point's table in it: "history_0103_tbl".
std::string HistoryDatabasePath();
std::string HistoryTable(std::uint32_t dataId);

// Records minute values, and makes the file and its tables when they are missing:
// `HistoryWriter().Append(HistoryRows({0x01030001}, from, to))`. One thread at a time may call it.
// The file does not stay open between two calls.
class HistoryWriter {
 public:
  // Each transaction waits up to `patience` for the locks of other programs.
  explicit HistoryWriter(std::chrono::milliseconds patience = kLockPatience)
      : m_patience(patience) {}

  // Records the rows in their order, in one transaction. False when that fails: then none of them
  // is recorded, and Trouble says why.
  bool Append(const std::vector<HistoryRow>& rows);
  // The same, but leaves out a row when its point had a row at that time before the call.
  bool AppendMissing(const std::vector<HistoryRow>& rows);

  // Why the latest append has recorded nothing; empty when it has recorded everything.
  const std::string& Trouble() const { return m_trouble; }

  // All rows of a point in the order of time, rows of one time in the order of recording. Nothing
  // when there is no file or no table, or when locks last longer than the patience.
  std::optional<std::vector<HistoryRow>> Rows(std::uint32_t dataId) const;

 private:
  std::chrono::milliseconds m_patience;
  std::string m_trouble;
};
