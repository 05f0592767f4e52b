#include "acquisition/signals.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <ostream>
#include <set>
#include <vector>

#include "acquisition/plant.h"
#include "util/text.h"

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::Ge;
using ::testing::Le;

constexpr std::int64_t kNoon = 1709784000;  // 2024-03-07 04:00 UTC
constexpr std::int64_t kDay = 86400;
constexpr std::uint16_t kNodes = 60;

// Three decimals say all of it.
MATCHER(IsOnTheGrid, "") {
  return std::abs(arg * 1000 - std::round(arg * 1000)) < 1e-6;
}

// Sixty points of one type on one device.
std::vector<std::uint32_t> PointsOf(PointType type) {
  std::vector<std::uint32_t> points;
  for (std::uint16_t node = 1; node <= kNodes; ++node) {
    points.push_back(DataIdOf(1, 3, type, node));
  }
  return points;
}

std::vector<double> DayOf(std::uint32_t dataId, std::int64_t step) {
  std::vector<double> values;
  for (std::int64_t t = kNoon; t < kNoon + kDay; t += step) {
    values.push_back(SignalValue(dataId, t));
  }
  return values;
}

// What it is for: a value written down once, so that no change of the signals goes unseen.
struct Sample {
  std::uint32_t dataId;
  std::int64_t time;
  double value;
};

void PrintTo(const Sample& row, std::ostream* out) {
  *out << util::Format("%08x at noon + %d", row.dataId, static_cast<int>(row.time - kNoon));
}

using PinnedSignal = testing::TestWithParam<Sample>;

TEST_P(PinnedSignal, DependsOnPointAndTimeAlone) {
  EXPECT_DOUBLE_EQ(SignalValue(GetParam().dataId, GetParam().time), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PinnedSignal,
    testing::Values(Sample{0x01030001, kNoon, 58.343}, Sample{0x01030001, kNoon + 60, 70.142},
                    Sample{0x01030002, kNoon, -0.007}, Sample{0x01030003, kNoon, 147.5},
                    Sample{0x010300AB, kNoon, 236.929}, Sample{0x01031123, kNoon, 0},
                    Sample{0x01031123, kNoon + 50, 1}, Sample{0x01030205, kNoon, 966197.4},
                    Sample{0x01030205, kNoon + kDay, 979848.6}, Sample{0x02040301, kNoon, 0},
                    Sample{0x02040301, kNoon + 3600, 1}, Sample{0x0204B401, kNoon, 40.25},
                    Sample{0x0204B401, kNoon + 3600, 46.75}));

// What it is for: a signal that stays within a range.
using AnalogSignal = testing::TestWithParam<PointType>;

TEST_P(AnalogSignal, StaysWithinItsRangeAndIsOnTheGrid) {
  for (const std::uint32_t dataId : PointsOf(GetParam())) {
    const SignalRange range = AnalogRange(dataId);

    EXPECT_THAT(DayOf(dataId, 61), Each(AllOf(Ge(range.low), Le(range.high), IsOnTheGrid())))
        << std::hex << dataId;
  }
}

TEST_P(AnalogSignal, MovesThroughMostOfItsRangeInADay) {
  for (const std::uint32_t dataId : PointsOf(GetParam())) {
    const SignalRange range = AnalogRange(dataId);

    const auto values = DayOf(dataId, 61);

    const auto [lowest, highest] = std::ranges::minmax(values);
    EXPECT_GE(highest - lowest, 0.8 * (range.high - range.low)) << std::hex << dataId;
  }
}

INSTANTIATE_TEST_SUITE_P(Types, AnalogSignal, testing::Values(PointType::kAi, PointType::kAo));

// What it is for: a signal that is either 0 or 1.
using DigitalSignal = testing::TestWithParam<PointType>;

TEST_P(DigitalSignal, TakesBothStatesAndNoOther) {
  for (const std::uint32_t dataId : PointsOf(GetParam())) {
    const auto values = DayOf(dataId, 7);

    EXPECT_EQ(std::set<double>(values.begin(), values.end()), (std::set<double>{0, 1}))
        << std::hex << dataId;
  }
}

INSTANTIATE_TEST_SUITE_P(Types, DigitalSignal, testing::Values(PointType::kDi, PointType::kDo));

TEST(DigitalInputSignal, FlipsEvery20To300Seconds) {
  for (const std::uint32_t dataId : PointsOf(PointType::kDi)) {
    const auto values = DayOf(dataId, 1);

    const auto first = std::ranges::adjacent_find(values, std::not_equal_to<>());
    ASSERT_NE(first, values.end());
    const auto second = std::adjacent_find(first + 1, values.end(), std::not_equal_to<>());
    EXPECT_GE(second - first, 20) << std::hex << dataId;
    EXPECT_LE(second - first, 300) << std::hex << dataId;
  }
}

TEST(CounterSignal, NeverFallsAndRisesWithinAnHour) {
  for (const std::uint32_t dataId : PointsOf(PointType::kAcc)) {
    const auto values = DayOf(dataId, 61);

    EXPECT_TRUE(std::ranges::is_sorted(values)) << std::hex << dataId;
    EXPECT_GT(SignalValue(dataId, kNoon + 3600), SignalValue(dataId, kNoon)) << std::hex << dataId;
  }
}

TEST(CounterSignal, StandsStillBeforeTheStartOf2024) {
  constexpr std::int64_t kStart = 1704067200;

  for (const std::uint32_t dataId : PointsOf(PointType::kAcc)) {
    const double first = SignalValue(dataId, kStart);

    EXPECT_EQ(SignalValue(dataId, 0), first);
    EXPECT_GE(first, 0);
    EXPECT_LE(first, 99'999);
  }
}

TEST(AnalogInputSignal, IsASineForSomePointsAndARampForOthers) {
  int ramps = 0;

  for (const std::uint32_t dataId : PointsOf(PointType::kAi)) {
    // A ramp rises evenly and falls at once: nearly all of its steps go up.
    const auto values = DayOf(dataId, 10);
    std::size_t rises = 0;
    for (std::size_t i = 1; i < values.size(); ++i) rises += values[i] > values[i - 1] ? 1U : 0U;
    if (rises * 10 > values.size() * 8) ++ramps;
  }

  EXPECT_GT(ramps, 0);
  EXPECT_LT(ramps, static_cast<int>(kNodes) / 2);
}

TEST(AnalogInputSignal, IsWhatAnIdentifierWithoutTypeGets) {
  const SignalRange range = AnalogRange(0x01030901);

  const auto values = DayOf(0x01030901, 61);

  EXPECT_GE(std::ranges::min(values), range.low);
  EXPECT_LE(std::ranges::max(values), range.high);
  EXPECT_NE(std::ranges::min(values), std::ranges::max(values));
}

TEST(Signals, DifferFromPointToPoint) {
  std::set<double> values;

  for (const std::uint32_t dataId : PointsOf(PointType::kAi)) {
    values.insert(SignalValue(dataId, kNoon));
  }

  EXPECT_GE(values.size(), kNodes - 2U);
}

TEST(Signals, HaveValuesBefore1970Too) {
  const std::uint32_t input = DataIdOf(1, 3, PointType::kAi, 1);
  const SignalRange range = AnalogRange(input);

  for (std::int64_t t = -kDay; t < kDay; t += 37) {
    ASSERT_GE(SignalValue(input, t), range.low) << t;
    ASSERT_LE(SignalValue(input, t), range.high) << t;
  }
}

}  // namespace
