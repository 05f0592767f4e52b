// Builder of the alarm-event databases, which the acquisition side writes to the SD card.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/databasefile.h"

namespace test {

// One row of event_tbl.
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

// The file of one month: `EventDatabase(2024, 3).Add({.clock = "10:15:00"})`.
class EventDatabase : public DatabaseFile {
 public:
  // Creates the file and its table if they are missing.
  EventDatabase(int year, int month);

  // Appends one event, or all of them in one transaction.
  EventDatabase& Add(const Event& event = {});
  EventDatabase& AddAll(const std::vector<Event>& events);
  // Appends a row of finished SQL values: date, clock, identifier, threshold, value, type, grade,
  // upflag, upload.
  EventDatabase& AddValues(const std::string& values);
  // `upload` of each row, in the order of recording.
  std::vector<std::string> Uploads();
};

}  // namespace test
