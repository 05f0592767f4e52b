// The workers' clock.
#include "schedule/workertime.h"

#include <gmock/gmock.h>

#include "schedule/workers.h"
#include "workerfixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using std::chrono::seconds;
using test::Pause;

class WorkerTime : public test::GatewayTest {};

TEST_F(WorkerTime, SleepsToTheNextMultipleOfTheInterval) {
  const struct {
    std::time_t now;
    std::int32_t interval;
    int pause;
  } rows[] = {{1200, 300, 300},
              {1201, 300, 299},
              {1199, 300, 1},
              {1350, 300, 150},
              {1200, 1, 1},
              {1000, 7, 1},
              {86400 * 5 + 1, 86400, 86399},
              {0x80000001, 600, 600 - 0x80000001 % 600}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.now) + " s, every " + std::to_string(row.interval) + " s");
    test::SetTime(row.now);
    test::ForgetPauses();

    SleepToBoundary(row.interval);

    EXPECT_THAT(test::Pauses(), ElementsAre(Pause(seconds(row.pause))));
  }
}

TEST_F(WorkerTime, TakesTheBoundaryBehindWhenThatIsTheNearest) {
  const struct {
    std::time_t now;
    std::int32_t interval;
    std::time_t boundary;
  } rows[] = {{1200, 300, 1200}, {1201, 300, 1200}, {1349, 300, 1200},
              {1200, 1, 1200},   {610, 61, 610},    {640, 61, 610}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.now) + " s, every " + std::to_string(row.interval) + " s");
    test::SetTime(row.now);

    EXPECT_EQ(AwaitNearestBoundary(row.interval), row.boundary);
    EXPECT_THAT(test::Pauses(), IsEmpty());
  }
}

TEST_F(WorkerTime, SleepsToTheBoundaryAheadWhenThatIsTheNearestOrAsNear) {
  const struct {
    std::time_t now;
    std::int32_t interval;
    int pause;
    std::time_t boundary;
  } rows[] = {
      {1350, 300, 150, 1500}, {1351, 300, 149, 1500}, {1499, 300, 1, 1500}, {641, 61, 30, 671}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.now) + " s, every " + std::to_string(row.interval) + " s");
    test::SetTime(row.now);
    test::ForgetPauses();

    EXPECT_EQ(AwaitNearestBoundary(row.interval), row.boundary);
    EXPECT_THAT(test::Pauses(), ElementsAre(Pause(seconds(row.pause))));
  }
}

class EveryWorker : public test::WorkerTest, public ::testing::WithParamInterface<test::Worker> {};

TEST_P(EveryWorker, ReadsItsIntervalAgainInEveryCycle) {
  m_cloud.Answer(test::Granted());
  std::int32_t interval = 60;

  test::RunThroughRests(GetParam(), interval, {[&] { interval = 36000; }, [] {}});

  EXPECT_GT(test::Pauses().back(), std::chrono::hours(9));
}

INSTANTIATE_TEST_SUITE_P(Workers, EveryWorker,
                         ::testing::Values(HandleRealData, HandleRealAlarm, HandleHeart, HandleFail,
                                           HandleRecall));

}  // namespace
