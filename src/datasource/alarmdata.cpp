#include "datasource/alarmdata.h"

#include <mutex>
#include <string>

#include "util/directory.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr char kSelectEvents[] =
    "select RecordDate,RecordTime,DataId,threshold, triggervalue, eventtype,grade, upflag from "
    "event_tbl";
constexpr char kMarkTaken[] = "update event_tbl set upload=1";
constexpr char kUntakenBetween[] =
    " where upload=0 and recorddate>='%d-%02d-%02d' and recorddate<='%d-%02d-%02d'";

// Longer than for other files: the acquisition side writes while we read, and events that cannot be
// marked come again. Only the alarm worker waits.
constexpr int kEventLockWaitMilliseconds = 20000;
constexpr auto kFailure = static_cast<std::uint32_t>(-1);

std::string EventFile(const std::tm& month) {
  return util::Format(paths::kEventDatabaseFormat, month.tm_year + 1900, month.tm_mon + 1);
}

// The condition by calendar date, both included; dates are compared as text.
std::string UntakenBetween(const std::tm& from, const std::tm& to) {
  return util::Format(kUntakenBetween, from.tm_year + 1900, from.tm_mon + 1, from.tm_mday,
                      to.tm_year + 1900, to.tm_mon + 1, to.tm_mday);
}

Alarm_Data_Para EventOf(const util::Statement& row) {
  std::tm when{};
  util::ReadDate(std::string(row.Text(0)).c_str(), &when);
  util::ReadClock(std::string(row.Text(1)).c_str(), &when);
  return {.time = static_cast<std::int32_t>(util::UnixTime(when)),
          .DataId = row.Integer(2),
          .threshold = row.Real(3),
          .triggervalue = row.Real(4),
          .eventtype = row.Integer(5),
          .grade = row.Integer(6),
          .upflag = row.Integer(7)};
}

}  // namespace

std::uint32_t CAlarmData::GetAlarmData(std::vector<Alarm_Data_Para>* rows) {
  const std::time_t now = std::time(nullptr);
  const auto to = util::LocalTime(now);
  const auto from = util::LocalTime(now - kAlarmReachSeconds);
  if (!to || !from) return 0;

  if (from->tm_mon != to->tm_mon && util::Exists(EventFile(*from).c_str())) {
    TakeEvents(*from, *from, *to, *rows);
  }
  if (util::Exists(EventFile(*to).c_str())) TakeEvents(*to, *from, *to, *rows);
  return 0;
}

std::uint32_t CAlarmData::GetDataFromDB(std::vector<Alarm_Data_Para>* rows, const std::tm* month,
                                        const std::tm* from, const std::tm* to) {
  return TakeEvents(*month, *from, *to, *rows) ? 0 : kFailure;
}

bool CAlarmData::TakeEvents(const std::tm& month, const std::tm& from, const std::tm& to,
                            std::vector<Alarm_Data_Para>& rows) {
  const std::string untaken = UntakenBetween(from, to);
  const std::size_t before = rows.size();
  const std::lock_guard lock(m_databaseMutex);
  util::Database database(EventFile(month).c_str());
  if (!database) return false;
  database.WaitForLocks(kEventLockWaitMilliseconds);
  {
    util::Statement events = database.Prepare(kSelectEvents + untaken);
    if (!events) return false;
    while (events.NextRow()) rows.push_back(EventOf(events));
    if (events.Failed()) {  // all of them come again: none may be sent or count as taken
      rows.resize(before);
      return false;
    }
  }
  // Marked as soon as they are read: from here on the upload ledger keeps them.
  database.Execute(kMarkTaken + untaken);
  return true;
}

std::time_t EventTime(std::int32_t field, std::time_t now) {
  const auto ahead = static_cast<std::uint32_t>(field) - static_cast<std::uint32_t>(now);
  return now + static_cast<std::int32_t>(ahead);
}

CAlarmData& GetCAlarmDataInstance() {
  static CAlarmData instance;
  return instance;
}
