#include "console/watch/gapfinder.h"

#include "collect/logs.h"
#include "collect/times.h"

namespace console {
namespace {

constexpr std::time_t kMonthSeconds = 31L * 86400;
constexpr std::size_t kTailBytes = 8U << 20;  // of the text logs
constexpr std::size_t kMostGaps = 500;        // the newest

// The logs name a point by its DataId alone, and they cannot know that the clock's speed was
// changed.
std::string CauseOf(const status::Gap& gap, const ClockChange* change, const NameOfPoint& name) {
  if (gap.cause == status::Cause::kPointMissing) {
    return "point " + name(gap.detail) + " is configured and had no value";
  }
  const bool isUnexplained =
      gap.cause == status::Cause::kUnknown || gap.cause == status::Cause::kSilent;
  if (!isUnexplained || change == nullptr) return status::CauseText(gap);
  return "the gateway's clock was set, or got another speed, between " +
         status::LocalText(change->from) + " and " + status::LocalText(change->to) +
         ": these boundaries passed while the service slept";
}

}  // namespace

std::vector<SeenGap> SeenGapsOf(const std::vector<status::Gap>& gaps, long interval,
                                const std::deque<ClockChange>& changes, const NameOfPoint& name) {
  std::vector<SeenGap> seen;
  for (const status::Gap& gap : gaps) {
    SeenGap each{.missing = gap.missing, .isOpen = gap.isOpen, .cause = {}};
    each.first = ((gap.from + interval / 2) / interval + 1) * interval;
    // With a file now and then, the last boundary is the one before the file that ends it.
    const bool isPace = gap.cause == status::Cause::kOtherPace;
    each.last = isPace ? gap.to - interval : each.first + (gap.missing - 1) * interval;
    each.cause = CauseOf(gap, ChangeIn(changes, gap.from, gap.to), name);
    seen.push_back(std::move(each));
  }
  return seen;
}

long NeverMade(const std::vector<status::Packed>& files, long interval, std::time_t now) {
  long missing = 0;
  for (const auto& gap : status::FindGaps(files, interval, now - kMonthSeconds, now)) {
    missing += gap.missing;
  }
  return missing;
}

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
