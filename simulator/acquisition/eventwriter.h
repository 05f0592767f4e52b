// Owns the writing of the monthly alarm-event databases on the SD card.
//
// There is one file for each month of local time, with one table event_tbl and one row for each
// event. The program that takes the events sets `upload` to 1 in the rows that it has read.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "acquisition/carddatabase.h"

enum EventType : std::int32_t {
  kAboveLimit = 0,  // of the upper limit; also every event of a DI point
  kBelowLimit = 1,  // of the lower limit
};

// One alarm event, before it is written.
struct AlarmEvent {
  std::int64_t time = 0;            // Unix seconds; recorded as local date and time
  std::uint32_t dataId = 0;         // point identifier
  double threshold = 0;             // the limit, in the point's engineering unit
  double triggerValue = 0;          // the value that raised or cleared the alarm, same unit
  std::int32_t type = kAboveLimit;  // see EventType; other numbers are written as they are
  std::int32_t grade = 1;           // 1 is the gravest
  std::int32_t upFlag = 1;          // 1 raised, 0 cleared; other numbers as they are

  bool operator==(const AlarmEvent&) const = default;
};

// One row of event_tbl, as it stands in the file.
struct EventRow {
  std::int64_t id = 0;       // of the row: rises from 1 on
  std::string date;          // RecordDate, "YYYY-MM-DD"
  std::string time;          // RecordTime, "hh:mm:ss"
  std::uint32_t dataId = 0;  // point identifier
  double threshold = 0;      // the limit
  double triggerValue = 0;   // the value that raised or cleared the alarm
  std::int32_t type = 0;     // eventtype
  std::int32_t grade = 0;    // 1 is the gravest
  std::int32_t upFlag = 0;   // 1 raised, 0 cleared
  std::int32_t upload = 0;   // 0 not yet taken, 1 taken
};

// The file of the month that a Unix time falls into, in local time:
// "/media/mmcblk0p1/202403_event.db".
std::string EventDatabasePath(std::int64_t unixSeconds);

// Records events, each in the file of its own month, and makes missing files and tables:
// `EventWriter().Append({{.time = now, .dataId = 0x01031123, .threshold = 1, .triggerValue = 1}})`.
// One thread at a time may call it. No file stays open between two calls.
class EventWriter {
 public:
  // Each transaction waits up to `patience` for the locks of other programs.
  explicit EventWriter(std::chrono::milliseconds patience = kLockPatience) : m_patience(patience) {}

  // Records the events in their order, with `upload` 0. Events of one month that follow each other
  // make one transaction. Returns how many have been recorded, from the front. The others are in no
  // file, and Trouble says why; append them again.
  std::size_t Append(const std::vector<AlarmEvent>& events);

  // Why the latest Append has not recorded everything; empty when it has.
  const std::string& Trouble() const { return m_trouble; }

  // All rows of the month that a Unix time falls into, in the order of recording. Nothing when
  // there is no file, or when locks last longer than the patience.
  std::optional<std::vector<EventRow>> Rows(std::int64_t unixSeconds) const;

 private:
  std::chrono::milliseconds m_patience;
  std::string m_trouble;
};
