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

TEST(StartThread, RunsTheEntryWithItsArgumentAndStack) {
  pthread_t id = kNobody;
  int errorCode = -1;
  int argument = 0;

  const auto result =
      util::StartThread(&id, util::DetachState::kJoinable, PassBack, &argument, &errorCode);

  EXPECT_EQ(result, util::StartResult::kDone);
  EXPECT_EQ(errorCode, 0);
  EXPECT_FALSE(test::LatestThread().detached);
  EXPECT_EQ(test::LatestThread().stackBytes, kStackBytes);
  ASSERT_NE(id, kNobody);
  void* passedBack = nullptr;
  EXPECT_EQ(pthread_join(id, &passedBack), 0);
  EXPECT_EQ(passedBack, &argument);
}

TEST(StartThread, DetachesOnDemandWithTheSameStack) {
  pthread_t id = kNobody;
  int errorCode = -1;
  static std::atomic<bool> hasRun;  // outlives a thread that nobody joins
  hasRun = false;

  util::StartThread(&id, util::DetachState::kDetached, RaiseFlag, &hasRun, &errorCode);

  EXPECT_TRUE(test::LatestThread().detached);
  EXPECT_EQ(test::LatestThread().stackBytes, kStackBytes);
  hasRun.wait(false);
}

TEST(StartThread, KeepsTheIdAndTellsWhyWhenThereIsNoThread) {
  pthread_t id = pthread_self();
  int errorCode = 0;
  test::FailNextThread();

  const auto result =
      util::StartThread(&id, util::DetachState::kJoinable, PassBack, nullptr, &errorCode);

  EXPECT_EQ(result, util::StartResult::kDone);
  EXPECT_EQ(errorCode, EAGAIN);
  EXPECT_EQ(id, pthread_self());
}

TEST(StartThread, CreatesNothingWithoutItsDetachState) {
  pthread_t id = kNobody;
  int errorCode = 0;
  test::ForgetThreads();
  test::FailCalls(test::Call::kSetDetachState);

  const auto result =
      util::StartThread(&id, util::DetachState::kJoinable, PassBack, nullptr, &errorCode);

  EXPECT_EQ(result, util::StartResult::kNoDetachState);
  EXPECT_EQ(errorCode, EINVAL);
  EXPECT_THAT(test::ThreadsMade(), ::testing::IsEmpty());
}

}  // namespace
