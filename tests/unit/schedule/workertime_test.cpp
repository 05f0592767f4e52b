// The workers' clock.
#include "schedule/workertime.h"

#include <gtest/gtest.h>

#include "schedule/workers.h"
#include "workerfixture.h"

namespace {

class WorkerTime : public test::GatewayTest {
 protected:
  static void Begin(std::time_t now) {
    test::SetTime(now);
    test::ForgetPauses();
  }
};

TEST_F(WorkerTime, SleepsToTheNextMultipleOfTheInterval) {
  const struct {
    std::time_t now;
    std::int32_t interval;
    int pause;
  } rows[] = {{1200, 300, 300}, {1201, 300, 299}, {1199, 300, 1},
              {1200, 1, 1},     {1000, 7, 1},     {0x80000001, 600, 600 - 0x80000001 % 600}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.now);
    Begin(row.now);

    SleepToBoundary(row.interval);

    EXPECT_EQ(test::PausesText(), std::to_string(row.pause));
  }
}

TEST_F(WorkerTime, GivesTheNearestBoundaryAndSleepsToOneAhead) {
  const struct {
    std::time_t now;
    std::int32_t interval;
    std::time_t boundary;
    const char* pause;
  } rows[] = {{1200, 300, 1200, ""},    {1349, 300, 1200, ""},
              {1350, 300, 1500, "150"},  // exactly between two
              {1499, 300, 1500, "1"},   {1200, 1, 1200, ""},
              {640, 61, 610, ""},       {641, 61, 671, "30"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.now);
    Begin(row.now);

    EXPECT_EQ(AwaitNearestBoundary(row.interval), row.boundary);
    EXPECT_EQ(test::PausesText(), row.pause);
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
