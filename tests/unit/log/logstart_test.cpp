// The first moments of the stores, each in a process of its own that knows nothing of them yet.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "calltap.h"
#include "log/log.h"
#include "log/logdatabase.h"
#include "log/logtxt.h"
#include "support/clock.h"
#include "support/files.h"
#include "support/logfiles.h"
#include "support/threads.h"

namespace {

using test::ThreadEntry;
using ::testing::ElementsAre;

constexpr std::size_t kTwoMebibytes = 0x200000;
constexpr std::chrono::milliseconds kUntilTheEndHasBegun{100};

class LogStart : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    test::Empty("/tmp/CloudLog");
  }

  // Runs the statements of a check and ends the process with what they say.
  [[noreturn]] static void EndWith(bool isRight) {
    std::exit(isRight ? EXIT_SUCCESS : EXIT_FAILURE);
  }
  // The store's thread is made, detached and with its stack.
  template <typename Store>
  static bool IsStarted() {
    const auto making = test::LatestThread();
    return test::ThreadsMade() == std::vector<ThreadEntry>{Store::RecordThread} &&
           making.detached && making.stackBytes == kTwoMebibytes &&
           test::AwaitParked(Store::RecordThread, 1);
  }
};

const auto kRight = ::testing::ExitedWithCode(EXIT_SUCCESS);

TEST_F(LogStart, MakesTheTextLogAtItsFirstMessage) {
  const auto check = [] {
    log_Text(INFO, "first");
    return IsStarted<CLogTxt>();
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_F(LogStart, MakesTheLogDatabaseAtItsFirstMessage) {
  const auto check = [] {
    log_DB(INFO, "first");
    return IsStarted<CLogDatabase>();
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_F(LogStart, MakesTheDatabaseStoreBeforeTheTextStore) {
  const auto check = [] {
    log_init(0);
    return test::ThreadsMade() ==
           std::vector<ThreadEntry>{CLogDatabase::RecordThread, CLogTxt::RecordThread};
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_F(LogStart, MakesNoStoreForADroppedMessage) {
  const auto check = [] {
    log_Text(DEBUG, "detail");
    log_DB(DEBUG, "detail");
    return test::ThreadsMade().empty();
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_F(LogStart, LeavesTheDirectoryToTheFirstWriteWithoutInit) {
  const auto check = [] {
    std::system("rmdir /tmp/CloudLog 2>/dev/null");
    test::FailNextThread();
    log_Text(INFO, "first");
    return !test::Exists("/tmp/CloudLog");
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_F(LogStart, TakesMessagesToTheTextLogWithoutItsThread) {
  const auto check = [] {
    test::FailNextThread();
    testing::internal::CaptureStdout();
    const unsigned first = log_Text(INFO, "first");
    const unsigned second = log_Text(INFO, "second");
    return first == 1 && second == 1 && test::ParkedThreads(CLogTxt::RecordThread) == 0 &&
           test::ThreadsMade().size() == 1 && testing::internal::GetCapturedStdout().empty();
  };

  EXPECT_EXIT(EndWith(check()), kRight, "^$");
}

TEST_F(LogStart, TakesMessagesToTheLogDatabaseWithoutItsThread) {
  const auto check = [] {
    test::FailNextThread();
    testing::internal::CaptureStdout();
    const unsigned first = log_DB(INFO, "first");
    const unsigned second = log_DB(INFO, "second");
    return first == 1 && second == 1 && test::ParkedThreads(CLogDatabase::RecordThread) == 0 &&
           test::ThreadsMade().size() == 1 && testing::internal::GetCapturedStdout().empty();
  };

  EXPECT_EXIT(EndWith(check()), kRight, "^$");
}

TEST_F(LogStart, DiscardsUnwrittenMessagesAtTheEnd) {
  const auto check = [] {
    log_init(0);
    const bool areParked = test::AwaitParked(CLogTxt::RecordThread, 1) &&
                           test::AwaitParked(CLogDatabase::RecordThread, 1);
    log_Text(INFO, "unwritten");
    log_DB(INFO, "unwritten");
    return areParked;
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");

  EXPECT_TRUE(test::List("/tmp/CloudLog").empty());
}

TEST_F(LogStart, EndsOnlyAfterABatchThatIsUnderWay) {
  static std::atomic<bool> isScanning;
  static std::atomic<bool> isEnding;
  const auto check = [] {
    test::SetTime(test::LocalTimeOf(2024, 11, 15, 12));
    for (const char* day : {"1110", "1111", "1112", "1113", "1114", "1115"}) {
      test::WriteFile(std::string("/tmp/CloudLog/") + day + "_log.txt", "");
    }
    log_init(0);
    const bool isParked = test::AwaitParked(CLogTxt::RecordThread, 1);
    // The retention comes last, when nobody needs to wait for the queue any more.
    test::AtNext(test::Tapped::kOpendir, [] {
      isScanning = true;
      isScanning.notify_one();
      isEnding.wait(false);
      std::this_thread::sleep_for(kUntilTheEndHasBegun);
    });
    log_Text(INFO, "first");
    log_Text(INFO, "second");
    test::ResumeThreads(CLogTxt::RecordThread);
    isScanning.wait(false);
    isEnding = true;
    isEnding.notify_one();
    return isParked;
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");

  EXPECT_THAT(test::OfLevel(test::ReadTextLog(), "INFO"), ElementsAre("first", "second"));
  EXPECT_THAT(
      test::List("/tmp/CloudLog"),
      ElementsAre("1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt", "1115_log.txt"));
}

}  // namespace
