#include "console/watch/month.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>

#include "util/timetext.h"

namespace console {
namespace {

constexpr int kDays = 31;
constexpr int kHours = 24;
constexpr std::time_t kHourSeconds = 3600;

SlotState StateOf(const SeenFile& file) {
  switch (file.state) {
    case FileState::kAccepted:
      return file.attempts > 1 ? SlotState::kSentAgain : SlotState::kAccepted;
    case FileState::kPending:
      return SlotState::kPending;
    case FileState::kAged:
      return SlotState::kAged;
    case FileState::kJudgedSent:
      return SlotState::kJudgedSent;
    case FileState::kLost:
      break;
  }
  return SlotState::kMissing;
}

std::uint64_t DigitsOf(std::time_t when) {
  return std::stoull(util::Stamp(util::LocalTime(when).value_or(std::tm{})));
}

using EachFile = std::function<void(const FileKey&, const SeenFile&)>;

// The files of live values with stamps in a span, some around it included: an hour that comes twice
// has its stamps only once.
void ForEachFile(const Account& account, std::time_t from, std::time_t to, const EachFile& each) {
  auto file = account.All().lower_bound({Kind::kRealData, DigitsOf(from - kHourSeconds)});
  const FileKey end{Kind::kRealData, DigitsOf(to + kHourSeconds)};
  for (; file != account.All().end() && file->first < end; ++file) each(file->first, file->second);
}

// The oldest file of live values; the end of time without one.
std::time_t Oldest(const Account& account) {
  const auto first = account.All().lower_bound({Kind::kRealData, 0});
  const bool isThere = first != account.All().end() && first->first.kind == Kind::kRealData;
  return isThere ? first->second.stamp : std::numeric_limits<std::time_t>::max();
}

// A row of slots, of which the first is at a multiple of the interval.
class Slots {
 public:
  Slots(const Account& account, long interval, std::time_t from, std::time_t to, std::time_t now)
      : m_interval(interval), m_from((from + interval - 1) / interval * interval) {
    const auto count =
        static_cast<std::size_t>(std::max<std::time_t>(0, to - m_from + interval - 1) / interval);
    const std::time_t oldest = Oldest(account);
    for (std::size_t i = 0; i < count; ++i) m_states.push_back(Empty(TimeOf(i), oldest, now));
  }

  std::size_t Size() const { return m_states.size(); }
  std::time_t TimeOf(std::size_t slot) const {
    return m_from + static_cast<std::time_t>(slot) * m_interval;
  }
  // The slot of a stamp: the nearest boundary. Size() when it is another span's.
  std::size_t SlotOf(std::time_t stamp) const {
    const std::time_t slot = (stamp - m_from + m_interval / 2) / m_interval;
    const bool isIn = stamp >= m_from - m_interval / 2 && slot < static_cast<std::time_t>(Size());
    return isIn ? static_cast<std::size_t>(slot) : Size();
  }
  std::size_t FirstFrom(std::time_t when) const {
    return static_cast<std::size_t>((std::max(when, m_from) - m_from + m_interval - 1) /
                                    m_interval);
  }
  SlotState& operator[](std::size_t slot) { return m_states[slot]; }

 private:
  SlotState Empty(std::time_t when, std::time_t oldest, std::time_t now) const {
    if (when > now - m_interval) return SlotState::kFuture;
    return when < oldest ? SlotState::kBefore : SlotState::kMissing;
  }

  std::time_t m_interval;
  std::time_t m_from;
  std::vector<SlotState> m_states;
};

std::time_t HourOfDay(std::tm day, int daysBack, int hour) {
  day.tm_mday -= daysBack;
  day.tm_hour = hour;
  day.tm_min = 0;
  day.tm_sec = 0;
  return util::UnixTime(day);
}

SlotState WorstOf(Slots& slots, std::time_t from, std::time_t to) {
  if (from >= to) return SlotState::kNone;
  SlotState worst = SlotState::kNone;
  for (std::size_t slot = slots.FirstFrom(from); slot < slots.Size() && slots.TimeOf(slot) < to;
       ++slot) {
    worst = std::min(worst, slots[slot]);
  }
  return worst;
}

}  // namespace

const char* NameOf(SlotState state) {
  constexpr std::array kNames = {"missing",  "pending", "judged-sent", "aged", "sent-again",
                                 "accepted", "future",  "before",      "none"};
  return kNames[static_cast<std::size_t>(state)];
}

std::vector<Day> MonthOf(const Account& account, long interval, std::time_t now) {
  const std::tm today = util::LocalTime(now).value_or(std::tm{});
  const std::time_t begin = HourOfDay(today, kDays - 1, 0);
  const std::time_t end = HourOfDay(today, 0, kHours);
  Slots slots(account, interval, begin, end, now);
  ForEachFile(account, begin, end, [&slots](const FileKey&, const SeenFile& file) {
    const std::size_t slot = slots.SlotOf(file.stamp);
    if (slot < slots.Size()) slots[slot] = StateOf(file);
  });
  std::vector<Day> days;
  for (int back = kDays - 1; back >= 0; --back) {
    Day day{.from = HourOfDay(today, back, 0), .hours = {}};
    for (int hour = 0; hour < kHours; ++hour) {
      day.hours.push_back(
          WorstOf(slots, HourOfDay(today, back, hour), HourOfDay(today, back, hour + 1)));
    }
    days.push_back(std::move(day));
  }
  return days;
}

std::vector<Slot> HourOf(const Account& account, long interval, std::time_t from, std::time_t now) {
  Slots states(account, interval, from, from + kHourSeconds, now);
  std::vector<Slot> slots(states.Size());
  for (std::size_t i = 0; i < slots.size(); ++i) slots[i] = {states.TimeOf(i), states[i], {}, 0};
  ForEachFile(account, from, from + kHourSeconds, [&](const FileKey& key, const SeenFile& file) {
    const std::size_t slot = states.SlotOf(file.stamp);
    if (slot >= slots.size()) return;
    slots[slot].state = StateOf(file);
    slots[slot].name = BaseNameOf(key);
    slots[slot].attempts = file.attempts;
  });
  return slots;
}

std::vector<status::Packed> PackedOf(const Account& account) {
  std::vector<status::Packed> files;
  const auto end = account.All().lower_bound({Kind::kAlarmData, 0});
  for (auto file = account.All().begin(); file != end; ++file) {
    if (file->second.state == FileState::kLost) continue;
    files.push_back({file->second.stamp, file->second.state == FileState::kAccepted});
  }
  const auto byStamp = [](const status::Packed& a, const status::Packed& b) {
    return a.stamp < b.stamp;
  };
  std::sort(files.begin(), files.end(), byStamp);
  return files;
}

}  // namespace console
