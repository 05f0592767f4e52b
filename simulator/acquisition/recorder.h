// Owns what the simulated acquisition side records on the SD card as time goes by: alarm events and
// the history of every point.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "acquisition/plant.h"

// What is to be recorded.
struct RecordingPlan {
  std::int64_t eventInterval = 60;  // seconds; 0: no events but the burst
  std::int64_t burst = 0;           // events at the start
  bool history = true;              // a row for each minute and point
  std::int64_t historyMinutes = 0;  // minutes before the start that are filled in
};

// Follows the clock and records what is due:
//   events   at every multiple of the interval the latest event since the multiple before, if the
//            plant has had one; in a burst the latest events of the day before the start
//   history  every whole minute that has no row yet
// Times come from the plan and the clock alone, so a late or interrupted recorder writes the same
// rows. What cannot be recorded, for instance because another program holds a lock, stays due. When
// the clock goes back by at most a minute, the recorder waits until it is past the old time. When
// it is set back further, the recorder follows: events come a second time, a minute of history
// keeps its rows. When the clock is set forward by more than a day, the recorder does not fill in
// the time between. One thread uses it. No file stays open between two calls.
class Recorder {
 public:
  // Starts at Unix time `now`; nothing is written before Follow.
  Recorder(Plant plant, const RecordingPlan& plan, std::int64_t now);
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Records everything that is due at a Unix time.
  void Follow(std::int64_t now);

  // Records the latest `count` events of the day before `now` at the next Follow, whether or not
  // they have been recorded before.
  void Burst(std::size_t count, std::int64_t now);

  // How many events wait to be recorded: the burst at first, those that failed after Follow.
  std::size_t EventsDue() const { return m_eventsDue.size(); }
  // Why something stays due; empty when nothing does.
  std::string Trouble() const;

 private:
  void StartAt(std::int64_t now);
  void CollectEvents(std::int64_t now);
  void RecordEvents();
  void RecordHistory(std::int64_t now);

  Plant m_plant;
  RecordingPlan m_plan;
  std::vector<std::uint32_t> m_dataIds;  // of every point, ascending
  EventWriter m_events;
  HistoryWriter m_history;
  std::vector<AlarmEvent> m_eventsDue;  // in the order of recording
  std::int64_t m_now = 0;               // Unix time of the latest Follow
  std::int64_t m_nextTurn = 0;          // Unix time of the next event
  std::int64_t m_nextMinute = 0;        // Unix time of the first minute that is not recorded
};
