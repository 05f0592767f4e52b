// The log database cannot be made or opened: its queue stays locked for good, deliberately, and the
// process goes on without it. Each in a process of its own, which it leaves spoilt.
#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <thread>

#include "caller.h"
#include "calltap.h"
#include "databasefixture.h"
#include "log/log.h"
#include "log/logtxt.h"
#include "support/threads.h"

namespace {

using test::Node;

constexpr unsigned kPatienceSeconds = 30;  // a deadline for a broken process, never waited for
constexpr std::chrono::milliseconds kUntilTheEndHasBegun{100};

struct ObstacleRow {
  const char* name;
  void (*place)();
  const char* printed;
};

void PrintTo(const ObstacleRow& row, std::ostream* out) {
  *out << row.name;
}

void PlaceFileForTheDirectory() {
  test::WriteFile("/tmp/CloudLog", "in the way");
}

void PlaceDirectoryForTheDatabase() {
  test::WriteFile("/tmp/CloudLog/Cloudlog.db/in the way", "");
}

class Lockout : public test::LogDatabaseTest, public ::testing::WithParamInterface<ObstacleRow> {
 protected:
  void SetUp() override {
    LogDatabaseTest::SetUp();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
  }
  void TearDown() override {
    std::filesystem::remove_all("/tmp/CloudLog");
    LogDatabaseTest::TearDown();
  }

  // Ends the process as it ends in the field, with the destructors of the stores.
  [[noreturn]] static void EndWith(bool isRight) {
    alarm(kPatienceSeconds);
    std::exit(isRight ? EXIT_SUCCESS : EXIT_FAILURE);
  }
  // The record thread takes a message to the obstacle and comes back to its pause.
  static bool RunIntoObstacle() {
    GetParam().place();
    log_DB(INFO, "message");
    test::ResumeThreads(CLogDatabase::RecordThread);
    return test::AwaitParked(CLogDatabase::RecordThread, 1);
  }
};

const auto kRight = ::testing::ExitedWithCode(EXIT_SUCCESS);

INSTANTIATE_TEST_SUITE_P(
    Obstacles, Lockout,
    ::testing::Values(ObstacleRow{"a file in the directory's place", PlaceFileForTheDirectory, ""},
                      ObstacleRow{"a directory in the database's place",
                                  PlaceDirectoryForTheDatabase,
                                  "Open database(/tmp/CloudLog/Cloudlog.db) failed: unable to "
                                  "open database file\n"}));

TEST_P(Lockout, FailsWithItsMessageAndKeepsTheRecords) {
  const auto check = [this] {
    GetParam().place();
    queue = {Node("first"), Node("second")};
    testing::internal::CaptureStdout();
    const int result = Write();
    return testing::internal::GetCapturedStdout() == GetParam().printed && result == -1 &&
           queue.size() == 2;
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_P(Lockout, HoldsEveryLaterCaller) {
  const auto check = [] {
    if (!RunIntoObstacle()) return false;
    const test::Caller first([] { log_DB(INFO, "next"); });
    const test::Caller second([] { log_DB(ERROR, "next but one"); });
    return first.Waits() && second.Waits();
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_P(Lockout, HoldsItsOwnThread) {
  const auto check = [] {
    if (!RunIntoObstacle()) return false;
    test::ResumeThreads(CLogDatabase::RecordThread);
    const test::Caller caller([] { log_DB(INFO, "next"); });
    return caller.Waits() && test::ParkedThreads(CLogDatabase::RecordThread) == 0;
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_P(Lockout, StaysAlsoWhenTheObstacleIsGone) {
  const auto check = [] {
    if (!RunIntoObstacle()) return false;
    std::filesystem::remove_all("/tmp/CloudLog");
    test::ResumeThreads(CLogDatabase::RecordThread);
    const test::Caller caller([] { log_DB(INFO, "next"); });
    return caller.Waits() && !test::Exists("/tmp/CloudLog");
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_P(Lockout, LeavesTheTextLogAlone) {
  const auto check = [] {
    if (!RunIntoObstacle()) return false;
    std::filesystem::remove_all("/tmp/CloudLog");
    log_Text(INFO, "next");
    test::ResumeThreads(CLogTxt::RecordThread);
    return test::AwaitParked(CLogTxt::RecordThread, 1) &&
           test::Exists("/tmp/CloudLog/0307_log.txt");
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_P(Lockout, LetsTheProcessEndThatIsAboutToRunIntoIt) {
  static std::atomic<bool> isAtTheDirectory;
  static std::atomic<bool> isEnding;
  const auto check = [] {
    test::AtNext(test::Tapped::kMkdir, [] {
      isAtTheDirectory = true;
      isAtTheDirectory.notify_one();
      isEnding.wait(false);
      std::this_thread::sleep_for(kUntilTheEndHasBegun);
      GetParam().place();
    });
    log_DB(INFO, "message");
    test::ResumeThreads(CLogDatabase::RecordThread);
    isAtTheDirectory.wait(false);
    isEnding = true;
    isEnding.notify_one();
    return true;
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

}  // namespace
