#include "acquisition/recorder.h"

#include <algorithm>
#include <utility>

#include "acquisition/alarms.h"

namespace {

constexpr std::int64_t kDaySeconds = 86'400;
// A clock that is put right by less than this is waited for.
constexpr std::int64_t kBackSeconds = 60;
// Minutes in one transaction when many are due. It must be short, for others use the file too.
constexpr std::int64_t kMinutesAtOnce = 60;
// The values of the segment must not wait longer than this for the card.
constexpr std::chrono::milliseconds kPatience{2000};

std::int64_t NextMultiple(std::int64_t after, std::int64_t interval) {
  return (after / interval + 1) * interval;
}

}  // namespace

Recorder::Recorder(Plant plant, const RecordingPlan& plan, std::int64_t now)
    : m_plant(std::move(plant)), m_plan(plan), m_events(kPatience), m_history(kPatience) {
  for (const auto& [dataId, point] : m_plant.points) m_dataIds.push_back(dataId);
  m_eventsDue = LatestAlarms(m_plant, now, kDaySeconds, static_cast<std::size_t>(m_plan.burst));
  StartAt(now);
  m_nextMinute -= m_plan.historyMinutes * kMinuteSeconds;
}

void Recorder::Follow(std::int64_t now) {
  if (now < m_now - kBackSeconds || now > m_now + kDaySeconds) StartAt(now);
  m_now = now;
  CollectEvents(now);
  RecordEvents();
  RecordHistory(now);
}

void Recorder::Burst(std::size_t count, std::int64_t now) {
  const auto latest = LatestAlarms(m_plant, now, kDaySeconds, count);
  m_eventsDue.insert(m_eventsDue.end(), latest.begin(), latest.end());
}

std::string Recorder::Trouble() const {
  return m_events.Trouble().empty() ? m_history.Trouble() : m_events.Trouble();
}

void Recorder::StartAt(std::int64_t now) {
  m_now = now;
  if (m_plan.eventInterval > 0) m_nextTurn = NextMultiple(now, m_plan.eventInterval);
  m_nextMinute = NextMultiple(now, kMinuteSeconds);
}

void Recorder::CollectEvents(std::int64_t now) {
  if (m_plan.eventInterval == 0) return;
  for (; m_nextTurn <= now; m_nextTurn += m_plan.eventInterval) {
    const auto latest = LatestAlarms(m_plant, m_nextTurn, m_plan.eventInterval, 1);
    m_eventsDue.insert(m_eventsDue.end(), latest.begin(), latest.end());
  }
}

void Recorder::RecordEvents() {
  const auto recorded = static_cast<std::ptrdiff_t>(m_events.Append(m_eventsDue));
  m_eventsDue.erase(m_eventsDue.begin(), m_eventsDue.begin() + recorded);
}

void Recorder::RecordHistory(std::int64_t now) {
  if (!m_plan.history) return;
  while (m_nextMinute <= now) {
    const std::int64_t end = std::min(now + 1, m_nextMinute + kMinutesAtOnce * kMinuteSeconds);
    if (!m_history.AppendMissing(HistoryRows(m_dataIds, m_nextMinute, end - 1))) {
      return;
    }
    m_nextMinute = NextMultiple(end - 1, kMinuteSeconds);
  }
}
