#include "console/watch/gapfinder.h"

#include "collect/logs.h"

namespace console {
namespace {

constexpr std::time_t kMonthSeconds = 31L * 86400;
constexpr std::size_t kTailBytes = 8U << 20;  // of the text logs
constexpr std::size_t kMostGaps = 500;        // the newest

}  // namespace

std::vector<status::Gap> GapFinder::Find(const std::vector<status::Packed>& files, long interval,
                                         std::time_t now) {
  const std::lock_guard lock(m_mutex);
  if (!m_pace.IsDue()) return m_gaps;
  m_pace.Begin();
  m_gaps = status::FindGaps(files, interval, now - kMonthSeconds, now);
  if (m_gaps.size() > kMostGaps) {
    m_gaps.erase(m_gaps.begin(), m_gaps.end() - static_cast<std::ptrdiff_t>(kMostGaps));
  }
  status::CauseFinder causes(m_gaps, interval);
  if (!m_gaps.empty()) {
    status::ReadLogs(m_place, {.since = std::nullopt, .tailBytes = kTailBytes},
                     [&causes](const status::LogRecord& record) {
                       causes.Take(record);
                       return true;
                     });
  }
  causes.Finish();
  m_pace.End();
  return m_gaps;
}

}  // namespace console
