// Builder of the alarm-event databases, which the acquisition side writes to the SD card.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/databasefile.h"
#include "util/text.h"

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
inline std::string EventDatabasePathOf(int year, int month) {
  return util::Format("/media/mmcblk0p1/%04d%02d_event.db", year, month);
}

// The file of one month: `EventDatabase(2024, 3).Add({.clock = "10:15:00"})`.
class EventDatabase : public DatabaseFile {
 public:
  // Creates the file and its table if they are missing.
  EventDatabase(int year, int month) : DatabaseFile(EventDatabasePathOf(year, month)) {
    Run("CREATE TABLE IF NOT EXISTS event_tbl("
        "Pid INTEGER PRIMARY KEY, RecordDate TEXT NOT NULL, RecordTime TEXT NOT NULL, "
        "DataId INTEGER NOT NULL, threshold REAL, triggervalue REAL, eventtype INTEGER, "
        "grade INTEGER, upflag INTEGER, upload INTEGER DEFAULT 0)");
  }

  // Appends one event, or all of them in one transaction. %.17g keeps every bit of a double.
  EventDatabase& Add(const Event& event = {}) {
    Run(util::Format(
        "INSERT INTO event_tbl(RecordDate,RecordTime,DataId,threshold,triggervalue,"
        "eventtype,grade,upflag,upload) VALUES('%s','%s',%d,%.17g,%.17g,%d,%d,%d,%d)",
        event.date.c_str(), event.clock.c_str(), static_cast<std::int32_t>(event.dataId),
        event.threshold, event.triggerValue, event.type, event.grade, event.upFlag, event.upload));
    return *this;
  }
  EventDatabase& AddAll(const std::vector<Event>& events) {
    Run("BEGIN");
    for (const Event& event : events) Add(event);
    Run("COMMIT");
    return *this;
  }
  // `upload` of each row, in the order of recording.
  std::vector<std::string> Uploads() { return Lines("SELECT upload FROM event_tbl ORDER BY Pid"); }
};

}  // namespace test
