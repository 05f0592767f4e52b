// The log database: what it holds, how it comes to be, what it survives.
#include "log/logdatabase.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "databasefixture.h"
#include "log/log.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logs.h"
#include "util/text.h"

namespace {

using test::kLogDatabasePath;
using test::Node;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

constexpr char kCreateStatement[] =
    "CREATE TABLE log_tbl(Pid INTEGER PRIMARY KEY, RecordDate DATE, RecordTime TIME, log_Type "
    "TEXT, log_Desc TEXT)";

class LogDatabase : public test::LogDatabaseTest {};

TEST_F(LogDatabase, HoldsOneTable) {
  queue = {Node("message")};

  Write();

  EXPECT_THAT(Column("select sql from sqlite_master"), ElementsAre(kCreateStatement));
}

TEST_F(LogDatabase, HoldsARecordInItsColumns) {
  queue = {Node("Brennik Start running", "FATAL")};

  const int result = Write();

  EXPECT_EQ(result, 0);
  EXPECT_THAT(Column("select Pid || '|' || RecordDate || '|' || RecordTime || '|' || log_Type || "
                     "'|' || log_Desc from log_tbl"),
              ElementsAre("1|2024-03-06|23:59:58|FATAL|Brennik Start running"));
}

TEST_F(LogDatabase, TakesTheRecordsFromTheFrontAndEmptiesTheQueue) {
  queue = {Node("first"), Node("second"), Node("third")};

  Write();

  EXPECT_THAT(queue, IsEmpty());
  EXPECT_THAT(Messages(), ElementsAre("first", "second", "third"));
}

TEST_F(LogDatabase, GrowsFromCycleToCycle) {
  queue = {Node("first")};
  Write();
  queue = {Node("second")};

  Write();

  EXPECT_THAT(Messages(), ElementsAre("first", "second"));
  EXPECT_THAT(Column("select Pid from log_tbl order by Pid"), ElementsAre("1", "2"));
}

TEST_F(LogDatabase, StampsARecordWithTheMomentOfTheCall) {
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 4, 5, 6));
  log_DB(INFO, "message");
  test::SetTime(test::LocalTimeOf(2024, 3, 8, 0, 0, 1));

  EXPECT_TRUE(test::FlushLogs());

  EXPECT_THAT(Column("select RecordDate || ' ' || RecordTime from log_tbl"),
              ElementsAre("2024-03-07 04:05:06"));
}

TEST_F(LogDatabase, CutsAMessageAt254Characters) {
  store.InsertLog("INFO", (std::string(254, 'x') + "y").c_str());

  EXPECT_THAT(test::DatabaseLog("INFO"), ElementsAre(std::string(254, 'x')));
}

TEST_F(LogDatabase, CutsALongLevelTextToItsField) {
  store.InsertLog("ABCDEFGHIJKLM", "message");

  EXPECT_THAT(test::DatabaseLog("ABCDEFGHIJK"), ElementsAre("message"));
}

TEST_F(LogDatabase, StoresTheLongestRecordWhole) {
  const std::string longest(255, '\'');
  queue = {Node(longest)};

  Write();

  EXPECT_THAT(Messages(), ElementsAre(longest));
}

struct MessageRow {
  const char* name;
  const char* message;
};

void PrintTo(const MessageRow& row, std::ostream* out) {
  *out << row.name;
}

class StoredMessage : public LogDatabase, public ::testing::WithParamInterface<MessageRow> {};

