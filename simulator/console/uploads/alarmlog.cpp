#include "console/uploads/alarmlog.h"

#include <cmath>
#include <filesystem>
#include <system_error>
#include <vector>

#include "console/uploads/query.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"
#include "util/timetext.h"

namespace console {
namespace {

constexpr std::size_t kMostEvents = 5000;
constexpr std::time_t kReachSeconds = 259'200;  // the service takes events of three days
constexpr int kRowsAtOnce = 2000;               // rows in one visit
constexpr int kLongestVisitMilliseconds = 100;
constexpr int kMonthsInIndex = 100;  // 202611

int MonthOf(std::time_t time) {
  const std::tm local = util::LocalTime(time).value_or(std::tm{});
  return (local.tm_year + 1900) * kMonthsInIndex + local.tm_mon + 1;
}

std::string PathOf(int month) {
  return util::Format(paths::kEventDatabaseFormat, month / kMonthsInIndex, month % kMonthsInIndex);
}

// A number that JSON can hold.
double Finite(double value) {
  return std::isfinite(value) ? value : 0;
}

RecordedEvent EventFrom(const Query& row) {
  RecordedEvent event;
  event.timeMark = row.Text(1) + " " + row.Text(2);
  event.dataId = static_cast<std::uint32_t>(row.Integer(3));
  event.threshold = Finite(row.Real(4));
  event.trigger = Finite(row.Real(5));
  event.type = row.Integer(6);
  event.grade = row.Integer(7);
  event.upFlag = row.Integer(8);
  event.taken = row.Integer(9) != 0;
  return event;
}

std::int64_t NewestRow(sqlite3* database) {
  Query newest(database, "SELECT max(Pid) FROM event_tbl");
  return newest.Next() ? newest.Integer(0) : -1;
}

}  // namespace

void AlarmLog::Follow(std::time_t now) {
  const int before = MonthOf(now - kReachSeconds);
  if (before != MonthOf(now)) FollowMonth(before);
  FollowMonth(MonthOf(now));
  while (m_events.size() > kMostEvents) m_events.erase(m_events.begin());
}

void AlarmLog::FollowMonth(int month) {
  util::Database database = util::Database::OpenForReading(PathOf(month).c_str());
  if (!database) return;
  database.LimitTime(kLongestVisitMilliseconds);
  const std::int64_t newest = NewestRow(database.Get());
  if (newest < 0) return;  // somebody writes, or there is no table
  Month& known = m_months[month];
  if (newest < known.last) Forget(month);  // another card
  Query rows(database.Get(),
             "SELECT Pid, RecordDate, RecordTime, DataId, threshold, triggervalue, eventtype, "
             "grade, upflag, upload FROM event_tbl WHERE Pid > ?1 ORDER BY Pid LIMIT " +
                 std::to_string(kRowsAtOnce),
             {known.last});
  while (rows.Next()) {
    RecordedEvent event = EventFrom(rows);
    const std::time_t time = util::UnixTime(util::ReadTimeMark(event.timeMark.c_str()));
    known.last = rows.Integer(0);
    const EventId id{time, month, known.last};
    if (!event.taken) known.untaken[known.last] = id;
    m_events[id] = std::move(event);
  }
  if (known.untaken.empty()) return;
  Query taken(database.Get(), "SELECT Pid FROM event_tbl WHERE upload <> 0 AND Pid >= ?1",
              {known.untaken.begin()->first});
  while (taken.Next()) {
    const auto row = known.untaken.find(taken.Integer(0));
    if (row == known.untaken.end()) continue;
    if (const auto event = m_events.find(row->second); event != m_events.end()) {
      event->second.taken = true;
    }
    known.untaken.erase(row);
  }
}

void AlarmLog::Forget(int month) {
  m_months[month] = {};
  std::erase_if(m_events, [month](const auto& entry) { return entry.first.month == month; });
}

}  // namespace console
