// The text log: what a day's file holds, and what happens when it cannot be written.
#include "log/logtxt.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "fixture.h"
#include "log/log.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logs.h"
#include "util/file.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::chrono_literals;

constexpr char kTodaysFile[] = "/tmp/CloudLog/0307_log.txt";
const std::string kHead = "2024-03-06 23:59:58 logType:INFO\n ";

class TextLogStore : public test::TextLogTest {};

TEST_F(TextLogStore, AppendsEachRecordAsAHeadAndAnIndentedMessage) {
  EXPECT_EQ(Write({"first", "line feed at the end\n", "line feed\ninside"}), 0);
  EXPECT_THAT(queue, IsEmpty());
  EXPECT_EQ(Write({"100%n %s %d", ""}), 0);

  EXPECT_EQ(test::ReadFile(kTodaysFile), kHead + "first\n" + kHead + "line feed at the end\n\n" +
                                             kHead + "line feed\ninside\n" + kHead +
                                             "100%n %s %d\n" + kHead + "\n");
}

TEST_F(TextLogStore, CutsARecordAt2047BytesWithItsHeadAndLineFeed) {
  const std::string longest(2047 - kHead.size() - 1, 'x');

  Write({longest, longest + "y", longest + "yz", "next"});

  EXPECT_EQ(test::ReadFile(kTodaysFile), kHead + longest + "\n" + kHead + longest + "y" + kHead +
                                             longest + "y" + kHead + "next\n");
}

TEST_F(TextLogStore, CreatesAFileThatOnlyItsOwnerMayReadInAPublicDirectory) {
  const mode_t mask = umask(0);
  Write({"message"});
  umask(mask);

  struct stat status {};
  ASSERT_EQ(stat(kTodaysFile, &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0400U);
  ASSERT_EQ(stat("/tmp/CloudLog", &status), 0);
  EXPECT_EQ(status.st_mode, S_IFDIR | 0755U);
}

TEST_F(TextLogStore, TouchesNothingForAnEmptyQueue) {
  EXPECT_EQ(Write(), -1);

  EXPECT_FALSE(test::Exists("/tmp/CloudLog"));
}

TEST_F(TextLogStore, NamesItsFileAfterTheMonthAndDayOfTheWriting) {
  test::SetTime(test::LocalTimeOf(2025, 1, 1, 0, 0, 0));
  Write({"message"});
  test::SetTime(test::LocalTimeOf(2025, 11, 15, 23, 59, 59));
  Write({"message"});

  EXPECT_THAT(test::List("/tmp/CloudLog"), ElementsAre("0101_log.txt", "1115_log.txt"));
}

TEST_F(TextLogStore, StampsARecordWithTheMomentOfTheCall) {
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 4, 5, 6));
  store.InsertLog("ABCDEFGHIJKLM", "the level is cut to its field");
  test::SetTime(test::LocalTimeOf(2024, 3, 8, 0, 0, 1));

  EXPECT_TRUE(test::FlushLogs());

  EXPECT_EQ(test::ReadFile("/tmp/CloudLog/0308_log.txt"),
            "2024-03-07 04:05:06 logType:ABCDEFGHIJK\n the level is cut to its field\n");
}

struct Obstacle {
  const char* name;
  void (*place)();
};

class BlockedTextLog : public TextLogStore, public ::testing::WithParamInterface<Obstacle> {};

INSTANTIATE_TEST_SUITE_P(
    Obstacles, BlockedTextLog,
    ::testing::Values(Obstacle{"DirectoryForTheFile", [] { fs::create_directories(kTodaysFile); }},
                      Obstacle{"LinkForTheFile",
                               [] {
                                 fs::create_directories("/tmp/CloudLog");
                                 fs::create_symlink("/tmp/target", kTodaysFile);
                               }},
                      Obstacle{"FileForTheDirectory",
                               [] { test::WriteFile("/tmp/CloudLog", "in the way"); }}),
    [](const auto& row) { return row.param.name; });

TEST_P(BlockedTextLog, KeepsItsRecordsUntilTheFileCanBeOpened) {
  test::WriteFile("/tmp/target", "");
  GetParam().place();
  testing::internal::CaptureStdout();

  EXPECT_EQ(Write({"first", "second"}), -1);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Open /tmp/CloudLog/0307_log.txt failed\n");
  EXPECT_THAT(queue, SizeIs(2));
  EXPECT_EQ(test::ReadFile("/tmp/target"), "");
  EXPECT_EQ(store.Init(), 0);
  fs::remove_all("/tmp/CloudLog");
  EXPECT_EQ(Write(), 0);
  EXPECT_EQ(test::ReadFile(kTodaysFile), kHead + "first\n" + kHead + "second\n");
}

TEST_F(TextLogStore, LosesTheRecordsOfAFailingWriteAndGoesOn) {
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit full{0, before.rlim_max};  // no file of this process can grow, as on a full disk
  const auto previous = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &full);
  EXPECT_EQ(Write({"lost", "lost too"}), 0);
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, previous);

  EXPECT_EQ(Write({"next"}), 0);

  EXPECT_EQ(test::ReadFile(kTodaysFile), kHead + "next\n");
}

// A full pipe in the file's place stops the writing until somebody reads.
TEST_F(TextLogStore, LetsCallersWaitWhileItWrites) {
  store.Init();
  ASSERT_EQ(mkfifo(kTodaysFile, 0600), 0);
  const util::Descriptor pipe(open(kTodaysFile, O_RDWR | O_CLOEXEC));
  ASSERT_EQ(fcntl(pipe.Get(), F_SETPIPE_SZ, 4096), 4096);
  const test::Caller writer([this] {
    Write({std::string(2000, 'x'), std::string(2000, 'x'), std::string(2000, 'x')});
  });
  ASSERT_TRUE(writer.Waits());

  const test::Caller caller([] { log_Text(INFO, "message"); });

  EXPECT_TRUE(caller.Waits());
  char bytes[4096];
  EXPECT_GT(read(pipe.Get(), bytes, sizeof(bytes)), 0);
  EXPECT_TRUE(writer.Returns());
  EXPECT_TRUE(caller.Returns());
}

TEST_F(TextLogStore, LetsCallersThroughDuringTheRetention) {
  for (int day = 101; day < 120; ++day) {
    test::WriteFile(util::Format("/tmp/CloudLog/%04d_log.txt", day), "");
  }
  bool returns = false;
  test::AtNextCall(test::Call::kUnlink,
                   [&] { returns = test::Caller([] { log_Text(INFO, "message"); }).Returns(); });

  Write({"message"});

  EXPECT_TRUE(returns);
}

TEST_F(TextLogStore, WritesFirstAndThenSleepsFiveSecondsForEver) {
  log_Text(INFO, "message");
  bool isWrittenFirst = false;
  test::OnPause([&](test::Pause) {
    isWrittenFirst = test::Exists(kTodaysFile);
    if (test::Pauses().size() == 3) throw test::WorkerEnded{};
  });

  EXPECT_THROW(CLogTxt::RecordThread(&store), test::WorkerEnded);

  EXPECT_TRUE(isWrittenFirst);
  EXPECT_THAT(test::Pauses(), ElementsAre(5s, 5s, 5s));
}

}  // namespace
