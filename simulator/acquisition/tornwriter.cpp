#include "acquisition/tornwriter.h"

#include <array>
#include <ctime>
#include <utility>

namespace {

// The two generations of values that take turns.
struct Generations {
  std::int64_t second = 0;
  std::array<std::vector<SegmentPoint>, 2> points;

  void Follow(std::int64_t now, const PointsAt& pointsAt) {
    if (second == now) return;
    second = now;
    points = {pointsAt(now), pointsAt(now + 1)};
  }
};

}  // namespace

TornWriter::TornWriter(const Segment& segment, PointsAt pointsAt)
    : m_pointsAt(std::move(pointsAt)),
      m_bytes(segment.Bytes()),
      m_words(segment.Attach()),
      m_thread([this](const std::stop_token& stop) { Run(stop); }) {}

void TornWriter::Run(const std::stop_token& stop) {
  Generations generations;
  while (!stop.stop_requested()) {
    generations.Follow(std::time(nullptr), m_pointsAt);
    const auto& points = generations.points[m_rounds % 2 == 0 ? 0 : 1];
    for (std::size_t i = 0; i < points.size(); ++i) {
      PointRecord record;
      record.dataId = points[i].dataId;
      record.value = points[i].value;
      record.stamp = generations.second;
      StoreRecord(m_words, m_bytes, i, record);
    }
    ++m_rounds;
  }
}
