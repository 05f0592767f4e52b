#include "collect/logs.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "collect/logfile.h"
#include "support/databasefile.h"
#include "support/gateway.h"
#include "util/text.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

constexpr char kLogOfToday[] = "/tmp/CloudLog/0307_log.txt";

// A record of the text log, as the service writes it.
std::string RecordOf(const std::string& time, const std::string& message,
                     const std::string& level = "INFO") {
  return "2024-03-07 " + time + " logType:" + level + "\n " + message + "\n";
}

class LogsTest : public test::GatewayTest {
 protected:
  // Makes the log database with rows of "hh:mm:ss", level and message.
  static void WriteDatabase(const std::vector<std::vector<std::string>>& rows) {
    test::DatabaseFile database = EmptyDatabase();
    for (const auto& row : rows) Insert(database, row);
  }
  static test::DatabaseFile EmptyDatabase() {
    mkdir(paths::kLogDirectory, 0755);
    test::DatabaseFile database(paths::kLogDatabase);
    database.Run(
        "CREATE TABLE IF NOT EXISTS log_tbl(Pid INTEGER PRIMARY KEY, RecordDate DATE, RecordTime "
        "TIME, log_Type TEXT, log_Desc TEXT)");
    return database;
  }
  static void Insert(test::DatabaseFile& database, const std::vector<std::string>& row) {
    database.Run(
        "INSERT INTO log_tbl(RecordDate, RecordTime, log_Type, log_Desc) VALUES('2024-03-07', '" +
        row[0] + "', '" + row[1] + "', '" + row[2] + "')");
  }

  status::EachRecord Keep() {
    return [this](const status::LogRecord& record) {
      m_records.push_back(record);
      m_texts.push_back(record.text);
      return true;
    };
  }
  void Read(const status::LogRange& range = {}) {
    m_records.clear();
    m_texts.clear();
    m_read = status::ReadLogs({}, range, Keep());
  }

  status::LogsRead m_read;
  std::vector<status::LogRecord> m_records;
  std::vector<std::string> m_texts;
};

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

// Log database.

TEST_F(LogsTest, GivesRowsOfTheLogDatabaseWithTheirPid) {
  WriteDatabase({{"09:00:00", "INFO", "Brennik Start running"}});

  Read();

  ASSERT_EQ(m_records.size(), 1);
  EXPECT_EQ(m_records[0].time, test::LocalTimeOf(2024, 3, 7, 9));
  EXPECT_EQ(m_records[0].level, "INFO");
  EXPECT_EQ(m_records[0].text, "Brennik Start running");
  EXPECT_EQ(m_records[0].Where(), "/tmp/CloudLog/Cloudlog.db, Pid 1");
  EXPECT_EQ(m_read.database.value, 1);
}

TEST_F(LogsTest, ReadsEveryPageOfTheLogDatabase) {
  EmptyDatabase().Run(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3500) "
      "INSERT INTO log_tbl SELECT 2 * i, '2024-03-07', '10:00:00', 'INFO', i FROM n");

  Read();

  EXPECT_EQ(m_read.database.value, 3500);
  EXPECT_EQ(m_records.back().line, 7000);
}

TEST_F(LogsTest, TakesNoLockOfTheLogDatabase) {
  WriteDatabase({{"09:00:00", "INFO", "a"}});
  test::DatabaseFile writer(paths::kLogDatabase);
  writer.Run("PRAGMA busy_timeout = 0");
  int writes = 0;

  m_read = status::ReadLogs({}, {}, [&](const status::LogRecord&) {
    Insert(writer, {"10:00:00", "INFO", "b"});
    return ++writes < 5;
  });

  EXPECT_GT(writes, 0);
}

TEST_F(LogsTest, ReadsBesideAProgramThatHoldsEveryLock) {
  WriteDatabase({{"09:00:00", "INFO", "a"}});
  test::DatabaseFile writer(paths::kLogDatabase);
  writer.Run("BEGIN EXCLUSIVE");

  Read();

  EXPECT_THAT(m_texts, ElementsAre("a"));
}

