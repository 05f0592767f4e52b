// The workers' clock.
#include "schedule/workertime.h"

#include <gtest/gtest.h>

#include "schedule/workers.h"
#include "workerfixture.h"

namespace {

std::string Trace(std::time_t now, std::int32_t interval) {
  return std::to_string(now) + " s, every " + std::to_string(interval) + " s";
}

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
    SCOPED_TRACE(Trace(row.now, row.interval));
    test::SetTime(row.now);
    test::ForgetPauses();

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
  } rows[] = {{1200, 300, 1200, ""},    {1201, 300, 1200, ""},  {1349, 300, 1200, ""},
              {1350, 300, 1500, "150"},  // exactly between two
              {1351, 300, 1500, "149"}, {1499, 300, 1500, "1"}, {1200, 1, 1200, ""},
              {640, 61, 610, ""},       {641, 61, 671, "30"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(Trace(row.now, row.interval));
    test::SetTime(row.now);
    test::ForgetPauses();

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
