// The text log, and logs that are missing or may not be read.
#include <sys/syscall.h>
#include <unistd.h>

#include "collect/logfile.h"
#include "unit/status/logsreading.h"

using test::kLogOfToday;
using test::LogsTest;
using test::RecordOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

// Text log: where records begin and end.

TEST_F(LogsTest, GivesTimeLevelMessageAndLineOfATextRecord) {
  test::WriteFile(kLogOfToday, RecordOf("11:33:10", "one") +
                                   RecordOf("11:33:15", "Post Authorize Info failed", "WARN"));

  Read();

  ASSERT_EQ(m_records.size(), 2);
  EXPECT_EQ(m_records[1].time, test::LocalTimeOf(2024, 3, 7, 11, 33, 15));
  EXPECT_EQ(m_records[1].level, "WARN");
  EXPECT_EQ(m_records[1].text, "Post Authorize Info failed");
  EXPECT_EQ(m_records[1].Where(), "/tmp/CloudLog/0307_log.txt:3");
  EXPECT_EQ(m_read.text.value, 2);
}

struct Content {
  const char* name;
  std::string text;
  std::vector<std::string> messages;
};
void PrintTo(const Content& content, std::ostream* out) {
  *out << content.name;
}
class LogContent : public LogsTest, public ::testing::WithParamInterface<Content> {};

TEST_P(LogContent, IsReadAs) {
  test::WriteFile(kLogOfToday, GetParam().text);

  Read();

  EXPECT_EQ(m_texts, GetParam().messages);
}

INSTANTIATE_TEST_SUITE_P(
    All, LogContent,
    ::testing::Values(
        Content{"nothing", "", {}},
        Content{"several lines",
                RecordOf("10:00:00", "a\n\n b\n") + RecordOf("10:00:01", "c"),
                {"a\n\n b", "c"}},
        Content{"a cut record, without a line end",
                RecordOf("10:00:00", std::string(2046, 'x')).substr(0, 2047) +
                    RecordOf("10:00:01", "next"),
                {std::string(2013, 'x'), "next"}},
        Content{
            "an empty message", RecordOf("10:00:00", "") + RecordOf("10:00:01", "b"), {"", "b"}},
        Content{"a start in the middle of a record", "rest\n" + RecordOf("10:00:01", "b"), {"b"}},
        Content{"an end in the middle of a head",
                RecordOf("10:00:01", "b") + "2024-03-07 10:00",
                {"b\n2024-03-07 10:00"}},
        Content{"what only looks like a head",
                RecordOf("10:00:00", "2024-13-07 10:00:00 logType:INFO\n x") +
                    RecordOf("10:00:01", "a logType:INFO\n 2024-03-07 10:00:00 logType:NONE\n y"),
                {"2024-13-07 10:00:00 logType:INFO\n x",
                 "a logType:INFO\n 2024-03-07 10:00:00 logType:NONE\n y"}},
        Content{"no clock, so day 0",
                "1900-01-00 00:00:00 logType:WARN\n no local time\n",
                {"no local time"}},
        Content{"a message of 3 MB, which is cut",
                RecordOf("10:00:00", std::string(3'000'000, 'x')) + RecordOf("10:00:01", "b"),
                {std::string(status::kMessageBytes, 'x'), "b"}},
        Content{"binary content",
                RecordOf("10:00:00", std::string("\0\x1b[2J\xff", 6)) + RecordOf("10:00:01", "b"),
                {std::string("\0\x1b[2J\xff", 6), "b"}}));

TEST_F(LogsTest, FindsEveryHeadWhereverABlockEnds) {
  std::string content;
  std::vector<std::string> expected;
  for (unsigned i = 0; content.size() < 300'000; ++i) {
    expected.push_back(util::Format("%u x%s", i, std::string(i % 97, 'x').c_str()));
    content += RecordOf("10:00:00", expected.back());
  }
  test::WriteFile(kLogOfToday, content);

  Read();

  EXPECT_EQ(m_texts, expected);
  EXPECT_EQ(m_records.back().line, static_cast<long>(2 * expected.size() - 1));
}

