// Follows the alarm events that the acquisition side records on the card.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <tuple>

namespace console {

// Orders events by time; the month as 202611 and the row tell events of one second apart.
struct EventId {
  std::time_t time = 0;
  int month = 0;
  std::int64_t row = 0;

  bool operator<(const EventId& other) const {
    return std::tie(time, month, row) < std::tie(other.time, other.month, other.row);
  }
};

// One event as recorded.
struct RecordedEvent {
  std::uint32_t dataId = 0;
  std::string timeMark{};  // "2026-11-22 10:00:00", local
  double threshold = 0;
  double trigger = 0;
  std::int64_t type = 0;
  std::int64_t grade = 0;
  std::int64_t upFlag = 0;
  bool taken = false;  // by the service
};

// Keeps the newest 5,000 events. It reads the event databases in short visits: a database that
// somebody writes at that moment is read at the next call. Nothing is written or left open. One
// thread.
class AlarmLog {
 public:
  // Reads what is new in the databases of the month of `now` and of three days before.
  void Follow(std::time_t now);

  const std::map<EventId, RecordedEvent>& Events() const { return m_events; }

 private:
  // What is known of one month's database.
  struct Month {
    std::int64_t last = 0;                      // the newest row that was read
    std::map<std::int64_t, EventId> untaken{};  // by row
  };

  void FollowMonth(int month);
  void Forget(int month);

  std::map<EventId, RecordedEvent> m_events;
  std::map<int, Month> m_months;
};

}  // namespace console