TEST_F(LogsTest, LeavesAnUnfinishedWriteToTheService) {
  WriteDatabase({{"09:00:00", "INFO", "a"}});
  test::DatabaseFile writer(paths::kLogDatabase);
  writer.Run("PRAGMA cache_size = 1; BEGIN EXCLUSIVE");
  for (int i = 0; i < 50; ++i) Insert(writer, {"10:00:00", "INFO", std::string(900, 'b')});
  const std::string journal = std::string(paths::kLogDatabase) + "-journal";
  const std::string before = test::ReadFile(journal);

  Read();

  EXPECT_THAT(m_read.database.reason, HasSubstr("waits for the service"));
  EXPECT_EQ(test::ReadFile(journal), before);
}

struct Bad {
  const char* name;
  std::function<void()> make;
  const char* reason;
};
void PrintTo(const Bad& bad, std::ostream* out) {
  *out << bad.name;
}
class BadLogDatabase : public LogsTest, public ::testing::WithParamInterface<Bad> {};

TEST_P(BadLogDatabase, IsSaidToBe) {
  mkdir(paths::kLogDirectory, 0755);
  GetParam().make();
  const auto names = test::List(paths::kLogDirectory);

  Read();

  EXPECT_THAT(m_read.database.reason, HasSubstr(GetParam().reason));
  EXPECT_EQ(test::List(paths::kLogDirectory), names);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadLogDatabase,
    ::testing::Values(
        Bad{"empty", [] { test::WriteFile(paths::kLogDatabase, ""); }, "is empty"},
        Bad{"empty beside a journal",
            [] {
              test::WriteFile(paths::kLogDatabase, "");
              test::WriteFile(std::string(paths::kLogDatabase) + "-journal", "x");
            },
            "is empty"},
        Bad{"foreign", [] { test::WriteFile(paths::kLogDatabase, std::string(5000, 'x')); },
            "file is not a database"},
        Bad{"without the table",
            [] { test::DatabaseFile(paths::kLogDatabase).Run("CREATE TABLE a(b)"); },
            "no such table: log_tbl"},
        Bad{"with an endless view in place of the table",
            [] {
              test::DatabaseFile(paths::kLogDatabase)
                  .Run(
                      "CREATE VIEW log_tbl AS WITH RECURSIVE n(Pid) AS (SELECT 1 UNION ALL SELECT "
                      "Pid + 1 FROM n) SELECT Pid, '' RecordDate, '' RecordTime, '' log_Type, '' "
                      "log_Desc FROM n");
            },
            "interrupted"},
        Bad{"with fractions in place of numbers",
            [] {
              test::DatabaseFile(paths::kLogDatabase)
                  .Run(
                      "CREATE TABLE log_tbl(Pid REAL, RecordDate, RecordTime, log_Type, log_Desc); "
                      "INSERT INTO log_tbl VALUES(0.5, 'a', 'b', 'c', 'd')");
            },
            "out of order"},
        Bad{"cut short",
            [] {
              test::DatabaseFile(paths::kLogDatabase)
                  .Run(
                      "CREATE TABLE log_tbl(Pid INTEGER PRIMARY KEY, RecordDate, RecordTime, "
                      "log_Type, log_Desc); INSERT INTO log_tbl VALUES(1, 'a', 'b', 'c', 'd')");
              ASSERT_EQ(truncate(paths::kLogDatabase, 4096), 0);
            },
            "malformed"}));

// Both.

TEST_F(LogsTest, GivesBothLogsInTheOrderOfTimeTheDatabaseFirst) {
  test::WriteFile(kLogOfToday, RecordOf("10:00:01", "text 1") + RecordOf("10:00:03", "text 3"));
  WriteDatabase({{"10:00:01", "INFO", "database 1"},
                 {"10:00:02", "INFO", "database 2"},
                 {"10:00:04", "INFO", "database 4"}});

  Read();

  EXPECT_THAT(m_texts, ElementsAre("database 1", "text 1", "database 2", "text 3", "database 4"));
}

