#include "acquisition/conduct.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

constexpr std::int64_t kLargestBurst = 1000;  // events

}  // namespace

std::vector<SegmentPoint> Published(std::vector<SegmentPoint> points, const Trouble& trouble) {
  std::erase_if(points, [&](const SegmentPoint& point) { return point.dataId == trouble.leftOut; });
  return points;
}

void Conduct::CarryOut(const rapidjson::Value& order, program::ControlWriter& answer) {
  const std::string what = program::ControlText(order, "do");
  const std::lock_guard lock(m_mutex);
  if (what == "pause") {
    m_trouble.paused = true;
  } else if (what == "empty") {
    m_trouble.empty = true;
  } else if (what == "leave-out") {
    LeaveOut(order);
  } else if (what == "burst") {
    m_burst += static_cast<std::size_t>(program::ControlNumber(order, "events", 1, kLargestBurst));
  } else if (what == "normal") {
    m_trouble = {};
  } else if (what == "state") {
    WriteState(answer);
  } else {
    throw std::invalid_argument("there is no order '" + what + "'");
  }
}

Trouble Conduct::Current() const {
  const std::lock_guard lock(m_mutex);
  return m_trouble;
}

std::size_t Conduct::TakeBurst() {
  const std::lock_guard lock(m_mutex);
  return std::exchange(m_burst, 0);
}

// Called under m_mutex.
void Conduct::LeaveOut(const rapidjson::Value& order) {
  if (m_dataIds.empty()) throw std::invalid_argument("the plant has no points");
  std::uint32_t dataId = m_dataIds.front();
  if (order.HasMember("data_id")) {
    constexpr auto kMost = std::numeric_limits<std::uint32_t>::max();
    dataId = static_cast<std::uint32_t>(program::ControlNumber(order, "data_id", 0, kMost));
  }
  if (std::ranges::find(m_dataIds, dataId) == m_dataIds.end()) {
    throw std::invalid_argument("there is no point " + std::to_string(dataId));
  }
  m_trouble.leftOut = dataId;
}

// Called under m_mutex.
void Conduct::WriteState(program::ControlWriter& answer) const {
  answer.Key("paused");
  answer.Bool(m_trouble.paused);
  answer.Key("empty");
  answer.Bool(m_trouble.empty);
  answer.Key("left_out");
  m_trouble.leftOut ? answer.Uint(*m_trouble.leftOut) : answer.Null();
  answer.Key("points");
  answer.Uint64(m_dataIds.size());
}
