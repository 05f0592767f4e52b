// The heartbeat worker.
#include <gmock/gmock.h>

#include "schedule/workers.h"
#include "workerfixture.h"

using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class HeartWorker : public test::WorkerTest {
 protected:
  std::int32_t m_interval = 600;
};

TEST_F(HeartWorker, AsksForTheAddressOnceAtEveryBoundary) {
  const auto expectNone = [this] { EXPECT_THAT(Requested(), IsEmpty()); };

  test::RunThroughRests(HandleHeart, m_interval, {expectNone, [] {}, [] {}});

  EXPECT_THAT(Requested(), SizeIs(2));
  EXPECT_THAT(Requested(), Each("EqpSkipAddress"));
}

TEST_F(HeartWorker, PausesOnlyToTheNextBoundaryAlsoWhenTheCloudFails) {
  test::RunToRest(HandleHeart, m_interval, 3);

  EXPECT_EQ(test::PausesText(), "590 600 600");
}

}  // namespace
