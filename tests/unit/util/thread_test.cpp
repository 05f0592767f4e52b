#include "util/thread.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>

#include "support/faults.h"
#include "support/threads.h"

namespace {

using util::DetachState;
using util::StartResult;

constexpr std::size_t kStackBytes = 0x200000;

// Sets the flag and passes it back.
void* Raise(void* flag) {
  static_cast<std::atomic<bool>*>(flag)->store(true);
  static_cast<std::atomic<bool>*>(flag)->notify_one();
  return flag;
}

class StartThread : public ::testing::Test {
 protected:
  StartResult Start(DetachState state) {
    return util::StartThread(&id, state, Raise, &hasRun, &errorCode);
  }

  static inline std::atomic<bool> hasRun;  // outlives a thread that nobody joins
  pthread_t id = pthread_self();
  int errorCode = -1;
};

TEST_F(StartThread, RunsTheEntryWithItsArgumentAndStack) {
  EXPECT_EQ(Start(DetachState::kJoinable), StartResult::kDone);

  EXPECT_EQ(errorCode, 0);
  EXPECT_FALSE(test::LatestThread().detached);
  EXPECT_EQ(test::LatestThread().stackBytes, kStackBytes);
  ASSERT_NE(id, pthread_self());
  void* passedBack = nullptr;
  EXPECT_EQ(pthread_join(id, &passedBack), 0);
  EXPECT_EQ(passedBack, &hasRun);
}

TEST_F(StartThread, DetachesOnDemandWithTheSameStack) {
  hasRun = false;

  Start(DetachState::kDetached);

  EXPECT_TRUE(test::LatestThread().detached);
  EXPECT_EQ(test::LatestThread().stackBytes, kStackBytes);
  hasRun.wait(false);
}

TEST_F(StartThread, KeepsTheIdAndTellsWhyWhenThereIsNoThread) {
  test::FailNextThread();

  EXPECT_EQ(Start(DetachState::kJoinable), StartResult::kDone);

  EXPECT_EQ(errorCode, EAGAIN);
  EXPECT_EQ(id, pthread_self());
}

TEST_F(StartThread, CreatesNothingWithoutItsDetachState) {
  test::ForgetThreads();
  test::FailCalls(test::Call::kSetDetachState);

  EXPECT_EQ(Start(DetachState::kJoinable), StartResult::kNoDetachState);

  EXPECT_EQ(errorCode, EINVAL);
  EXPECT_THAT(test::ThreadsMade(), ::testing::IsEmpty());
}

}  // namespace
