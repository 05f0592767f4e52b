#include "acquisition/eventwriter.h"

#include <ctime>
#include <span>

#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr char kCreateEventTable[] =
    "CREATE TABLE IF NOT EXISTS event_tbl("
    "Pid INTEGER PRIMARY KEY, RecordDate TEXT NOT NULL, RecordTime TEXT NOT NULL, "
    "DataId INTEGER NOT NULL, threshold REAL, triggervalue REAL, eventtype INTEGER, "
    "grade INTEGER, upflag INTEGER, upload INTEGER DEFAULT 0)";
constexpr char kInsertEvent[] =
    "INSERT INTO event_tbl(RecordDate,RecordTime,DataId,threshold,triggervalue,eventtype,grade,"
    "upflag,upload) VALUES(?,?,?,?,?,?,?,?,0)";
constexpr char kSelectEvents[] =
    "SELECT Pid,RecordDate,RecordTime,DataId,threshold,triggervalue,eventtype,grade,upflag,upload "
    "FROM event_tbl ORDER BY Pid";

std::tm LocalTime(std::int64_t unixSeconds) {
  return util::LocalTime(static_cast<std::time_t>(unixSeconds)).value_or(std::tm{});
}

bool Insert(sqlite3* database, std::span<const AlarmEvent> events) {
  if (!util::Execute(database, kCreateEventTable)) return false;
  CardStatement insert(database, kInsertEvent);
  for (const AlarmEvent& event : events) {
    const std::tm time = LocalTime(event.time);
    if (!insert.Run({util::DateText(time), util::ClockText(time), StoredId(event.dataId),
                     event.threshold, event.triggerValue, std::int64_t{event.type},
                     std::int64_t{event.grade}, std::int64_t{event.upFlag}})) {
      return false;
    }
  }
  return true;
}

// How many events, from the front, belong into the file of the first one.
std::size_t SameMonth(std::span<const AlarmEvent> events, const std::string& path) {
  std::size_t count = 1;
  while (count < events.size() && EventDatabasePath(events[count].time) == path) ++count;
  return count;
}

EventRow RowFrom(const CardStatement& row) {
  EventRow event;
  event.id = row.Integer(0);
  event.date = row.Text(1);
  event.time = row.Text(2);
  event.dataId = static_cast<std::uint32_t>(row.Integer(3));
  event.threshold = row.Real(4);
  event.triggerValue = row.Real(5);
  event.type = static_cast<std::int32_t>(row.Integer(6));
  event.grade = static_cast<std::int32_t>(row.Integer(7));
  event.upFlag = static_cast<std::int32_t>(row.Integer(8));
  event.upload = static_cast<std::int32_t>(row.Integer(9));
  return event;
}

}  // namespace

std::string EventDatabasePath(std::int64_t unixSeconds) {
  const std::tm time = LocalTime(unixSeconds);
  return util::Format(paths::kEventDatabaseFormat, time.tm_year + 1900, time.tm_mon + 1);
}

std::size_t EventWriter::Append(const std::vector<AlarmEvent>& events) {
  m_trouble.clear();
  std::span<const AlarmEvent> rest(events);
  while (!rest.empty()) {
    const std::string path = EventDatabasePath(rest.front().time);
    const auto month = rest.first(SameMonth(rest, path));
    m_trouble =
        Record(path, m_patience, [month](sqlite3* database) { return Insert(database, month); });
    if (!m_trouble.empty()) break;
    rest = rest.subspan(month.size());
  }
  return events.size() - rest.size();
}

std::optional<std::vector<EventRow>> EventWriter::Rows(std::int64_t unixSeconds) const {
  std::vector<EventRow> rows;
  const bool read = ReadRows(EventDatabasePath(unixSeconds), m_patience, kSelectEvents,
                             [&rows](const CardStatement& row) { rows.push_back(RowFrom(row)); });
  if (!read) return std::nullopt;
  return rows;
}
