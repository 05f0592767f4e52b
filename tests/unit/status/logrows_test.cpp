// The log database.
#include <unistd.h>

#include "unit/status/logsreading.h"

using test::LogsTest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

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

struct BadRows {
  const char* name;
  std::function<void()> make;
  const char* reason;
};
void PrintTo(const BadRows& bad, std::ostream* out) {
  *out << bad.name;
}
class BadLogDatabase : public LogsTest, public ::testing::WithParamInterface<BadRows> {};

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
        BadRows{"empty", [] { test::WriteFile(paths::kLogDatabase, ""); }, "is empty"},
        BadRows{"empty beside a journal",
                [] {
                  test::WriteFile(paths::kLogDatabase, "");
                  test::WriteFile(std::string(paths::kLogDatabase) + "-journal", "x");
                },
                "is empty"},
        BadRows{"foreign", [] { test::WriteFile(paths::kLogDatabase, std::string(5000, 'x')); },
                "file is not a database"},
        BadRows{"without the table",
                [] { test::DatabaseFile(paths::kLogDatabase).Run("CREATE TABLE a(b)"); },
                "no such table: log_tbl"},
        BadRows{
            "with an endless view in place of the table",
            [] {
              test::DatabaseFile(paths::kLogDatabase)
                  .Run(
                      "CREATE VIEW log_tbl AS WITH RECURSIVE n(Pid) AS (SELECT 1 UNION ALL SELECT "
                      "Pid + 1 FROM n) SELECT Pid, '' RecordDate, '' RecordTime, '' log_Type, '' "
                      "log_Desc FROM n");
            },
            "interrupted"},
        BadRows{
            "with fractions in place of numbers",
            [] {
              test::DatabaseFile(paths::kLogDatabase)
                  .Run(
                      "CREATE TABLE log_tbl(Pid REAL, RecordDate, RecordTime, log_Type, log_Desc); "
                      "INSERT INTO log_tbl VALUES(0.5, 'a', 'b', 'c', 'd')");
            },
            "out of order"},
        BadRows{"cut short",
                [] {
                  test::DatabaseFile(paths::kLogDatabase)
                      .Run(
                          "CREATE TABLE log_tbl(Pid INTEGER PRIMARY KEY, RecordDate, RecordTime, "
                          "log_Type, log_Desc); INSERT INTO log_tbl VALUES(1, 'a', 'b', 'c', 'd')");
                  ASSERT_EQ(truncate(paths::kLogDatabase, 4096), 0);
                },
                "malformed"}));

}  // namespace
