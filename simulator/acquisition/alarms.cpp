#include "acquisition/alarms.h"

#include "acquisition/signals.h"

namespace {

constexpr double kMargin = 0.1;  // part of the range between a limit and the range's end
constexpr double kStateOn = 1;   // the threshold of a DI point
constexpr std::uint32_t kGrades = 3;

enum class Limit { kLow, kHigh };

AlarmEvent EventOf(std::uint32_t dataId, std::int64_t unixSeconds, double value) {
  AlarmEvent event;
  event.time = unixSeconds;
  event.dataId = dataId;
  event.triggerValue = value;
  event.grade = static_cast<std::int32_t>(1 + dataId % kGrades);
  return event;
}

bool Beyond(double value, double threshold, Limit limit) {
  return limit == Limit::kHigh ? value > threshold : value < threshold;
}

// What one analogue input does from one second to the next.
struct Step {
  std::uint32_t dataId = 0;
  std::int64_t unixSeconds = 0;  // of `value`
  double before = 0;
  double value = 0;
};

// Appends the event of one limit when the step passes it: outwards when `raised`, else inwards.
void TakeLimit(const Step& step, Limit limit, bool raised, std::vector<AlarmEvent>& events) {
  const AlarmLimits limits = AlarmLimitsOf(step.dataId);
  const double threshold = limit == Limit::kHigh ? limits.high : limits.low;
  const bool beyond = Beyond(step.value, threshold, limit);
  if (beyond != raised || Beyond(step.before, threshold, limit) == beyond) return;
  AlarmEvent event = EventOf(step.dataId, step.unixSeconds, step.value);
  event.threshold = threshold;
  event.type = limit == Limit::kHigh ? kAboveLimit : kBelowLimit;
  event.upFlag = raised ? 1 : 0;
  events.push_back(event);
}

void TakeAnalog(std::uint32_t dataId, std::int64_t unixSeconds, std::vector<AlarmEvent>& events) {
  const Step step{dataId, unixSeconds, SignalValue(dataId, unixSeconds - 1),
                  SignalValue(dataId, unixSeconds)};
  for (const bool raised : {false, true}) {
    TakeLimit(step, Limit::kLow, raised, events);
    TakeLimit(step, Limit::kHigh, raised, events);
  }
}

void TakeDigital(std::uint32_t dataId, std::int64_t unixSeconds, std::vector<AlarmEvent>& events) {
  const double value = SignalValue(dataId, unixSeconds);
  if (value == SignalValue(dataId, unixSeconds - 1)) return;
  AlarmEvent event = EventOf(dataId, unixSeconds, value);
  event.threshold = kStateOn;
  event.upFlag = value == kStateOn ? 1 : 0;
  events.push_back(event);
}

}  // namespace

AlarmLimits AlarmLimitsOf(std::uint32_t dataId) {
  const SignalRange range = AnalogRange(dataId);
  const double margin = (range.high - range.low) * kMargin;
  return {range.low + margin, range.high - margin};
}

std::vector<AlarmEvent> AlarmsAt(const Plant& plant, std::int64_t unixSeconds) {
  std::vector<AlarmEvent> events;
  for (const auto& [dataId, point] : plant.points) {
    if (point.type == PointType::kAi) TakeAnalog(dataId, unixSeconds, events);
    if (point.type == PointType::kDi) TakeDigital(dataId, unixSeconds, events);
  }
  return events;
}

std::vector<AlarmEvent> LatestAlarms(const Plant& plant, std::int64_t until, std::int64_t seconds,
                                     std::size_t count) {
  std::vector<AlarmEvent> latest;
  for (std::int64_t second = until; latest.size() < count && second > until - seconds; --second) {
    const auto events = AlarmsAt(plant, second);
    latest.insert(latest.begin(), events.begin(), events.end());
  }
  if (latest.size() > count) {
    latest.erase(latest.begin(), latest.end() - static_cast<std::ptrdiff_t>(count));
  }
  return latest;
}
