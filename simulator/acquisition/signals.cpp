#include "acquisition/signals.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "acquisition/plant.h"

namespace {

constexpr std::int64_t kCountersStart = 1704067200;  // 2024-01-01 00:00:00 UTC
constexpr double kResolution = 1000;                 // steps in one unit: three decimals

// Numbers that are drawn from the identifier of a point alone.
class Traits {
 public:
  explicit Traits(std::uint32_t dataId) : m_dataId(dataId) {}

  // A number from `low` to `high`, both included; each `salt` names another trait of the point.
  std::int64_t Draw(std::uint32_t salt, std::int64_t low, std::int64_t high) const {
    return low + static_cast<std::int64_t>(Mix(salt) % static_cast<std::uint64_t>(high - low + 1));
  }

 private:
  // The finishing rounds of the SplitMix64 generator: neighbouring identifiers end up far apart.
  std::uint64_t Mix(std::uint32_t salt) const {
    std::uint64_t bits = (std::uint64_t{salt} << 32) + m_dataId + 0x9E3779B97F4A7C15U;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31);
  }

  std::uint32_t m_dataId;
};

enum Salt : std::uint32_t { kLow, kSpan, kPeriod, kPhase, kShape, kStart, kRate };

double OnGrid(double value) {
  return std::round(value * kResolution) / kResolution;
}

// How many whole periods have passed since 1970; also right for times before 1970.
std::int64_t PeriodsPassed(std::int64_t seconds, std::int64_t period) {
  const std::int64_t quotient = seconds / period;
  return seconds % period < 0 ? quotient - 1 : quotient;
}

double PartOfPeriod(std::int64_t seconds, std::int64_t period) {
  const std::int64_t into = seconds - PeriodsPassed(seconds, period) * period;
  return static_cast<double>(into) / static_cast<double>(period);
}

double AnalogInput(std::uint32_t dataId, std::int64_t seconds) {
  const Traits traits(dataId);
  const SignalRange range = AnalogRange(dataId);
  const std::int64_t period = traits.Draw(kPeriod, 120, 3600);
  const double part = PartOfPeriod(seconds + traits.Draw(kPhase, 0, period - 1), period);
  const bool ramp = traits.Draw(kShape, 0, 3) == 0;
  const double height = ramp ? part : (1 + std::sin(2 * std::numbers::pi * part)) / 2;
  return OnGrid(range.low + (range.high - range.low) * height);
}

double DigitalInput(std::uint32_t dataId, std::int64_t seconds) {
  const Traits traits(dataId);
  const std::int64_t period = traits.Draw(kPeriod, 20, 300);
  const std::int64_t flips = PeriodsPassed(seconds + traits.Draw(kPhase, 0, period - 1), period);
  return flips % 2 == 0 ? 0 : 1;
}

double Counter(std::uint32_t dataId, std::int64_t seconds) {
  const Traits traits(dataId);
  const auto start = static_cast<double>(traits.Draw(kStart, 0, 99'999));
  const auto thousandthsPerSecond = static_cast<double>(traits.Draw(kRate, 1, 250));
  const auto elapsed = static_cast<double>(std::max<std::int64_t>(seconds - kCountersStart, 0));
  return OnGrid(start + elapsed * thousandthsPerSecond / kResolution);
}

// The control room changes commands and setpoints at regular intervals.
std::int64_t MovesMade(std::uint32_t dataId, std::int64_t seconds) {
  const Traits traits(dataId);
  const std::int64_t period = traits.Draw(kPeriod, 900, 3600);
  return PeriodsPassed(seconds + traits.Draw(kPhase, 0, period - 1), period);
}

double DigitalOutput(std::uint32_t dataId, std::int64_t seconds) {
  return MovesMade(dataId, seconds) % 2 == 0 ? 0 : 1;
}

double AnalogOutput(std::uint32_t dataId, std::int64_t seconds) {
  constexpr std::int64_t kSteps = 8;
  const SignalRange range = AnalogRange(dataId);
  const double step = PartOfPeriod(MovesMade(dataId, seconds), kSteps);
  return OnGrid(range.low + (range.high - range.low) * step);
}

}  // namespace

SignalRange AnalogRange(std::uint32_t dataId) {
  const Traits traits(dataId);
  const auto low = static_cast<double>(traits.Draw(kLow, -20, 80));
  const auto span = static_cast<double>(traits.Draw(kSpan, 5, 400));
  return {low, low + span};
}

double SignalValue(std::uint32_t dataId, std::int64_t unixSeconds) {
  switch (TypeOf(dataId).value_or(PointType::kAi)) {
    case PointType::kDi:
      return DigitalInput(dataId, unixSeconds);
    case PointType::kAcc:
      return Counter(dataId, unixSeconds);
    case PointType::kDo:
      return DigitalOutput(dataId, unixSeconds);
    case PointType::kAo:
      return AnalogOutput(dataId, unixSeconds);
    case PointType::kAi:
      break;
  }
  return AnalogInput(dataId, unixSeconds);
}
