// The text log: what a day's file holds, and what happens when it cannot be written.
#include "log/logtxt.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <list>
#include <optional>
#include <ostream>
#include <string>

#include "caller.h"
#include "calltap.h"
#include "log/log.h"
#include "support/clock.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "util/text.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::chrono_literals;

constexpr char kTodaysFile[] = "/tmp/CloudLog/0307_log.txt";

ST_TXT_LOG_NODE Node(const std::string& message, const std::string& level = "INFO") {
  ST_TXT_LOG_NODE node{};
  util::CopyText(node.date, "2024-03-06");
  util::CopyText(node.time, "23:59:58");
  util::CopyText(node.logType, level);
  util::CopyText(node.message, message);
  return node;
}

class TextLogStore : public test::GatewayTest {
 protected:
  int Write() { return store.WriteLog(&queue); }

  CLogTxt& store = Singleton<CLogTxt>::Instance();
  std::list<ST_TXT_LOG_NODE> queue;  // the test's own; the store has one more
};

TEST_F(TextLogStore, WritesARecordAsAHeadAndAnIndentedMessage) {
  queue = {Node("realdata timeinv = 300", "WARN")};

  const int result = Write();

  EXPECT_EQ(result, 0);
  EXPECT_EQ(test::ReadFile(kTodaysFile),
            "2024-03-06 23:59:58 logType:WARN\n realdata timeinv = 300\n");
}

TEST_F(TextLogStore, WritesTheRecordsFromTheFrontAndEmptiesTheQueue) {
  queue = {Node("first"), Node("second"), Node("third")};

  Write();

  EXPECT_THAT(queue, IsEmpty());
  EXPECT_EQ(test::ReadFile(kTodaysFile),
            "2024-03-06 23:59:58 logType:INFO\n first\n"
            "2024-03-06 23:59:58 logType:INFO\n second\n"
            "2024-03-06 23:59:58 logType:INFO\n third\n");
}

TEST_F(TextLogStore, LeavesAnEmptyLineAfterAMessageThatEndsInALineFeed) {
  queue = {Node("Brennik Init failed\n"), Node("next")};

  Write();

  EXPECT_EQ(test::ReadFile(kTodaysFile),
            "2024-03-06 23:59:58 logType:INFO\n Brennik Init failed\n\n"
            "2024-03-06 23:59:58 logType:INFO\n next\n");
}

TEST_F(TextLogStore, WritesALineFeedInsideAMessageAsItStands) {
  queue = {Node("one\ntwo")};

  Write();

  EXPECT_EQ(test::ReadFile(kTodaysFile), "2024-03-06 23:59:58 logType:INFO\n one\ntwo\n");
}

TEST_F(TextLogStore, WritesSignsOfFormatsAsTheyStand) {
  queue = {Node("100%n %s %d")};

  Write();

  EXPECT_EQ(test::ReadFile(kTodaysFile), "2024-03-06 23:59:58 logType:INFO\n 100%n %s %d\n");
}

TEST_F(TextLogStore, CutsARecordAt2047BytesWithItsHeadAndLineFeed) {
  const std::string head = "2024-03-06 23:59:58 logType:INFO\n ";
  queue = {Node(std::string(2046, 'x')), Node("next")};

  Write();

  EXPECT_EQ(test::ReadFile(kTodaysFile),
            head + std::string(2047 - head.size(), 'x') + head + "next\n");
}

TEST_F(TextLogStore, KeepsTheLineFeedOfTheLongestRecordThatFits) {
  const std::string head = "2024-03-06 23:59:58 logType:INFO\n ";
  const std::string longest(2047 - head.size() - 1, 'x');
  queue = {Node(longest)};

  Write();

  EXPECT_EQ(test::ReadFile(kTodaysFile), head + longest + "\n");
}

TEST_F(TextLogStore, AppendsToTheFileOfTheDay) {
  queue = {Node("first")};
  Write();
  queue = {Node("second")};

  const int result = Write();

  EXPECT_EQ(result, 0);
  EXPECT_EQ(test::ReadFile(kTodaysFile),
            "2024-03-06 23:59:58 logType:INFO\n first\n"
            "2024-03-06 23:59:58 logType:INFO\n second\n");
}

