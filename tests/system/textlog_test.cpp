// The text log of a running service: its files, their days, what is cut.
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "system/support/answers.h"
#include "system/support/cloudserver.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

namespace fs = std::filesystem;
using test::DayFile;
using test::HttpAnswer;

constexpr std::time_t kDay = 86400;
const std::vector<SegmentPoint> kOtherValue = {{0x09090001, 1}};  // of a point that is unknown

class TextLog : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteExamplePlant();
  }

  // Intervals of nine hours; with kOtherValue alone, every cycle reports a point without a value.
  void WriteSlowSystem() {
    m_server.Answer(HttpAnswer(200, test::kLoginGranted));
    test::SystemFile(m_server.Port())
        .Cloud("RealDataInv", "32400")
        .Cloud("FailInterval", "32400")
        .Write();
  }

  static std::vector<std::string> DayFiles() {
    auto names = test::List(paths::kLogDirectory);
    std::erase_if(names, [](const std::string& name) { return !name.ends_with("_log.txt"); });
    return names;
  }

  test::CloudServer m_server;
};

TEST_F(TextLog, FilesAreForTheOwnersReadingOnly) {
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  struct stat status {};
  ASSERT_EQ(stat("/tmp/CloudLog/0307_log.txt", &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0400U);
}

// The logins fail half a second behind the minute, between two of the log's five seconds.
TEST_F(TextLog, IsWrittenEveryFiveSeconds) {
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 1, 4));
  const auto before = test::TextLogTimes("Post Authorize Info failed");
  service.RunUntil(At(12, 1, 5));

  EXPECT_EQ(before, std::vector<std::string>{"12:00:00"});
  EXPECT_EQ(test::TextLogTimes("Post Authorize Info failed"),
            (std::vector<std::string>{"12:00:00", "12:01:00"}));
}

TEST_F(TextLog, GoesToTheFileOfTheDayOfWriting) {
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(23, 58, 58));

  service.RunUntil(At(24, 0, 20));

  const std::string late = "2024-03-07 23:59:58 logType:WARN\n Post Authorize Info failed\n";
  EXPECT_EQ(DayFile("0307").find(late), std::string::npos);
  EXPECT_NE(DayFile("0308").find(late), std::string::npos);
}

TEST_F(TextLog, KeepsFiveDays) {
  WriteSlowSystem();
  const Segment segment(kOtherValue);
  test::ServiceProcess service(On(2024, 3, 1));

  service.RunUntil(On(2024, 3, 7) + kDay / 2);
  const auto seventhDay = DayFiles();
  service.RunUntil(On(2024, 3, 8) + kDay / 2);

  EXPECT_EQ(seventhDay, (std::vector<std::string>{"0303_log.txt", "0304_log.txt", "0305_log.txt",
                                                  "0306_log.txt", "0307_log.txt"}));
  EXPECT_EQ(DayFiles(), (std::vector<std::string>{"0304_log.txt", "0305_log.txt", "0306_log.txt",
                                                  "0307_log.txt", "0308_log.txt"}));
}

TEST_F(TextLog, DropsJanuaryBeforeDecember) {
  WriteSlowSystem();
  const Segment segment(kOtherValue);
  test::ServiceProcess service(On(2024, 12, 28));

  service.RunUntil(On(2025, 1, 1) + kDay / 2);
  const auto newYear = DayFiles();
  service.RunUntil(On(2025, 1, 3) + kDay / 2);

  EXPECT_EQ(newYear, (std::vector<std::string>{"0101_log.txt", "1228_log.txt", "1229_log.txt",
                                               "1230_log.txt", "1231_log.txt"}));
  EXPECT_EQ(DayFiles(), (std::vector<std::string>{"0103_log.txt", "1228_log.txt", "1229_log.txt",
                                                  "1230_log.txt", "1231_log.txt"}));
}

