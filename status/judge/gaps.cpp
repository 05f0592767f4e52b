#include "judge/gaps.h"

#include <algorithm>
#include <map>

#include "historydata/historydata.h"
#include "util/timetext.h"

namespace status {
namespace {

constexpr long kHourSeconds = 3600;
constexpr int kHoursOfDay = 24;
// So many equal distances in a row are another pace and not single losses.
constexpr int kSteadyDistances = 3;

// Neighbours at this distance have no file missing in between. Stamps lie on boundaries, but a
// changed interval shifts them.
bool IsNextTo(long distance, long interval) {
  return distance < interval + interval / 2;
}

long MissingIn(long distance, long interval) {
  return (distance + interval / 2) / interval - 1;
}

std::time_t HourOf(std::tm day, int hour) {
  day.tm_hour = hour;
  day.tm_min = 0;
  day.tm_sec = 0;
  return util::UnixTime(day);
}

bool IsBefore(const Packed& file, std::time_t when) {
  return file.stamp < when;
}

// Joins steady distances to one gap each.
std::vector<Gap> Joined(const std::vector<Gap>& gaps) {
  std::vector<Gap> joined;
  for (std::size_t i = 0; i < gaps.size();) {
    std::size_t end = i + 1;
    while (end < gaps.size() && gaps[end].from == gaps[end - 1].to && !gaps[end].isOpen &&
           gaps[end].to - gaps[end].from == gaps[i].to - gaps[i].from) {
      ++end;
    }
    if (end - i < kSteadyDistances) end = i + 1;
    Gap gap = gaps[i];
    if (end > i + 1) {
      gap.distance = static_cast<long>(gap.to - gap.from);
      gap.to = gaps[end - 1].to;
      gap.missing *= static_cast<long>(end - i);
      gap.cause = Cause::kOtherPace;
    }
    joined.push_back(gap);
    i = end;
  }
  return joined;
}

// A boundary's file may be made up to an interval later.
Gap OpenGap(std::time_t newest, long interval, std::time_t now) {
  Gap gap;
  gap.from = newest;
  gap.to = now;
  gap.isOpen = true;
  gap.missing = std::max(0L, static_cast<long>(now - newest) / interval - 1);
  return gap;
}

}  // namespace

void PackedFiles::Add(const LedgerRow& row) {
  if (row.type == kRealDataFile && row.stamp) m_files.push_back({*row.stamp, row.accepted});
}

void PackedFiles::Sort() {
  std::sort(m_files.begin(), m_files.end(),
            [](const Packed& a, const Packed& b) { return a.stamp < b.stamp; });
  m_files.erase(std::unique(m_files.begin(), m_files.end(),
                            [](const Packed& a, const Packed& b) { return a.stamp == b.stamp; }),
                m_files.end());
}

long PackedFiles::MostFrequentDistance() const {
  std::map<long, long> counts;
  for (std::size_t i = 1; i < m_files.size(); ++i) {
    ++counts[static_cast<long>(m_files[i].stamp - m_files[i - 1].stamp)];
  }
  const auto most =
      std::max_element(counts.begin(), counts.end(),
                       [](const auto& a, const auto& b) { return a.second < b.second; });
  return most == counts.end() ? 0 : most->first;
}

std::vector<Hour> HoursOfDay(const std::vector<Packed>& files, long interval, std::time_t when,
                             std::time_t now) {
  const std::tm day = util::LocalTime(when).value_or(std::tm{});
  const auto judge = [&](std::time_t begin, std::time_t end) {
    if (begin >= end) return Hour::kNone;
    if (begin > now) return Hour::kFuture;
    if (files.empty() || end <= files.front().stamp) return Hour::kBefore;
    const auto first = std::lower_bound(files.begin(), files.end(), begin, IsBefore);
    const auto last = std::lower_bound(first, files.end(), end, IsBefore);
    // What is due by now of what is possible since the first file of all.
    const std::time_t from = std::max(begin, files.front().stamp);
    const std::time_t to = std::min(end, now);
    // Stamps of an hour that comes twice are the same names.
    const long due = std::min(static_cast<long>(to - from), kHourSeconds) / interval;
    const long count = static_cast<long>(last - first);
    if (std::any_of(first, last, [](const Packed& file) { return !file.accepted; })) {
      return Hour::kPending;
    }
    if (count == 0 && due <= 0) return Hour::kFuture;
    if (count == 0) return Hour::kNothing;
    return count < due ? Hour::kPartly : Hour::kComplete;
  };
  std::vector<Hour> hours;
  hours.reserve(kHoursOfDay);
  for (int hour = 0; hour < kHoursOfDay; ++hour) {
    hours.push_back(judge(HourOf(day, hour), HourOf(day, hour + 1)));
  }
  return hours;
}

std::vector<Gap> FindGaps(const std::vector<Packed>& files, long interval, std::time_t since,
                          std::time_t now) {
  std::vector<Gap> gaps;
  std::time_t newest = 0;
  for (const Packed& file : files) {
    if (file.stamp > now + interval) break;  // the clock was ahead when it was made
    const long distance = static_cast<long>(file.stamp - newest);
    if (newest != 0 && file.stamp > since && !IsNextTo(distance, interval)) {
      Gap gap;
      gap.from = newest;
      gap.to = file.stamp;
      gap.missing = MissingIn(distance, interval);
      gaps.push_back(gap);
    }
    newest = file.stamp;
  }
  if (newest != 0) gaps.push_back(OpenGap(newest, interval, now));
  if (!gaps.empty() && gaps.back().missing <= 0) gaps.pop_back();
  return Joined(gaps);
}

}  // namespace status