TEST_F(TextLogStore, CreatesAFileThatOnlyItsOwnerMayRead) {
  const mode_t mask = umask(0);
  queue = {Node("message")};

  Write();

  umask(mask);
  struct stat status {};
  ASSERT_EQ(stat(kTodaysFile, &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0400U);
}

TEST_F(TextLogStore, MakesItsDirectoryWhenItIsMissing) {
  const mode_t mask = umask(0);
  queue = {Node("message")};

  Write();

  umask(mask);
  struct stat status {};
  ASSERT_EQ(stat("/tmp/CloudLog", &status), 0);
  EXPECT_EQ(status.st_mode, S_IFDIR | 0755U);
}

TEST_F(TextLogStore, TouchesNothingForAnEmptyQueue) {
  const int result = Write();

  EXPECT_EQ(result, -1);
  EXPECT_FALSE(test::Exists("/tmp/CloudLog"));
}

TEST_F(TextLogStore, CreatesNoFileForAnEmptyQueueInAnExistingDirectory) {
  store.Init();

  Write();

  EXPECT_THAT(test::List("/tmp/CloudLog"), IsEmpty());
}

struct DayRow {
  int month;
  int day;
  const char* file;
};

void PrintTo(const DayRow& row, std::ostream* out) {
  *out << row.file;
}

class DayFileName : public TextLogStore, public ::testing::WithParamInterface<DayRow> {};

TEST_P(DayFileName, IsMonthAndDayOfTheWriting) {
  test::SetTime(test::LocalTimeOf(2025, GetParam().month, GetParam().day, 0, 0, 0));
  queue = {Node("message")};

  Write();

  EXPECT_THAT(test::List("/tmp/CloudLog"), ElementsAre(GetParam().file));
}

INSTANTIATE_TEST_SUITE_P(Days, DayFileName,
                         ::testing::Values(DayRow{1, 1, "0101_log.txt"},
                                           DayRow{2, 9, "0209_log.txt"},
                                           DayRow{11, 15, "1115_log.txt"},
                                           DayRow{12, 31, "1231_log.txt"}));

TEST_F(TextLogStore, StampsARecordWithTheMomentOfTheCall) {
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 4, 5, 6));
  log_Text(INFO, "message");
  test::SetTime(test::LocalTimeOf(2024, 3, 8, 0, 0, 1));

  EXPECT_TRUE(test::FlushLogs());

  EXPECT_EQ(test::ReadFile("/tmp/CloudLog/0308_log.txt"),
            "2024-03-07 04:05:06 logType:INFO\n message\n");
}

TEST_F(TextLogStore, CutsALongLevelTextToItsField) {
  store.InsertLog("ABCDEFGHIJKLM", "message");

  EXPECT_TRUE(test::FlushLogs());

  EXPECT_EQ(test::ReadFile(kTodaysFile), "2024-03-07 12:00:00 logType:ABCDEFGHIJK\n message\n");
}

