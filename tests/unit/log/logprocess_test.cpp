// The stores from the first message to the end of the process, and the log database that cannot be
// opened: its queue stays locked for good, deliberately, and the process goes on without it. Every
// check runs in a process of its own.
#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "fixture.h"
#include "log/log.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logfiles.h"
#include "support/threads.h"

// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" {
int __real_sched_yield();
int __wrap_sched_yield();
}

namespace {

using namespace test;
using ::testing::ElementsAre;

const auto kRight = ::testing::ExitedWithCode(EXIT_SUCCESS);

// Ends the process as it ends in the field, with the destructors of the stores.
[[noreturn]] void EndWith(bool isRight) {
  alarm(30);  // a deadline for a broken process, never waited for
  std::exit(isRight ? EXIT_SUCCESS : EXIT_FAILURE);
}

std::atomic<bool> g_isReached = false;
std::atomic<bool> g_isEndAwaited = false;

void Reach(std::atomic<bool>& point) {
  point = true;
  point.notify_all();
}

// Runs a record thread that stops in `call`, does `hook` once the end of the process waits for its
// batch, and goes on. Returns when the thread has come to the call.
template <typename Store>
void HoldBatchUntilTheEnd(Call call, void (*hook)()) {
  std::thread([call, hook] {
    AtNextCall(call, [hook] {
      Reach(g_isReached);
      g_isEndAwaited.wait(false);
      hook();
    });
    Store::RecordThread(&Store::Instance());
  }).detach();
  g_isReached.wait(false);
}

// Nothing is known of the stores yet.
class LogProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Empty("/tmp/CloudLog");
  }
};

TEST_F(LogProcess, MakesAStoreAtItsFirstMessage) {
  const auto check = [](auto write, ThreadEntry thread) {
    write(DEBUG, "dropped");
    if (!ThreadsMade().empty()) return false;
    write(INFO, "first");
    const auto making = LatestThread();
    return ThreadsMade() == std::vector<ThreadEntry>{thread} && making.detached &&
           making.stackBytes == 0x200000 && AwaitParked(thread, 1);
  };

  EXPECT_EXIT(EndWith(check(log_Text, CLogTxt::RecordThread)), kRight, "");
  EXPECT_EXIT(EndWith(check(log_DB, CLogDatabase::RecordThread)), kRight, "");
}

TEST_F(LogProcess, TakesMessagesSilentlyWithoutAThread) {
  const auto check = [](auto write) {
    std::filesystem::remove("/tmp/CloudLog");
    FailNextThread();
    testing::internal::CaptureStdout();
    return write(INFO, "first") == 1 && write(INFO, "second") == 1 && ThreadsMade().size() == 1 &&
           !Exists("/tmp/CloudLog") && testing::internal::GetCapturedStdout().empty();
  };

  EXPECT_EXIT(EndWith(check(log_Text)), kRight, "^$");
  EXPECT_EXIT(EndWith(check(log_DB)), kRight, "^$");
}

TEST_F(LogProcess, MakesTheDatabaseStoreFirstAndDiscardsUnwrittenMessagesAtTheEnd) {
  const auto check = [] {
    log_init(0);
    const std::vector<ThreadEntry> both{CLogDatabase::RecordThread, CLogTxt::RecordThread};
    if (ThreadsMade() != both) return false;
    for (const auto thread : both) {
      if (!AwaitParked(thread, 1)) return false;
    }
    log_Text(INFO, "unwritten");
    log_DB(INFO, "unwritten");
    return true;
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");

  EXPECT_TRUE(List("/tmp/CloudLog").empty());
}

// The retention comes last in a batch, when the queue is free again.
TEST_F(LogProcess, EndsOnlyAfterABatchThatIsUnderWay) {
  const auto check = [] {
    SetTime(LocalTimeOf(2024, 11, 30, 12));
    for (int day = 1; day < 30; ++day) {
      WriteFile(util::Format("/tmp/CloudLog/11%02d_log.txt", day), "");
    }
    log_init(0);
    if (!AwaitParked(CLogTxt::RecordThread, 1)) return false;
    log_Text(INFO, "first");
    log_Text(INFO, "second");
    HoldBatchUntilTheEnd<CLogTxt>(Call::kUnlink, [] {});
    return true;
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");

  EXPECT_THAT(OfLevel(ReadTextLog(), "INFO"), ElementsAre("first", "second"));
  EXPECT_FALSE(Exists("/tmp/CloudLog/1101_log.txt"));
}

void PlaceDirectoryForTheDatabase() {
  std::filesystem::create_directories(kLogDatabase);
}

class Lockout : public LogDatabaseTest {
 protected:
  Lockout() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(Lockout, KeepsTheRecordsAndReportsWhatCannotBeOpened) {
  const auto check = [this](void (*place)(), const std::string& printed) {
    place();
    testing::internal::CaptureStdout();
    const int result = Write({"first", "second"});
    return testing::internal::GetCapturedStdout() == printed && result == -1 && queue.size() == 2;
  };

  const auto placeFileForTheDirectory = [] { WriteFile("/tmp/CloudLog", "in the way"); };
  EXPECT_EXIT(EndWith(check(placeFileForTheDirectory, "")), kRight, "");
  EXPECT_EXIT(EndWith(check(PlaceDirectoryForTheDatabase,
                            "Open database(/tmp/CloudLog/Cloudlog.db) failed: unable to open "
                            "database file\n")),
              kRight, "");
}

TEST_F(Lockout, HoldsALaterCallerAndItsOwnThreadForGoodButNotTheTextLog) {
  const auto check = [] {
    PlaceDirectoryForTheDatabase();
    log_DB(INFO, "message");
    ResumeThreads(CLogDatabase::RecordThread);
    if (!AwaitParked(CLogDatabase::RecordThread, 1)) return false;
    std::filesystem::remove_all("/tmp/CloudLog");
    ResumeThreads(CLogDatabase::RecordThread);
    const Caller caller([] { log_DB(INFO, "next"); });
    if (!caller.Waits() || Exists("/tmp/CloudLog")) return false;
    log_Text(INFO, "next");
    ResumeThreads(CLogTxt::RecordThread);
    return AwaitParked(CLogTxt::RecordThread, 1) && !ReadTextLog().empty() &&
           ParkedThreads(CLogDatabase::RecordThread) == 0;
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

TEST_F(Lockout, LetsTheProcessEndThatIsAboutToRunIntoIt) {
  const auto check = [] {
    log_DB(INFO, "message");
    HoldBatchUntilTheEnd<CLogDatabase>(Call::kSqliteOpen, PlaceDirectoryForTheDatabase);
    return true;
  };

  EXPECT_EXIT(EndWith(check()), kRight, "");
}

}  // namespace

// A store that waits for its batch at the end of the process calls this again and again.
int __wrap_sched_yield() {
  Reach(g_isEndAwaited);
  return __real_sched_yield();
}
// NOLINTEND(*-reserved-identifier,cert-dcl*)
