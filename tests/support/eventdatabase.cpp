#include "support/eventdatabase.h"

#include "util/text.h"

namespace test {
namespace {

constexpr char kCreate[] =
    "CREATE TABLE IF NOT EXISTS event_tbl("
    "Pid INTEGER PRIMARY KEY, RecordDate TEXT NOT NULL, RecordTime TEXT NOT NULL, "
    "DataId INTEGER NOT NULL, threshold REAL, triggervalue REAL, eventtype INTEGER, "
    "grade INTEGER, upflag INTEGER, upload INTEGER DEFAULT 0)";
constexpr char kInsert[] =
    "INSERT INTO event_tbl(RecordDate,RecordTime,DataId,threshold,triggervalue,eventtype,grade,"
    "upflag,upload) VALUES(";

// %.17g keeps every bit of a double.
std::string ValuesOf(const Event& event) {
  return util::Format("'%s','%s',%d,%.17g,%.17g,%d,%d,%d,%d", event.date.c_str(),
                      event.clock.c_str(), static_cast<std::int32_t>(event.dataId), event.threshold,
                      event.triggerValue, event.type, event.grade, event.upFlag, event.upload);
}

}  // namespace

std::string EventDatabasePathOf(int year, int month) {
  return util::Format("/media/mmcblk0p1/%04d%02d_event.db", year, month);
}

EventDatabase::EventDatabase(int year, int month) : DatabaseFile(EventDatabasePathOf(year, month)) {
  Run(kCreate);
}

EventDatabase& EventDatabase::Add(const Event& event) {
  return AddValues(ValuesOf(event));
}

EventDatabase& EventDatabase::AddAll(const std::vector<Event>& events) {
  Run("BEGIN");
  for (const Event& event : events) Add(event);
  Run("COMMIT");
  return *this;
}

EventDatabase& EventDatabase::AddValues(const std::string& values) {
  Run(kInsert + values + ")");
  return *this;
}

std::vector<std::string> EventDatabase::Uploads() {
  return Lines("SELECT upload FROM event_tbl ORDER BY Pid");
}

}  // namespace test
