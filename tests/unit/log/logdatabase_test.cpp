// The log database: what it holds, how it is made, how many rows it keeps, and what happens to a
// record that cannot be inserted.
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
#include "support/faults.h"
#include "support/logs.h"
#include "util/sqlite.h"

namespace {

using namespace test;
using namespace testing;
using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

class LogDatabase : public LogDatabaseTest {
 protected:
  void TearDown() override {
    store.Init();  // the default limit
    StoreTest::TearDown();
  }
  // Creates the database with its table and runs the statements in it.
  void Prepare(const std::string& sql = "") {
    CLogTxt::Instance().Init();  // the directory, as the text log makes it
    ASSERT_EQ(store.LogTableCreate(kLogDatabase), 0);
    DatabaseFile(kLogDatabase).Run(sql);
  }
  // The first column of a query's rows.
  static Texts Column(const std::string& query) { return DatabaseFile(kLogDatabase).Lines(query); }
  static Texts Messages() { return Column("select log_Desc from log_tbl order by Pid"); }
};

TEST_F(LogDatabase, AppendsEachRecordInItsColumns) {
  EXPECT_EQ(Write({"first", "second"}), 0);
  EXPECT_EQ(Write({"third"}), 0);

  EXPECT_THAT(Column("select Pid || '|' || RecordDate || '|' || RecordTime || '|' || log_Type || "
                     "'|' || log_Desc from log_tbl order by Pid"),
              ElementsAre("1|2024-03-06|23:59:58|INFO|first", "2|2024-03-06|23:59:58|INFO|second",
                          "3|2024-03-06|23:59:58|INFO|third"));
}

TEST_F(LogDatabase, StoresEveryTextWithoutADoubleQuoteAsItIs) {
  const Texts messages = {"",         "a line feed at the end\n",
                          "one\ntwo", "it's",
                          "100%n %s", "a; drop table log_tbl;",
                          "Pid",      "007",
                          "没有",     "\xFF",
                          "\\",       std::string(255, '\''),
                          "after"};
  auto queued = messages;
  queued.insert(queued.end() - 1, {"say \"hello\"", "\""});

  EXPECT_EQ(Write(queued), 0);

  EXPECT_EQ(Messages(), messages);
}

TEST_F(LogDatabase, CutsAMessageAt254Characters) {
  store.InsertLog("INFO", (std::string(254, 'x') + "y").c_str());

  EXPECT_THAT(DatabaseLog("INFO"), ElementsAre(std::string(254, 'x')));
}

TEST_F(LogDatabase, TouchesNothingForAnEmptyQueue) {
  EXPECT_EQ(Write(), -1);

  EXPECT_FALSE(Exists("/tmp/CloudLog"));
}

TEST_F(LogDatabase, CreatesOneTable) {
  EXPECT_EQ(store.LogTableCreate(kLogDatabase), 0);

  EXPECT_THAT(Column("select sql from sqlite_master"),
              ElementsAre("CREATE TABLE log_tbl(Pid INTEGER PRIMARY KEY, RecordDate DATE, "
                          "RecordTime TIME, log_Type TEXT, log_Desc TEXT)"));
}

TEST_F(LogDatabase, ComesBackWhenItWasRemoved) {
  for (const char* removed : {kLogDatabase, "/tmp/CloudLog"}) {
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
  WriteFile(kLogDatabase, foreign);

  EXPECT_EQ(store.LogTableCreate(kLogDatabase), 0);
  EXPECT_EQ(Write({"lost"}), 0);

  EXPECT_THAT(queue, IsEmpty());
  EXPECT_EQ(ReadFile(kLogDatabase), foreign);
}

TEST_F(LogDatabase, FailsWhenItOrItsTableCannotBeMade) {
  FailCalls(Call::kSqliteExec);
  EXPECT_EQ(store.LogTableCreate(kLogDatabase), -1);

  std::filesystem::remove_all("/tmp/CloudLog");
  WriteFile("/tmp/CloudLog", "in the way");
  EXPECT_EQ(store.LogTableCreate(kLogDatabase), -1);
}

// Makes the first `failures` inserts of 'stubborn' fail with that text.
std::string FailInserts(const std::string& text, int failures) {
  return "create table attempts(a); create trigger t before insert on log_tbl "
         "when new.log_Desc = 'stubborn' begin insert into attempts values(1); "
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
      {"sorry, database is locked now", 1, 2, true},
      {"database is locked ", 19, 20, true},
      {"database is locked ", 1000, 20, false},
      {"database is locked", 1000, 1, false},
      {"disk full", 1000, 1, false},
  };

  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.error) + std::to_string(row.failures));
    std::filesystem::remove_all("/tmp/CloudLog");
    ForgetPauses();
    Prepare(FailInserts(row.error, row.failures));

    EXPECT_EQ(Write({"stubborn", "next"}), 0);

    EXPECT_THAT(Column("select count(*) from attempts"), ElementsAre(std::to_string(row.attempts)));
    EXPECT_EQ(Pauses(), std::vector<Pause>(row.attempts - 1, 200ms));
    EXPECT_EQ(Messages(), row.isStored ? Texts({"stubborn", "next"}) : Texts({"next"}));
  }
}

