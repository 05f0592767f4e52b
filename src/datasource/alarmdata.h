// The alarm events that the gateway's acquisition side has recorded and the cloud has not seen yet.
//
// One SQLite file a month, "/media/mmcblk0p1/YYYYMM_event.db", made and written by the acquisition
// side; table event_tbl, as far as it is used here:
//   RecordDate    text     YYYY-MM-DD, zero-padded: it is compared as text
//   RecordTime    text     hh:mm:ss, local time
//   DataId        integer  point identifier
//   threshold     real     the limit that was passed
//   triggervalue  real     the value that passed it
//   eventtype     integer  kind of event
//   grade         integer  alarm grade
//   upflag        integer  passed through to the cloud
//   upload        integer  0: not yet taken, 1: taken by this service
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

#include "util/mutex.h"

#pragma pack(push, 1)
// One alarm event.
struct Alarm_Data_Para {
  std::int32_t time;       // Unix time, seconds; wraps in 2038, see EventTime
  std::int32_t DataId;     // point identifier, see ComposeDataId
  double threshold;        // the limit that was passed
  double triggervalue;     // the value that passed it
  std::int32_t eventtype;  // kind of event
  std::int32_t grade;      // alarm grade
  std::int32_t upflag;     // passed through to the cloud
};
#pragma pack(pop)
static_assert(sizeof(Alarm_Data_Para) == 36);
static_assert(offsetof(Alarm_Data_Para, DataId) == 4);
static_assert(offsetof(Alarm_Data_Para, threshold) == 8);
static_assert(offsetof(Alarm_Data_Para, triggervalue) == 16);
static_assert(offsetof(Alarm_Data_Para, eventtype) == 24);
static_assert(offsetof(Alarm_Data_Para, grade) == 28);
static_assert(offsetof(Alarm_Data_Para, upflag) == 32);

inline constexpr std::time_t kAlarmReachSeconds = 259200;  // a reading goes 3 days back

// The time of an event. The field keeps only 32 bits of it; the result is the matching time nearest
// to `now`.
std::time_t EventTime(std::int32_t field, std::time_t now);

// Takes the new events out of the monthly databases. Any thread may call it; the alarm worker does.
// A mutex is held while a database is open, which is during one reading only.
class CAlarmData {
 public:
  CAlarmData() = default;
  CAlarmData(const CAlarmData&) = delete;
  CAlarmData& operator=(const CAlarmData&) = delete;

  // Appends the untaken events of the last three days and marks them taken. If the three days begin
  // in the month before, its file is read first. Always returns 0: a file that is missing or cannot
  // be read adds nothing and is not logged.
  std::uint32_t GetAlarmData(std::vector<Alarm_Data_Para>* rows);

  // The same for the file of `month` and the calendar dates `from` to `to`, both included. -1 when
  // the file cannot be opened or read to the end: nothing is appended or marked, and the events
  // come again. Otherwise every event of these dates is marked. Deliberately, this includes an
  // event that was written after the reading.
  std::uint32_t GetDataFromDB(std::vector<Alarm_Data_Para>* rows, const std::tm* month,
                              const std::tm* from, const std::tm* to);

 private:
  // False when the file cannot be opened or read to the end.
  bool TakeEvents(const std::tm& month, const std::tm& from, const std::tm& to,
                  std::vector<Alarm_Data_Para>& rows);

  util::Mutex m_databaseMutex;  // held while an event database is open
};

// The one object of the process.
CAlarmData& GetCAlarmDataInstance();
