#include "cloud/orders.h"

#include <algorithm>
#include <ctime>
#include <mutex>
#include <optional>

#include "cloud/fault.h"
#include "util/text.h"
#include "util/timetext.h"

namespace cloud {

namespace {

// One point of an order, with its device.
struct WantedPoint {
  std::int32_t groupId;
  std::int32_t eqpId;
  const RecallPoint* point;
};

std::vector<WantedPoint> PointsOf(const RecallOrder& order) {
  std::vector<WantedPoint> points;
  for (const RecallDevice& device : order.devices) {
    for (const RecallPoint& point : device.points) {
      points.push_back({device.groupId, device.eqpId, &point});
    }
  }
  return points;
}

bool IsSamePoint(const WantedPoint& wanted, const RecalledPoint& found) {
  return wanted.groupId == found.groupId && wanted.eqpId == found.eqpId &&
         util::Format("%04X", wanted.point->pointId) == found.pointId;
}

std::time_t Time(const std::string& timeMark) {
  return util::UnixTime(util::ReadTimeMark(timeMark.c_str()));
}

// A gateway moves a begin or an end inside a minute to the next whole minute.
std::time_t WholeMinute(const std::string& timeMark) {
  constexpr std::time_t kMinuteSeconds = 60;
  return (Time(timeMark) + kMinuteSeconds - 1) / kMinuteSeconds * kMinuteSeconds;
}

bool IsWithinSpan(const RecallPoint& wanted, const RecalledPoint& found) {
  const std::time_t begin = WholeMinute(wanted.beginTime);
  const std::time_t end = WholeMinute(wanted.endTime);
  return std::ranges::all_of(found.values, [&](const TimedValue& value) {
    const std::time_t time = Time(value.timeMark);
    return begin <= time && time <= end;
  });
}

// What is wrong with the data as an answer to the order.
std::optional<std::string> Difference(const RecallOrder& order, const RecallData& recall) {
  const std::vector<WantedPoint> wanted = PointsOf(order);
  if (wanted.size() != recall.points.size()) {
    return "\"data\" has " + std::to_string(recall.points.size()) + " points, ordered were " +
           std::to_string(wanted.size());
  }
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    const std::string place = "\"data[" + std::to_string(i) + "]";
    if (!IsSamePoint(wanted[i], recall.points[i])) return place + "\" is not the ordered point";
    if (!IsWithinSpan(*wanted[i].point, recall.points[i])) {
      return place + ".values\" go beyond the ordered span";
    }
  }
  return std::nullopt;
}

}  // namespace

OrderBook::OrderBook(const std::vector<RecallOrder>& orders) {
  for (const RecallOrder& order : orders) m_entries.push_back({.order = order});
}

void OrderBook::Add(const RecallOrder& order) {
  const std::lock_guard lock(m_mutex);
  m_entries.push_back({.order = order});
}

std::vector<RecallOrder> OrderBook::Take(const std::string& asker) {
  const std::lock_guard lock(m_mutex);
  std::vector<RecallOrder> orders;
  for (Entry& entry : m_entries) {
    if (!entry.IsDue()) {
      ++entry.checksBefore;
      continue;
    }
    if (!entry.Stands()) continue;
    ++entry.answers;
    orders.push_back(entry.order);
    if (orders.back().serialNumber.empty()) orders.back().serialNumber = asker;
  }
  return orders;
}

void OrderBook::Check(const std::string& serialNumber, const RecallData& recall) const {
  const std::lock_guard lock(m_mutex);
  std::optional<std::string> difference;
  for (const Entry& entry : m_entries) {
    if (!entry.IsMeantBy(serialNumber, recall)) continue;
    difference = Difference(entry.order, recall);
    if (!difference) return;  // the same "id" may have been ordered more than once
  }
  if (difference) throw Fault(*difference);
}

void OrderBook::Accept(const std::string& serialNumber, const RecallData& recall) {
  const std::lock_guard lock(m_mutex);
  for (Entry& entry : m_entries) {
    if (entry.IsMeantBy(serialNumber, recall)) entry.accepted = true;
  }
}

std::size_t OrderBook::Standing() const {
  return StandingIds().size();
}

std::vector<std::int32_t> OrderBook::StandingIds() const {
  const std::lock_guard lock(m_mutex);
  std::vector<std::int32_t> ids;
  for (const Entry& entry : m_entries) {
    if (entry.Stands()) ids.push_back(entry.order.id);
  }
  return ids;
}

}  // namespace cloud
