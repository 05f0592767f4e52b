// The workers' clock.
#include "schedule/workertime.h"

#include <gmock/gmock.h>

#include "support/clock.h"
#include "support/faults.h"
#include "support/gateway.h"

using ::testing::ElementsAre;

namespace {

using test::LocalTimeOf;
using test::Pause;

struct Boundary {
  const char* name;
  std::time_t now;
  std::int32_t interval;
  int pause;
};

void PrintTo(const Boundary& boundary, std::ostream* out) {
  *out << boundary.now << " s, every " << boundary.interval << " s";
}

class NextBoundary : public test::GatewayTest, public ::testing::WithParamInterface<Boundary> {};

TEST_P(NextBoundary, IsAMultipleOfTheIntervalCountedFromTheEpoch) {
  test::SetTime(GetParam().now);

  SleepToBoundary(GetParam().interval);

  EXPECT_THAT(test::Pauses(), ElementsAre(Pause(std::chrono::seconds(GetParam().pause))));
}

INSTANTIATE_TEST_SUITE_P(
    Times, NextBoundary,
    ::testing::Values(Boundary{"OnIt", 1200, 300, 300}, Boundary{"JustBehindIt", 1201, 300, 299},
                      Boundary{"JustBeforeIt", 1199, 300, 1}, Boundary{"Midway", 1350, 300, 150},
                      Boundary{"EverySecond", 1200, 1, 1}, Boundary{"Odd", 1000, 7, 1},
                      Boundary{"AWholeDay", 86400 * 5 + 1, 86400, 86399},
                      Boundary{"Behind2038", 0x80000001, 600, 600 - 0x80000001 % 600},
                      Boundary{"LongestInterval", 1, 32767, 32766}),
    [](const auto& test) { return test.param.name; });

class DayDirectory : public test::GatewayTest {};

TEST_F(DayDirectory, IsTheDayOfTheMonthInLocalTime) {
  EXPECT_EQ(DayOfMonth(LocalTimeOf(2024, 3, 7, 0, 0, 0)), 7);
  EXPECT_EQ(DayOfMonth(LocalTimeOf(2024, 3, 7, 23, 59, 59)), 7);
  EXPECT_EQ(DayOfMonth(LocalTimeOf(2024, 2, 29, 12)), 29);
  EXPECT_EQ(DayOfMonth(LocalTimeOf(2024, 12, 31, 23, 59, 59)), 31);
  EXPECT_EQ(DayOfMonth(LocalTimeOf(2025, 1, 1)), 1);
}

TEST_F(DayDirectory, IsZeroForATimeThatIsNone) {
  test::FailCalls(test::Call::kLocaltime);

  EXPECT_EQ(DayOfMonth(LocalTimeOf(2024, 3, 7)), 0);
}

}  // namespace