// Text log: files.

TEST_F(LogsTest, ReadsDayFilesInTheOrderOfTheirDatesAlsoAtNewYear) {
  test::WriteFile("/tmp/CloudLog/0101_log.txt", "2025-01-01 00:00:01 logType:INFO\n new\n");
  test::WriteFile("/tmp/CloudLog/1231_log.txt", "2024-12-31 23:59:59 logType:INFO\n old\n");
  test::WriteFile("/tmp/CloudLog/other.txt", RecordOf("10:00:00", "foreign"));

  Read();

  EXPECT_THAT(m_texts, ElementsAre("old", "new"));
}

TEST_F(LogsTest, KeepsLineNumbersWhenItReadsOnlyTheEnd) {
  std::string content;
  for (int i = 0; i < 20'000; ++i) content += RecordOf("10:00:00", util::Format("%06d", i));
  test::WriteFile("/tmp/CloudLog/0306_log.txt", "2024-03-06 10:00:00 logType:INFO\n before\n");
  test::WriteFile(kLogOfToday, content);

  Read({.since = {}, .tailBytes = 500});

  ASSERT_EQ(m_texts.size(), 12);
  EXPECT_EQ(m_texts.front(), "019988");
  EXPECT_EQ(m_records.front().line, 2 * 19'988 + 1);
}

TEST_F(LogsTest, PassesOverWhatIsNoRegularFile) {
  mkdir(paths::kLogDirectory, 0755);
  test::WriteFile("/tmp/secret", RecordOf("10:00:00", "elsewhere"));
  ASSERT_EQ(mkfifo("/tmp/CloudLog/0301_log.txt", 0600), 0);
  ASSERT_EQ(mkdir("/tmp/CloudLog/0302_log.txt", 0755), 0);
  ASSERT_EQ(symlink("/tmp/secret", "/tmp/CloudLog/0303_log.txt"), 0);
  ASSERT_EQ(mkfifo(paths::kLogDatabase, 0600), 0);

  Read();

  EXPECT_THAT(m_texts, IsEmpty());
  EXPECT_THAT(m_read.text.reason, HasSubstr("is no regular file"));
  EXPECT_EQ(m_read.database.reason, "/tmp/CloudLog/Cloudlog.db is no regular file");
}

TEST_F(LogsTest, SaysThatTheServiceHasNotRunWhenThereIsNoLogFolder) {
  Read();

  const std::string reason =
      "there is no /tmp/CloudLog: the service has not run since the gateway started";
  EXPECT_EQ(m_read.text.reason, reason);
  EXPECT_EQ(m_read.database.reason, reason);
}

TEST_F(LogsTest, SaysWhichLogIsMissing) {
  mkdir(paths::kLogDirectory, 0755);

  Read();

  EXPECT_EQ(m_read.text.reason, "there is no text log in /tmp/CloudLog");
  EXPECT_EQ(m_read.database.reason, "there is no /tmp/CloudLog/Cloudlog.db");
}

// Takes the right of root to read everything from this process.
void GiveUpRights() {
  struct {
    std::uint32_t version = 0x20080522;
    int pid = 0;
  } header;
  const std::uint32_t none[6] = {};
  if (syscall(SYS_capset, &header, none) != 0) _exit(9);
}

TEST_F(LogsTest, NamesTheCommandWithRootsRightsWhenAFileMayNotBeRead) {
  test::WriteFile(kLogOfToday, RecordOf("10:00:00", "a"));
  WriteDatabase({});
  chmod(kLogOfToday, 0);
  chmod(paths::kLogDatabase, 0);

  EXPECT_EXIT(
      {
        GiveUpRights();
        Read();
        std::fprintf(stderr, "%s|%s", m_read.text.reason.c_str(), m_read.database.reason.c_str());
        _exit(0);
      },
      ::testing::ExitedWithCode(0),
      "0307_log.txt needs root's rights: sudo brennik-status.*"
      "Cloudlog.db needs root's rights: sudo brennik-status");
}

}  // namespace