TEST_P(StoredMessage, IsKeptAsItStands) {
  queue = {Node(GetParam().message)};

  Write();

  EXPECT_THAT(Messages(), ElementsAre(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Messages, StoredMessage,
    ::testing::Values(MessageRow{"empty", ""}, MessageRow{"a line feed at the end", "no card\n"},
                      MessageRow{"a line feed inside", "one\ntwo"},
                      MessageRow{"apostrophes", "it's 'there'"},
                      MessageRow{"signs of formats", "100%n %s"},
                      MessageRow{"a semicolon", "a; drop table log_tbl; --"},
                      MessageRow{"the name of a column", "Pid"}, MessageRow{"a number", "007"},
                      MessageRow{"Chinese", "没有存储卡"}, MessageRow{"no UTF-8", "\xFF\xFE"},
                      MessageRow{"a backslash", "\\"}));

TEST_F(LogDatabase, LosesAMessageWithADoubleQuoteAndNoOther) {
  queue = {Node("before"), Node("say \"hello\""), Node("\""), Node("after")};

  const int result = Write();

  EXPECT_EQ(result, 0);
  EXPECT_THAT(queue, IsEmpty());
  EXPECT_THAT(Messages(), ElementsAre("before", "after"));
  EXPECT_THAT(test::Pauses(), IsEmpty());
}

TEST_F(LogDatabase, TouchesNothingForAnEmptyQueue) {
  const int result = Write();

  EXPECT_EQ(result, -1);
  EXPECT_FALSE(test::Exists("/tmp/CloudLog"));
}

TEST_F(LogDatabase, IsMadeAnewWithAnEmptyTableWhenItWasRemoved) {
  queue = {Node("lost")};
  Write();
  std::filesystem::remove(kLogDatabasePath);
  queue = {Node("next")};

  const int result = Write();

  EXPECT_EQ(result, 0);
  EXPECT_THAT(Messages(), ElementsAre("next"));
  EXPECT_THAT(Column("select sql from sqlite_master"), ElementsAre(kCreateStatement));
}

TEST_F(LogDatabase, IsMadeAnewWhenItsWholeDirectoryWasRemoved) {
  queue = {Node("lost")};
  Write();
  std::filesystem::remove_all("/tmp/CloudLog");
  queue = {Node("next")};

  Write();

  EXPECT_THAT(Messages(), ElementsAre("next"));
}

TEST_F(LogDatabase, MakesItsDirectoryForItsOwnerToSearchOnly) {
  const mode_t mask = umask(0);
  queue = {Node("message")};

  Write();

  umask(mask);
  struct stat status {};
  ASSERT_EQ(stat("/tmp/CloudLog", &status), 0);
  EXPECT_EQ(status.st_mode, S_IFDIR | 0100U);
}

TEST_F(LogDatabase, LeavesTheModeOfAnExistingDirectory) {
  test::WriteFile("/tmp/CloudLog/0307_log.txt", "");
  std::filesystem::permissions("/tmp/CloudLog", std::filesystem::perms{0755});

  store.LogTableCreate(kLogDatabasePath);

  struct stat status {};
  ASSERT_EQ(stat("/tmp/CloudLog", &status), 0);
  EXPECT_EQ(status.st_mode, S_IFDIR | 0755U);
}

TEST_F(LogDatabase, CreatesItsTable) {
  const int result = store.LogTableCreate(kLogDatabasePath);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(Column("select sql from sqlite_master"), ElementsAre(kCreateStatement));
  EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(LogDatabase, LeavesAFileThatIsThereAsItIs) {
  test::WriteFile(kLogDatabasePath, "no database at all");

  const int result = store.LogTableCreate(kLogDatabasePath);

  EXPECT_EQ(result, 0);
  EXPECT_EQ(test::ReadFile(kLogDatabasePath), "no database at all");
}

TEST_F(LogDatabase, SaysThatItCannotBeMade) {
  test::WriteFile("/tmp/CloudLog", "in the way");

  EXPECT_EQ(store.LogTableCreate(kLogDatabasePath), -1);

  std::filesystem::remove("/tmp/CloudLog");
}

TEST_F(LogDatabase, SaysThatItsTableCannotBeMade) {
  test::FailCalls(test::Call::kSqliteExec);

  EXPECT_EQ(store.LogTableCreate(kLogDatabasePath), -1);
}

TEST_F(LogDatabase, LosesTheRecordsThatAForeignFileCannotTake) {
  test::WriteFile(kLogDatabasePath, std::string(4096, 'x'));
  queue = {Node("lost")};
  testing::internal::CaptureStdout();

  const int result = Write();

  EXPECT_EQ(result, 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "SQL error: file is not a database\n");
  EXPECT_THAT(queue, IsEmpty());
  EXPECT_EQ(test::ReadFile(kLogDatabasePath), std::string(4096, 'x'));
}

TEST_F(LogDatabase, LosesTheRecordsThatFindNoTable) {
  Prepare("drop table log_tbl");
  queue = {Node("lost")};
  testing::internal::CaptureStdout();

  const int result = Write();

  EXPECT_EQ(result, 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "SQL error: no such table: log_tbl\n");
  EXPECT_THAT(queue, IsEmpty());
}

TEST_F(LogDatabase, LeavesNothingOpen) {
  queue = {Node("message")};
  const auto before = test::List("/proc/self/fd").size();

  Write();

  EXPECT_EQ(test::List("/proc/self/fd").size(), before);
}

TEST_F(LogDatabase, WritesFirstAndThenSleepsFiveSecondsForEver) {
  log_DB(INFO, "message");
  int pauses = 0;
  bool isWrittenFirst = false;
  test::OnPause([&](test::Pause) {
    if (++pauses == 1) isWrittenFirst = Messages().size() == 1;
    if (pauses == 3) throw test::WorkerEnded{};
  });

  EXPECT_THROW(CLogDatabase::RecordThread(&store), test::WorkerEnded);

  EXPECT_TRUE(isWrittenFirst);
  EXPECT_THAT(test::Pauses(), ElementsAre(5s, 5s, 5s));
}

}  // namespace
