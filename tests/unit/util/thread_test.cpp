#include "util/thread.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>

#include "support/faults.h"
#include "support/threads.h"

namespace {

constexpr pthread_t kNobody = 0;
constexpr std::size_t kStackBytes = 0x200000;

void* PassBack(void* argument) {
  return argument;
}

void* RaiseFlag(void* flag) {
  static_cast<std::atomic<bool>*>(flag)->store(true);
  static_cast<std::atomic<bool>*>(flag)->notify_one();
  return nullptr;
}

class StartThread : public ::testing::Test {
 protected:
  util::StartResult Start(util::DetachState state, void* (*entry)(void*), void* argument) {
    return util::StartThread(&id, state, entry, argument, &errorCode);
  }

  pthread_t id = kNobody;
  int errorCode = -1;
};

TEST_F(StartThread, RunsTheEntryWithItsArgumentAndStack) {
  int argument = 0;

  EXPECT_EQ(Start(util::DetachState::kJoinable, PassBack, &argument), util::StartResult::kDone);

  EXPECT_EQ(errorCode, 0);
  EXPECT_FALSE(test::LatestThread().detached);
  EXPECT_EQ(test::LatestThread().stackBytes, kStackBytes);
  ASSERT_NE(id, kNobody);
  void* passedBack = nullptr;
  EXPECT_EQ(pthread_join(id, &passedBack), 0);
  EXPECT_EQ(passedBack, &argument);
}

TEST_F(StartThread, DetachesOnDemandWithTheSameStack) {
  static std::atomic<bool> hasRun;  // outlives a thread that nobody joins
  hasRun = false;

  Start(util::DetachState::kDetached, RaiseFlag, &hasRun);

  EXPECT_TRUE(test::LatestThread().detached);
  EXPECT_EQ(test::LatestThread().stackBytes, kStackBytes);
  hasRun.wait(false);
}

TEST_F(StartThread, KeepsTheIdAndTellsWhyWhenThereIsNoThread) {
  id = pthread_self();
  test::FailNextThread();

  EXPECT_EQ(Start(util::DetachState::kJoinable, PassBack, nullptr), util::StartResult::kDone);

  EXPECT_EQ(errorCode, EAGAIN);
  EXPECT_EQ(id, pthread_self());
}

TEST_F(StartThread, CreatesNothingWithoutItsDetachState) {
  test::ForgetThreads();
  test::FailCalls(test::Call::kSetDetachState);

  EXPECT_EQ(Start(util::DetachState::kJoinable, PassBack, nullptr),
            util::StartResult::kNoDetachState);

  EXPECT_EQ(errorCode, EINVAL);
  EXPECT_THAT(test::ThreadsMade(), ::testing::IsEmpty());
}

}  // namespace