TEST_F(LogDatabase, DropsARecordAtOnceWhenSqliteFindsTheDatabaseLocked) {
  Prepare();
  DatabaseFile other(kLogDatabase);
  other.Run("begin exclusive");

  EXPECT_EQ(Write({"lost"}), 0);

  EXPECT_THAT(queue, IsEmpty());
  EXPECT_THAT(Pauses(), IsEmpty());
  other.Run("commit");
  EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(LogDatabase, InsertsABatchInOneTransactionWhileCallersWait) {
  Prepare(FailInserts("database is locked ", 1));
  std::optional<std::size_t> seenDuringTheBatch;
  std::optional<Caller> caller;
  bool waits = false;
  OnPause([&](Pause) {
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

// Inserts rows with the numbers from `first` to `last`, their numbers as messages.
std::string Rows(int first, int last) {
  return util::Format(
      "with recursive n(i) as (select %d union all select i + 1 from n where i < %d) insert into "
      "log_tbl select i, '2024-03-05', '00:00:00', 'INFO', i from n;",
      first, last);
}

TEST_F(LogDatabase, StaysAt10000Rows) {
  EXPECT_EQ(store.Init(), 0);
  store.LogMaxItemSet(1);
  log_init(0);
  Prepare(Rows(1, 10'000));

  Write({"a", "b", "c"});

  EXPECT_THAT(Column("select count(*) || ' from ' || min(Pid) from log_tbl"),
              ElementsAre("10000 from 4"));
}

TEST_F(LogDatabase, DeletesTheSmallestNumbersForWhatIsComing) {
  const struct {
    int max;
    int incoming;
    Texts left;
  } rows[] = {{5, 1, {"5", "6", "20", "21"}}, {4, 1, {"6", "20", "21"}}, {3, 100, {}}};

  for (const auto& row : rows) {
    Prepare("delete from log_tbl;" + Rows(20, 21) + Rows(5, 6));
    util::Database database(kLogDatabase);
    store.CheckSizeAndClear(database.Get(), "log_tbl", row.max, row.incoming);
    EXPECT_EQ(Messages(), row.left) << row.max << ' ' << row.incoming;
  }
}

TEST_F(LogDatabase, SaysThatRowsCannotBeDeletedAndGoesOn) {
  store.LogMaxItemSet(1);
  Prepare(Rows(1, 1) +
          "create trigger t before delete on log_tbl begin select raise(abort, 'kept'); end");
  testing::internal::CaptureStdout();

  EXPECT_EQ(Write({"a"}), 0);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Delete Date from log_tbl failed. kept");
  EXPECT_THAT(Messages(), ElementsAre("1", "a"));
}

TEST_F(LogDatabase, CountsRowsAndReportsAMissingTable) {
  Prepare(Rows(1, 10) + "create table other(a)");
  const util::Database database(kLogDatabase);
  testing::internal::CaptureStdout();

  EXPECT_EQ(store.GetTableSize(database.Get(), "log_tbl"), 10);
  EXPECT_EQ(store.GetTableSize(database.Get(), "other"), 0);
  EXPECT_EQ(store.GetTableSize(database.Get(), std::string(1000, 'x').c_str()), -1);

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "SQL error: no such table: " + std::string(254 - 21, 'x') + "\n");
}

}  // namespace