TEST_F(TextLogStore, KeepsItsRecordsWhenTheFileCannotBeOpened) {
  test::WriteFile(std::string(kTodaysFile) + "/in the way", "");
  queue = {Node("first"), Node("second")};
  testing::internal::CaptureStdout();

  const int result = Write();

  EXPECT_EQ(result, -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Open /tmp/CloudLog/0307_log.txt failed\n");
  EXPECT_THAT(queue, SizeIs(2));
}

TEST_F(TextLogStore, DoesNotFollowALinkInTheFilesPlace) {
  test::WriteFile("/tmp/target", "another's");
  store.Init();
  std::filesystem::create_symlink("/tmp/target", kTodaysFile);
  queue = {Node("message")};
  testing::internal::CaptureStdout();

  const int result = Write();

  EXPECT_EQ(result, -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Open /tmp/CloudLog/0307_log.txt failed\n");
  EXPECT_THAT(queue, SizeIs(1));
  EXPECT_EQ(test::ReadFile("/tmp/target"), "another's");
}

TEST_F(TextLogStore, WritesTheKeptRecordsOnceTheFileCanBeOpened) {
  test::WriteFile(std::string(kTodaysFile) + "/in the way", "");
  log_Text(INFO, "kept");
  EXPECT_TRUE(test::FlushLogs());
  std::filesystem::remove_all(kTodaysFile);
  log_Text(INFO, "next");

  const auto messages = test::TextLog("INFO");

  EXPECT_THAT(messages, ElementsAre("kept", "next"));
}

TEST_F(TextLogStore, KeepsItsRecordsWhenTheDirectoryCannotBeMade) {
  test::WriteFile("/tmp/CloudLog", "in the way");
  queue = {Node("message")};
  testing::internal::CaptureStdout();

  const int result = Write();

  EXPECT_EQ(result, -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Open /tmp/CloudLog/0307_log.txt failed\n");
  EXPECT_THAT(queue, SizeIs(1));
  EXPECT_EQ(test::ReadFile("/tmp/CloudLog"), "in the way");
  std::filesystem::remove("/tmp/CloudLog");
}

// Files of this process cannot grow while it lives, as on a full disk.
class FullDisk {
 public:
  FullDisk() {
    getrlimit(RLIMIT_FSIZE, &m_before);
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit none{0, m_before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &m_before);
    std::signal(SIGXFSZ, SIG_DFL);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit m_before{};
};

TEST_F(TextLogStore, LosesTheRecordsOfAFailingWriteAndGoesOn) {
  queue = {Node("lost"), Node("lost too")};
  std::optional<FullDisk> fullDisk(std::in_place);

  const int result = Write();

  fullDisk.reset();
  EXPECT_EQ(result, 0);
  EXPECT_THAT(queue, IsEmpty());
  EXPECT_EQ(test::ReadFile(kTodaysFile), "");
  queue = {Node("next")};
  EXPECT_EQ(Write(), 0);
  EXPECT_EQ(test::ReadFile(kTodaysFile), "2024-03-06 23:59:58 logType:INFO\n next\n");
}

std::size_t OpenDescriptors() {
  return test::List("/proc/self/fd").size();
}

TEST_F(TextLogStore, LeavesNothingOpen) {
  queue = {Node("message")};
  const auto before = OpenDescriptors();

  Write();

  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(TextLogStore, LetsCallersWaitWhileItWrites) {
  queue = {Node("message")};
  std::optional<test::Caller> caller;
  bool waits = false;
  test::AtNext(test::Tapped::kWrite, [&] {
    caller.emplace([] { log_Text(INFO, "meanwhile"); });
    waits = caller->Waits();
  });

  Write();

  EXPECT_TRUE(waits);
  EXPECT_TRUE(caller->ComesBack());
  EXPECT_THAT(test::TextLog("INFO"), ElementsAre("message", "meanwhile"));
}

TEST_F(TextLogStore, LetsCallersThroughBeforeItLooksForOldFiles) {
  queue = {Node("message")};
  bool comesBack = false;
  test::AtNext(test::Tapped::kOpendir,
               [&] { comesBack = test::Caller([] { log_Text(INFO, "meanwhile"); }).ComesBack(); });

  Write();

  EXPECT_TRUE(comesBack);
}

TEST_F(TextLogStore, LetsCallersThroughAfterAFailure) {
  test::WriteFile(std::string(kTodaysFile) + "/in the way", "");
  queue = {Node("message")};
  testing::internal::CaptureStdout();
  Write();
  testing::internal::GetCapturedStdout();

  EXPECT_TRUE(test::Caller([] { log_Text(INFO, "next"); }).ComesBack());
}

TEST_F(TextLogStore, LetsCallersThroughAfterAnEmptyCycle) {
  Write();

  EXPECT_TRUE(test::Caller([] { log_Text(INFO, "next"); }).ComesBack());
}

TEST_F(TextLogStore, WritesFirstAndThenSleepsFiveSecondsForEver) {
  log_Text(INFO, "message");
  int pauses = 0;
  bool isWrittenFirst = false;
  test::OnPause([&](test::Pause) {
    if (++pauses == 1) isWrittenFirst = test::Exists(kTodaysFile);
    if (pauses == 3) throw test::WorkerEnded{};
  });

  EXPECT_THROW(CLogTxt::RecordThread(&store), test::WorkerEnded);

  EXPECT_TRUE(isWrittenFirst);
  EXPECT_THAT(test::Pauses(), ElementsAre(5s, 5s, 5s));
}

TEST_F(TextLogStore, InitMakesTheDirectoryAndReturnsZero) {
  EXPECT_EQ(store.Init(), 0);
  EXPECT_TRUE(std::filesystem::is_directory("/tmp/CloudLog"));
}

TEST_F(TextLogStore, InitReturnsZeroAlsoWithoutADirectory) {
  test::WriteFile("/tmp/CloudLog", "in the way");

  EXPECT_EQ(store.Init(), 0);

  std::filesystem::remove("/tmp/CloudLog");
}

}  // namespace
