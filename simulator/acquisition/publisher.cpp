#include "acquisition/publisher.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <limits>
#include <utility>

#include "acquisition/signals.h"

namespace {

bool Knows(const Plant& plant, std::uint32_t dataId) {
  return plant.points.contains(dataId);
}

// The nearest identifier that the plant does not have, counting up from `dataId`.
std::uint32_t UnknownFrom(const Plant& plant, std::uint32_t dataId) {
  while (Knows(plant, dataId)) ++dataId;
  return dataId;
}

std::uint32_t UnknownDownFrom(const Plant& plant, std::uint32_t dataId) {
  while (Knows(plant, dataId)) --dataId;
  return dataId;
}

std::uint32_t MiddlePoint(const Plant& plant) {
  if (plant.points.empty()) return 1;  // 0 is the stranger before all others
  const auto half = static_cast<std::ptrdiff_t>(plant.points.size() / 2);
  return std::next(plant.points.begin(), half)->first;
}

std::vector<std::uint32_t> Identifiers(const Plant& plant, PublishMode mode) {
  std::vector<std::uint32_t> identifiers;
  for (const auto& [dataId, point] : plant.points) identifiers.push_back(dataId);
  if (mode == PublishMode::kSubset && !identifiers.empty()) {
    identifiers.erase(identifiers.begin());
  }
  if (mode == PublishMode::kUnknown) {
    constexpr auto kHighest = std::numeric_limits<std::uint32_t>::max();
    identifiers.push_back(UnknownFrom(plant, 0));
    identifiers.push_back(UnknownFrom(plant, MiddlePoint(plant)));
    identifiers.push_back(UnknownDownFrom(plant, kHighest));
    std::ranges::sort(identifiers);
  }
  return identifiers;
}

void AppendDuplicates(std::vector<SegmentPoint>& points) {
  const std::size_t once = points.size();
  points.reserve(2 * once);
  for (std::size_t i = 0; i < once; ++i) {
    points.push_back({points[i].dataId, points[i].value + kDuplicateOffset});
  }
}

SegmentShape ShapeOf(PublishMode mode, std::size_t records) {
  SegmentShape shape;
  if (mode == PublishMode::kOvercount) {
    shape.count = static_cast<std::uint32_t>(records) + kOverpromise;
  }
  if (mode == PublishMode::kTiny) shape.bytes = kTinyBytes;
  return shape;
}

}  // namespace

const std::vector<PublishModeText>& PublishModes() {
  static const std::vector<PublishModeText> modes = {
      {PublishMode::kAll, "all", "every point (default)"},
      {PublishMode::kSubset, "subset", "every point but the one with the lowest DataId"},
      {PublishMode::kUnknown, "unknown", "every point and three that no template has"},
      {PublishMode::kDuplicates, "duplicates", "every point twice, the second 1000 higher"},
      {PublishMode::kEmpty, "empty", "a table without records"},
      {PublishMode::kOvercount, "overcount", "a count word that promises 1000000 records too many"},
      {PublishMode::kTiny, "tiny", "a segment of 2 bytes, too small for the count word"},
      {PublishMode::kAbsent, "absent", "no segment at all"},
      {PublishMode::kTorn, "torn", "every point, rewritten without pause: readers get torn values"},
  };
  return modes;
}

std::optional<PublishMode> PublishModeNamed(std::string_view name) {
  for (const PublishModeText& text : PublishModes()) {
    if (text.name == name) return text.mode;
  }
  return std::nullopt;
}

std::vector<SegmentPoint> PublishedPoints(const Plant& plant, PublishMode mode,
                                          std::int64_t unixSeconds) {
  std::vector<SegmentPoint> points;
  if (mode == PublishMode::kEmpty || mode == PublishMode::kTiny || mode == PublishMode::kAbsent) {
    return points;
  }
  for (const std::uint32_t dataId : Identifiers(plant, mode)) {
    points.push_back({dataId, SignalValue(dataId, unixSeconds)});
  }
  if (mode == PublishMode::kDuplicates) AppendDuplicates(points);
  return points;
}

Publisher::Publisher(Plant plant, PublishMode mode, StaleSegment stale)
    : m_plant(std::move(plant)), m_mode(mode) {
  if (mode == PublishMode::kAbsent) {
    Segment::RequireNone(stale);
    return;
  }
  const auto points = PublishedPoints(m_plant, mode, std::time(nullptr));
  m_segment.emplace(points, ShapeOf(mode, points.size()), stale);
  if (mode != PublishMode::kTorn) return;
  m_tornWriter.emplace(*m_segment, [this](std::int64_t unixSeconds) {
    return PublishedPoints(m_plant, m_mode, unixSeconds);
  });
}

void Publisher::Refresh(std::int64_t unixSeconds) {
  if (!m_segment || m_tornWriter) return;
  m_segment->Write(PublishedPoints(m_plant, m_mode, unixSeconds));
}
