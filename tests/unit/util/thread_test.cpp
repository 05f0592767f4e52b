// Starting threads.
#include "util/thread.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

#include "support/faults.h"
#include "support/threads.h"

namespace {

constexpr pthread_t kNobody = 0;

void* PassBack(void* argument) {
  return argument;
}

void* MeasureStack(void* bytes) {
  pthread_attr_t attributes{};
  pthread_getattr_np(pthread_self(), &attributes);
  pthread_attr_getstacksize(&attributes, static_cast<std::size_t*>(bytes));
  pthread_attr_destroy(&attributes);
  return nullptr;
}

void* RaiseFlag(void* flag) {
  static_cast<std::atomic<bool>*>(flag)->store(true);
  static_cast<std::atomic<bool>*>(flag)->notify_one();
  return nullptr;
}

TEST(StartThread, RunsTheEntryWithItsArgument) {
  pthread_t id = kNobody;
  int errorCode = -1;
  int argument = 0;

  const auto result =
      util::StartThread(&id, util::DetachState::kJoinable, PassBack, &argument, &errorCode);

  EXPECT_EQ(result, util::StartResult::kDone);
  EXPECT_EQ(errorCode, 0);
  ASSERT_NE(id, kNobody);
  void* passedBack = nullptr;
  EXPECT_EQ(pthread_join(id, &passedBack), 0);
  EXPECT_EQ(passedBack, &argument);
}

TEST(StartThread, GivesAJoinableThreadAStackOfTwoMebibytes) {
  pthread_t id = kNobody;
  int errorCode = -1;
  std::size_t stackBytes = 0;

  util::StartThread(&id, util::DetachState::kJoinable, MeasureStack, &stackBytes, &errorCode);

  ASSERT_NE(id, kNobody);
  pthread_join(id, nullptr);
  EXPECT_GE(stackBytes, 0x200000U);
  EXPECT_EQ(test::LatestThread().stackBytes, 0x200000U);
  EXPECT_FALSE(test::LatestThread().detached);
}

TEST(StartThread, DetachesOnDemandWithTheSameStack) {
  pthread_t id = kNobody;
  int errorCode = -1;
  static std::atomic<bool> hasRun;  // outlives a thread that nobody joins
  hasRun = false;

  util::StartThread(&id, util::DetachState::kDetached, RaiseFlag, &hasRun, &errorCode);

  EXPECT_TRUE(test::LatestThread().detached);
  EXPECT_EQ(test::LatestThread().stackBytes, 0x200000U);
  hasRun.wait(false);
}

TEST(StartThread, SaysWhyThereIsNoThread) {
  pthread_t id = kNobody;
  int errorCode = 0;
  test::FailNextThread();

  const auto result =
      util::StartThread(&id, util::DetachState::kJoinable, PassBack, nullptr, &errorCode);

  EXPECT_EQ(result, util::StartResult::kDone);
  EXPECT_EQ(errorCode, EAGAIN);
  EXPECT_EQ(id, kNobody);
}

TEST(StartThread, LeavesAnEarlierThreadsIdWhereThereIsNoNewOne) {
  pthread_t id = pthread_self();
  int errorCode = 0;
  test::FailNextThread();

  util::StartThread(&id, util::DetachState::kJoinable, PassBack, nullptr, &errorCode);

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
