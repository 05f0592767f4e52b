// The heartbeat worker.
#include <gmock/gmock.h>

#include "schedule/workers.h"
#include "workerfixture.h"

using namespace testing;

namespace {

class HeartWorker : public test::WorkerTest {};

TEST_F(HeartWorker, AsksForTheAddressOnceAtEveryBoundaryAlsoWhenTheCloudFails) {
  std::int32_t interval = 600;
  const auto expectNone = [this] { EXPECT_THAT(Requested(), IsEmpty()); };

  test::RunThroughRests(HandleHeart, interval, {expectNone, [] {}, [] {}});

  EXPECT_THAT(Requested(), ElementsAre("EqpSkipAddress", "EqpSkipAddress"));
  EXPECT_EQ(test::PausesText(), "590 600 600");
}

}  // namespace
