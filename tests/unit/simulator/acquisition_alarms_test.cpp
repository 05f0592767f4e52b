// The alarms of the plant: true to its signals, and as many as are asked for.
#include "acquisition/alarms.h"

#include <gmock/gmock.h>

#include <ostream>

#include "acquisition/signals.h"
#include "acquisition_card_fixture.h"

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAreArray;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 24 * kHour;

std::vector<AlarmEvent> AlarmsOfAnHour(const Plant& plant) {
  std::vector<AlarmEvent> alarms;
  for (std::int64_t second = test::kNoon; second < test::kNoon + kHour; ++second) {
    const auto events = AlarmsAt(plant, second);
    alarms.insert(alarms.end(), events.begin(), events.end());
  }
  return alarms;
}

MATCHER(IsAFlip, "") {
  const double now = SignalValue(arg.dataId, arg.time);
  return now != SignalValue(arg.dataId, arg.time - 1) && arg.triggerValue == now &&
         arg.upFlag == (now == 1 ? 1 : 0) && arg.threshold == 1 && arg.type == kAboveLimit;
}

MATCHER(PassesItsLimit, "") {
  const AlarmLimits limits = AlarmLimitsOf(arg.dataId);
  const bool high = arg.type == kAboveLimit;
  const double limit = high ? limits.high : limits.low;
  const auto beyond = [high, limit](double value) { return high ? value > limit : value < limit; };
  const double before = SignalValue(arg.dataId, arg.time - 1);
  return arg.threshold == limit && arg.triggerValue == SignalValue(arg.dataId, arg.time) &&
         beyond(arg.triggerValue) == (arg.upFlag == 1) &&
         beyond(before) != beyond(arg.triggerValue);
}

TEST(Alarms, OfDigitalInputsAreTheirFlips) {
  const auto alarms = AlarmsOfAnHour(test::PlantOf(test::Points(PointType::kDi, 20)));

  EXPECT_THAT(alarms, SizeIs(testing::Ge(20U * 12U)));  // one in 300 s at least
  EXPECT_THAT(alarms, Each(IsAFlip()));
}

TEST(Alarms, OfAnalogInputsAreRaisedAndClearedAtBothLimits) {
  const auto alarms = AlarmsOfAnHour(test::PlantOf(test::Points(PointType::kAi, 20)));

  EXPECT_THAT(alarms, Each(PassesItsLimit()));
  for (const std::int32_t type : {kAboveLimit, kBelowLimit}) {
    for (const std::int32_t upFlag : {0, 1}) {
      EXPECT_THAT(alarms, Contains(testing::AllOf(Field(&AlarmEvent::type, type),
                                                  Field(&AlarmEvent::upFlag, upFlag))));
    }
  }
}

TEST(Alarms, AreRaisedAndClearedByTurns) {
  const auto alarms = AlarmsOfAnHour(test::PlantOf({0x01030001}));

  std::vector<std::int32_t> high;
  for (const AlarmEvent& alarm : alarms) {
    if (alarm.type == kAboveLimit) high.push_back(alarm.upFlag);
  }
  ASSERT_THAT(high, SizeIs(testing::Ge(2U)));
  for (std::size_t i = 1; i < high.size(); ++i) EXPECT_NE(high[i], high[i - 1]);
}

TEST(Alarms, StayWithinTheRangeOfTheSignal) {
  const SignalRange range = AnalogRange(0x01030001);

  const AlarmLimits limits = AlarmLimitsOf(0x01030001);

  EXPECT_LT(range.low, limits.low);
  EXPECT_LT(limits.low, limits.high);
  EXPECT_LT(limits.high, range.high);
}

TEST(Alarms, AreNoneForCountersCommandsAndSetpoints) {
  const Plant plant = test::PlantOf({0x01030205, 0x02040301, 0x0204B401});

  EXPECT_THAT(AlarmsOfAnHour(plant), IsEmpty());
}

TEST(Alarms, HaveAGradeFromOneToThree) {
  const auto alarms = AlarmsOfAnHour(test::PlantOf(test::Points(PointType::kDi, 20)));

  for (const std::int32_t grade : {1, 2, 3}) {
    EXPECT_THAT(alarms, Contains(Field(&AlarmEvent::grade, grade)));
  }
  EXPECT_THAT(alarms,
              Each(Field(&AlarmEvent::grade, testing::AllOf(testing::Ge(1), testing::Le(3)))));
}

TEST(LatestAlarms, AreTheLastOnesOfTheSpanInTheOrderOfTheirTime) {
  const Plant plant = test::PlantOf(test::Points(PointType::kDi, 20));
  const auto all = AlarmsOfAnHour(plant);
  const std::vector<AlarmEvent> expected(all.end() - 20, all.end());

  const auto latest = LatestAlarms(plant, test::kNoon + kHour - 1, kHour, 20);

  EXPECT_THAT(latest, ElementsAreArray(expected));
}

TEST(LatestAlarms, AreAllOfASpanThatHasNoMore) {
  const Plant plant = test::PlantOf({0x01031123});
  const auto all = AlarmsOfAnHour(plant);

  const auto latest = LatestAlarms(plant, test::kNoon + kHour - 1, kHour, 10'000);

  EXPECT_THAT(latest, ElementsAreArray(all));
}

class Burst : public testing::TestWithParam<std::size_t> {};

TEST_P(Burst, IsFoundInADayOfASinglePoint) {
  const Plant plant = test::PlantOf({0x01030001});

  const auto burst = LatestAlarms(plant, test::kNoon, kDay, GetParam());

  EXPECT_THAT(burst, SizeIs(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Rows, Burst, testing::Values(1, 20, 21, 41));

}  // namespace
