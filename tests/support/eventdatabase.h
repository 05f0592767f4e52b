// Builder of the alarm-event databases, as the acquisition side leaves them on the SD card.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/databasefile.h"

namespace test {

// One row of event_tbl, its values as they stand in the file.
struct Event {
  std::string date = "2024-03-07";    // RecordDate
  std::string clock = "11:00:00";     // RecordTime
  std::uint32_t dataId = 0x01030001;  // point identifier
  double threshold = 80;              //
  double triggerValue = 81.5;         //
  int type = 0;                       // eventtype
  int grade = 1;                      //
  int upFlag = 1;                     //
  int upload = 0;                     // 0: not yet taken, 1: taken
};

// "/media/mmcblk0p1/202403_event.db"
std::string EventDatabasePathOf(int year, int month);

// What it is for: one month's file: `EventDatabase(2024, 3).Add({.clock = "10:15:00"})`.
// Threads, Owns: see DatabaseFile.
class EventDatabase : public DatabaseFile {
 public:
  // Makes the file with its table where they are missing.
  EventDatabase(int year, int month);

  // Appends one event, or all of them in one transaction.
  EventDatabase& Add(const Event& event = {});
  EventDatabase& AddAll(const std::vector<Event>& events);
  // Appends a row of finished SQL values: date, clock, identifier, threshold, value, type, grade,
  // upflag, upload.
  EventDatabase& AddValues(const std::string& values);
  // `upload` of each row in the order of their recording.
  std::vector<std::string> Uploads();
};

}  // namespace test