TEST_F(TextLog, DeletesOneFileAWriting) {
  for (const char* day : {"0228", "0229", "0301", "0302", "0303", "0304", "0305", "0306"}) {
    test::WriteFile(std::string("/tmp/CloudLog/") + day + "_log.txt", "old\n");
  }
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 6));
  const auto first = DayFiles().size();
  service.RunUntil(At(12, 1, 6));
  const auto second = DayFiles().size();
  service.RunUntil(At(12, 10));

  EXPECT_EQ(second + 1, first);
  EXPECT_EQ(DayFiles(), (std::vector<std::string>{"0303_log.txt", "0304_log.txt", "0305_log.txt",
                                                  "0306_log.txt", "0307_log.txt"}));
}

TEST_F(TextLog, GoesOnInTheFileOfAnEarlierRun) {
  test::WriteFile("/tmp/CloudLog/0307_log.txt", "of the earlier run\n");
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  EXPECT_TRUE(DayFile("0307").starts_with(
      "of the earlier run\n2024-03-07 12:00:00 logType:INFO\n real IP has become 127.0.0.1\n"));
}

TEST_F(TextLog, ComesBackWhenItsDirectoryIsRemoved) {
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 0));
  service.RunUntil(At(12, 0, 30));
  fs::remove_all(paths::kLogDirectory);

  service.RunUntil(At(12, 1, 30));

  EXPECT_EQ(test::TextLogTimes("Post Authorize Info failed"), std::vector<std::string>{"12:01:00"});
}

TEST_F(TextLog, KeepsItsRecordsWhileTheFileCannotBeOpened) {
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 0));
  service.RunUntil(At(12, 0, 30));
  fs::remove("/tmp/CloudLog/0307_log.txt");
  fs::create_directory("/tmp/CloudLog/0307_log.txt");
  service.RunUntil(At(12, 3, 30));
  const std::string output = service.Output();
  fs::remove("/tmp/CloudLog/0307_log.txt");

  service.RunUntil(At(12, 3, 40));

  EXPECT_NE(output.find("Open /tmp/CloudLog/0307_log.txt failed\n"), std::string::npos);
  EXPECT_EQ(test::TextLogTimes("Post Authorize Info failed"),
            (std::vector<std::string>{"12:01:00", "12:02:00", "12:03:00"}));
}

struct Length {
  const char* name;
  std::size_t answer;  // characters of the cloud's answer
  std::string end;     // of the record, from the answer's last characters on
};

class LongMessage : public TextLog, public ::testing::WithParamInterface<Length> {};

// A record is cut at 2,047 characters, of which the head takes 34 and "Auth Receive Response:" with
// its line feed 23.
TEST_P(LongMessage, LosesItsEnd) {
  m_server.Answer(HttpAnswer(200, std::string(GetParam().answer - 1, 'x') + "y"));
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  const std::string text = DayFile("0307");
  const auto from = text.find("2024-03-07 12:00:00 logType:INFO\n Auth Receive Response:\nxxx");
  ASSERT_NE(from, std::string::npos);
  const auto to = text.find("2024-03-07 12:00:00 logType:WARN\n Post Authorize Info failed\n\n");
  ASSERT_NE(to, std::string::npos);
  const std::string record = text.substr(from, to - from);
  EXPECT_LE(record.size(), 2047U);
  EXPECT_EQ(record.substr(record.size() - 3), GetParam().end);
}

INSTANTIATE_TEST_SUITE_P(TextLog, LongMessage,
                         ::testing::Values(Length{"LongestWhole", 1989, "xy\n"},
                                           Length{"LosesItsLineFeed", 1990, "xxy"},
                                           Length{"LosesItsLastCharacter", 1991, "xxx"},
                                           Length{"LosesMost", 10000, "xxx"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(TextLog, WritesLineFeedsInAMessageAsTheyStand) {
  m_server.Answer(HttpAnswer(200, "one\n\ntwo\n"));
  test::SystemFile(m_server.Port()).Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  EXPECT_NE(DayFile("0307").find("2024-03-07 12:00:00 logType:INFO\n"
                                 " Auth Receive Response:\none\n\ntwo\n\n"
                                 "2024-03-07 12:00:00 logType:WARN\n"),
            std::string::npos);
}

}  // namespace
