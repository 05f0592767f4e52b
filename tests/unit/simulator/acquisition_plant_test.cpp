// The simulator's reading of the plant, its signals and its alarms.
#include "acquisition/plant.h"

#include <gmock/gmock.h>

#include <set>
#include <utility>

#include "acquisition/alarms.h"
#include "acquisition/signals.h"
#include "acquisition_fixture.h"

namespace {

using test::kNoon;

constexpr std::int64_t kHour = 3600;

using PlantReading = test::AcquisitionTest;

TEST_F(PlantReading, FindsEveryPointWithItsTypeNameAndUnit) {
  WriteSmallPlant();

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  std::vector<std::uint32_t> identifiers;
  for (const auto& [dataId, point] : plant->points) identifiers.push_back(dataId);
  EXPECT_THAT(identifiers, ::testing::ElementsAre(0x01030001, 0x01030002, 0x01030205, 0x01031123,
                                                  0x02040301, 0x0204B401));
  const PlantPoint& frequency = plant->points.at(0x0204B401);
  EXPECT_EQ(frequency.type, PointType::kAo);
  EXPECT_EQ(frequency.name, "Frequency");
  EXPECT_EQ(frequency.unit, "Hz");
}

// A constant signal would hide a value that the service does not read again.
TEST(Signals, ChangeWithTime) {
  for (const std::uint32_t dataId :
       {0x01030001U, 0x01030101U, 0x01030205U, 0x01030301U, 0x0204B401U}) {
    std::set<double> values;
    for (int hour = 0; hour < 24; ++hour) values.insert(SignalValue(dataId, kNoon + hour * kHour));
    EXPECT_GT(values.size(), 1U) << dataId;
  }
}

TEST(Alarms, TellWhenAnAnalogInputPassesALimit) {
  Plant plant;
  for (std::uint16_t node = 1; node <= 20; ++node) {
    const std::uint32_t dataId = DataIdOf(1, 3, PointType::kAi, node);
    plant.points[dataId].dataId = dataId;
  }
  std::set<std::pair<int, int>> kinds;

  for (const AlarmEvent& alarm : LatestAlarms(plant, kNoon, kHour, 100'000)) {
    const AlarmLimits limits = AlarmLimitsOf(alarm.dataId);
    const double sign = alarm.type == kAboveLimit ? 1 : -1;
    const double limit = alarm.type == kAboveLimit ? limits.high : limits.low;
    const double before = SignalValue(alarm.dataId, alarm.time - 1);
    EXPECT_EQ(alarm.threshold, limit);
    EXPECT_EQ(alarm.triggerValue, SignalValue(alarm.dataId, alarm.time));
    EXPECT_EQ(sign * (alarm.triggerValue - limit) > 0, alarm.upFlag == 1);
    EXPECT_NE(sign * (before - limit) > 0, alarm.upFlag == 1);
    kinds.emplace(alarm.type, alarm.upFlag);
  }

  EXPECT_EQ(kinds.size(), 4U);
}

}  // namespace
