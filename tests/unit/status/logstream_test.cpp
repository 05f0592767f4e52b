// Both logs in one order, and what is new in them.
#include "unit/status/logsreading.h"

using test::kLogOfToday;
using test::LogsTest;
using test::RecordOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

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