TEST_F(LogsTest, LosesNothingWhenTheClockWasSetBack) {
  test::WriteFile(kLogOfToday, RecordOf("10:00:05", "text 5") + RecordOf("09:00:00", "text 9:00"));
  WriteDatabase({{"10:00:04", "INFO", "database 4"}, {"08:59:00", "INFO", "database 8:59"}});

  Read();

  EXPECT_THAT(m_texts, ElementsAre("database 4", "database 8:59", "text 5", "text 9:00"));
}

TEST_F(LogsTest, LeavesOutRecordsBeforeAMoment) {
  test::WriteFile(kLogOfToday, RecordOf("10:00:01", "text 1") + RecordOf("10:00:03", "text 3"));
  WriteDatabase({{"10:00:02", "INFO", "database 2"}});

  Read({.since = test::LocalTimeOf(2024, 3, 7, 10, 0, 2)});

  EXPECT_THAT(m_texts, ElementsAre("database 2", "text 3"));
}

TEST_F(LogsTest, EndsWhenTheReaderHasEnough) {
  test::WriteFile(kLogOfToday, RecordOf("10:00:01", "a") + RecordOf("10:00:03", "b"));
  int records = 0;

  status::ReadLogs({}, {}, [&](const status::LogRecord&) { return ++records < 1; });

  EXPECT_EQ(records, 1);
}

// Going on later.

TEST_F(LogsTest, GoesOnWithNewRecordsOfBothLogs) {
  test::WriteFile(kLogOfToday, RecordOf("10:00:01", "text 1"));
  WriteDatabase({{"10:00:02", "INFO", "database 2"}});
  status::LogStream reader({}, {});
  reader.Read(Keep());
  test::WriteFile(kLogOfToday, RecordOf("10:00:01", "text 1") + RecordOf("10:00:03", "text 3"));
  test::WriteFile("/tmp/CloudLog/0308_log.txt", "2024-03-08 00:00:00 logType:INFO\n text 8\n");
  WriteDatabase({{"10:00:04", "INFO", "database 4"}});

  reader.Read(Keep());

  EXPECT_THAT(m_texts, ElementsAre("text 1", "database 2", "text 3", "database 4", "text 8"));
  EXPECT_EQ(m_records[2].line, 3);
}

TEST_F(LogsTest, GivesNothingTwiceWhenNothingIsNew) {
  test::WriteFile(kLogOfToday, RecordOf("10:00:01", std::string(10, 'x')).substr(0, 40));
  WriteDatabase({{"10:00:02", "INFO", "database 2"}});
  status::LogStream reader({}, {});
  reader.Read(Keep());
  m_texts.clear();

  reader.Read(Keep());

  EXPECT_THAT(m_texts, IsEmpty());
}

TEST_F(LogsTest, GivesARecordWholeThatWasHalfWritten) {
  const std::string record = RecordOf("10:00:01", "message");
  test::WriteFile(kLogOfToday, record.substr(0, record.size() - 4));
  status::LogStream reader({}, {});
  reader.Read(Keep());
  test::WriteFile(kLogOfToday, record);

  reader.Read(Keep());

  EXPECT_THAT(m_texts, ElementsAre("mess", "message"));
}

TEST_F(LogsTest, BeginsAgainWhenALogWasMadeAgain) {
  test::WriteFile(kLogOfToday, RecordOf("10:00:01", "a long old record"));
  WriteDatabase({{"10:00:02", "INFO", "old"}});
  status::LogStream reader({}, {});
  reader.Read(Keep());
  m_texts.clear();
  test::Empty(paths::kLogDirectory);
  test::WriteFile(kLogOfToday, RecordOf("10:00:03", "new"));
  WriteDatabase({{"10:00:04", "INFO", "new row"}});

  reader.Read(Keep());

  EXPECT_THAT(m_texts, ElementsAre("new", "new row"));
}

}  // namespace
