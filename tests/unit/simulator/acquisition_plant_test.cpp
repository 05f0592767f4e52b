// The simulator's reading of the plant, its signals and its alarms.
#include "acquisition/plant.h"

#include <gmock/gmock.h>

#include "acquisition/alarms.h"
#include "acquisition/signals.h"
#include "acquisition_fixture.h"

namespace {

using test::kNoon;
using test::PlantOf;
using test::Points;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int64_t kHour = 3600;

using PlantReading = test::AcquisitionTest;

TEST(DataId, PacksChannelSlaveTypeAndNode) {
  EXPECT_EQ(DataIdOf(1, 3, PointType::kDi, 0x123), 0x01031123U);
  EXPECT_EQ(DataIdOf(2, 12, PointType::kAo, 0xB01), 0x020CB401U);
  EXPECT_EQ(DataIdOf(255, 200, PointType::kAcc, 0xFFFF), 0xFFC8F2FFU);
  EXPECT_EQ(TypeOf(0x01031123), PointType::kDi);
  EXPECT_EQ(TypeOf(0x020CB401), PointType::kAo);
  EXPECT_EQ(TypeOf(0x01030501), std::nullopt);
}

TEST_F(PlantReading, FindsEveryPointWithItsTypeNameAndUnit) {
  WriteSmallPlant();

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  std::vector<std::uint32_t> identifiers;
  for (const auto& [dataId, point] : plant->points) identifiers.push_back(dataId);
  EXPECT_THAT(identifiers,
              ElementsAre(0x01030001, 0x01030002, 0x01030205, 0x01031123, 0x02040301, 0x0204B401));
  const PlantPoint& frequency = plant->points.at(0x0204B401);
  EXPECT_EQ(frequency.dataId, 0x0204B401U);
  EXPECT_EQ(frequency.type, PointType::kAo);
  EXPECT_EQ(frequency.name, "Frequency");
  EXPECT_EQ(frequency.unit, "Hz");
  EXPECT_THAT(plant->unreadableDefinitions, IsEmpty());
}

// Written down once, so that a change of the signals is seen.
TEST(Signals, DependOnPointAndTimeAlone) {
  EXPECT_DOUBLE_EQ(SignalValue(0x01030001, kNoon), 58.343);
  EXPECT_DOUBLE_EQ(SignalValue(0x01030001, kNoon + 60), 70.142);
  EXPECT_DOUBLE_EQ(SignalValue(0x01030003, kNoon), 147.5);
  EXPECT_DOUBLE_EQ(SignalValue(0x01030205, kNoon), 966197.4);
  EXPECT_DOUBLE_EQ(SignalValue(0x01030205, 0), SignalValue(0x01030205, 1704067200));
  EXPECT_DOUBLE_EQ(SignalValue(0x0204B401, kNoon), 40.25);
  EXPECT_DOUBLE_EQ(SignalValue(0x0204B401, kNoon + kHour), 46.75);
}

std::vector<AlarmEvent> AlarmsOfAnHour(const Plant& plant) {
  std::vector<AlarmEvent> alarms;
  for (std::int64_t second = kNoon; second < kNoon + kHour; ++second) {
    const auto events = AlarmsAt(plant, second);
    alarms.insert(alarms.end(), events.begin(), events.end());
  }
  return alarms;
}

TEST(Alarms, TellWhenAnAnalogInputPassesALimit) {
  const auto alarms = AlarmsOfAnHour(PlantOf(Points(PointType::kAi, 20)));

  for (const AlarmEvent& alarm : alarms) {
    const AlarmLimits limits = AlarmLimitsOf(alarm.dataId);
    const double sign = alarm.type == kAboveLimit ? 1 : -1;
    const double limit = alarm.type == kAboveLimit ? limits.high : limits.low;
    const double before = SignalValue(alarm.dataId, alarm.time - 1);
    EXPECT_EQ(alarm.threshold, limit);
    EXPECT_EQ(alarm.triggerValue, SignalValue(alarm.dataId, alarm.time));
    EXPECT_EQ(sign * (alarm.triggerValue - limit) > 0, alarm.upFlag == 1);
    EXPECT_NE(sign * (before - limit) > 0, alarm.upFlag == 1);
  }
  for (const std::int32_t type : {kAboveLimit, kBelowLimit}) {
    for (const std::int32_t upFlag : {0, 1}) {
      EXPECT_THAT(alarms, Contains(::testing::AllOf(Field(&AlarmEvent::type, type),
                                                    Field(&AlarmEvent::upFlag, upFlag))));
    }
  }
  EXPECT_THAT(AlarmsOfAnHour(PlantOf({0x01030205, 0x02040301, 0x0204B401})), IsEmpty());
}

TEST(Alarms, GiveTheLatestOfASpan) {
  const Plant plant = PlantOf(Points(PointType::kDi, 20));
  const auto all = AlarmsOfAnHour(plant);
  const std::vector<AlarmEvent> last(all.end() - 20, all.end());

  EXPECT_THAT(LatestAlarms(plant, kNoon + kHour - 1, kHour, 20), ElementsAreArray(last));
  EXPECT_THAT(LatestAlarms(plant, kNoon + kHour - 1, kHour, 100'000), ElementsAreArray(all));
}

}  // namespace
