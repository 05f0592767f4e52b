// The log database: what it holds, how it is made, and a batch that cannot be inserted.
#include "log/logdatabase.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "fixture.h"
#include "log/log.h"
#include "support/clock.h"
#include "support/databasefile.h"
#include "support/faults.h"
#include "support/logs.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

class LogDatabase : public test::LogDatabaseTest {};

TEST_F(LogDatabase, AppendsEachRecordInItsColumns) {
  EXPECT_EQ(Write({"first", "second"}), 0);
  EXPECT_THAT(queue, IsEmpty());
  EXPECT_EQ(Write({"third"}), 0);

  EXPECT_THAT(Column("select Pid || '|' || RecordDate || '|' || RecordTime || '|' || log_Type || "
                     "'|' || log_Desc from log_tbl order by Pid"),
              ElementsAre("1|2024-03-06|23:59:58|INFO|first", "2|2024-03-06|23:59:58|INFO|second",
                          "3|2024-03-06|23:59:58|INFO|third"));
}

TEST_F(LogDatabase, StoresEveryTextWithoutADoubleQuoteAsItIs) {
  const std::vector<std::string> messages = {"",         "a line feed at the end\n",
                                             "one\ntwo", "it's",
                                             "100%n %s", "a; drop table log_tbl;",
                                             "Pid",      "007",
                                             "没有",     "\xFF",
                                             "\\",       std::string(255, '\''),
                                             "after"};
  auto queued = messages;
  queued.insert(queued.end() - 1, {"say \"hello\"", "\""});

  EXPECT_EQ(Write(queued), 0);

  EXPECT_THAT(queue, IsEmpty());
  EXPECT_EQ(Messages(), messages);
}

TEST_F(LogDatabase, CutsAMessageAt254Characters) {
  store.InsertLog("INFO", (std::string(254, 'x') + "y").c_str());

  EXPECT_THAT(test::DatabaseLog("INFO"), ElementsAre(std::string(254, 'x')));
}

TEST_F(LogDatabase, TouchesNothingForAnEmptyQueue) {
  EXPECT_EQ(Write(), -1);

  EXPECT_FALSE(test::Exists("/tmp/CloudLog"));
}

TEST_F(LogDatabase, CreatesOneTable) {
  EXPECT_EQ(store.LogTableCreate(test::kLogDatabase), 0);

  EXPECT_THAT(Column("select sql from sqlite_master"),
              ElementsAre("CREATE TABLE log_tbl(Pid INTEGER PRIMARY KEY, RecordDate DATE, "
                          "RecordTime TIME, log_Type TEXT, log_Desc TEXT)"));
}

TEST_F(LogDatabase, ComesBackWhenItWasRemoved) {
  for (const char* removed : {test::kLogDatabase, "/tmp/CloudLog"}) {
    Write({"lost"});
    std::filesystem::remove_all(removed);

    EXPECT_EQ(Write({"next"}), 0);

    EXPECT_THAT(Messages(), ElementsAre("next")) << removed;
  }
}

TEST_F(LogDatabase, MakesItsDirectoryForItsOwnerToSearchOnly) {
  const mode_t mask = umask(0);
  Write({"message"});
  umask(mask);

  struct stat status {};
  ASSERT_EQ(stat("/tmp/CloudLog", &status), 0);
  EXPECT_EQ(status.st_mode, S_IFDIR | 0100U);
}

TEST_F(LogDatabase, LeavesAForeignFileAsItIsAndLosesTheRecords) {
  const std::string foreign(4096, 'x');
  test::WriteFile(test::kLogDatabase, foreign);

  EXPECT_EQ(store.LogTableCreate(test::kLogDatabase), 0);
  EXPECT_EQ(Write({"lost"}), 0);

  EXPECT_THAT(queue, IsEmpty());
  EXPECT_EQ(test::ReadFile(test::kLogDatabase), foreign);
}

TEST_F(LogDatabase, FailsWhenItOrItsTableCannotBeMade) {
  test::FailCalls(test::Call::kSqliteExec);
  EXPECT_EQ(store.LogTableCreate(test::kLogDatabase), -1);

  std::filesystem::remove_all("/tmp/CloudLog");
  test::WriteFile("/tmp/CloudLog", "in the way");
  EXPECT_EQ(store.LogTableCreate(test::kLogDatabase), -1);
}

// Makes the first `failures` inserts of 'stubborn' fail with that text.
std::string FailInserts(const std::string& text, int failures) {
  return "create table attempts(a); create trigger t before insert on log_tbl "
         "when new.log_Desc = 'stubborn' begin "
         "insert into attempts values(1); "
         "select case when (select count(*) from attempts) <= " +
         std::to_string(failures) + " then raise(fail, '" + text + "') end; end";
}

TEST_F(LogDatabase, TriesALockedInsertTwentyTimes200MillisecondsApart) {
  const struct {
    const char* error;
    int failures;
    std::size_t attempts;
    bool isStored;
  } rows[] = {
      {"database is locked ", 3, 4, true},    {"sorry, database is locked now", 1, 2, true},
      {"database is locked ", 19, 20, true},  {"database is locked ", 1000, 20, false},
      {"database is locked", 1000, 1, false},  // without the blank
      {"disk full", 1000, 1, false},
  };

  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.error) + std::to_string(row.failures));
    std::filesystem::remove_all("/tmp/CloudLog");
    test::ForgetPauses();
    Prepare(FailInserts(row.error, row.failures));

    EXPECT_EQ(Write({"stubborn", "next"}), 0);

    EXPECT_THAT(Column("select count(*) from attempts"), ElementsAre(std::to_string(row.attempts)));
    EXPECT_EQ(test::Pauses(), std::vector<test::Pause>(row.attempts - 1, 200ms));
    EXPECT_EQ(Messages().size(), row.isStored ? 2U : 1U);
    EXPECT_EQ(Messages().back(), "next");
  }
}

TEST_F(LogDatabase, DropsARecordAtOnceWhenSqliteFindsTheDatabaseLocked) {
  Prepare();
  test::DatabaseFile other(test::kLogDatabase);
  other.Run("begin exclusive");

  EXPECT_EQ(Write({"lost"}), 0);

  EXPECT_THAT(queue, IsEmpty());
  EXPECT_THAT(test::Pauses(), IsEmpty());
  other.Run("commit");
  EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(LogDatabase, InsertsABatchInOneTransactionWhileCallersWait) {
  Prepare(FailInserts("database is locked ", 1));
  std::optional<std::size_t> seenDuringTheBatch;
  std::optional<test::Caller> caller;
  bool waits = false;
  test::OnPause([&](test::Pause) {
    seenDuringTheBatch = Messages().size();
    caller.emplace([] { log_DB(INFO, "meanwhile"); });
    waits = caller->Waits();
  });

  Write({"first", "second", "stubborn"});

  EXPECT_EQ(seenDuringTheBatch, 0U);
  EXPECT_EQ(Messages().size(), 3U);
  EXPECT_TRUE(waits);
  ASSERT_TRUE(caller.has_value());
  EXPECT_TRUE(caller->Returns());
}

}  // namespace
