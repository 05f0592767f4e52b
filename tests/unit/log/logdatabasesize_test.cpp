// The log database's bound: how many rows there are, and which ones go.
#include <gmock/gmock.h>

#include <string>

#include "databasefixture.h"
#include "log/log.h"

namespace {

using test::kLogDatabasePath;
using test::Node;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Rows "old 1", "old 2", … with these numbers.
std::string OldRows(int first, int last) {
  return "with recursive n(i) as (select " + std::to_string(first) +
         " union all select i + 1 from n where i < " + std::to_string(last) +
         ") insert into log_tbl select i, '2024-03-05', '00:00:00', 'INFO', 'old ' || i from n";
}

class LogDatabaseSize : public test::LogDatabaseTest {
 protected:
  // Writes a batch of that many messages, and gives what it printed.
  std::string WriteNew(int count) {
    queue.clear();
    for (int i = 1; i <= count; ++i) queue.push_back(Node("new " + std::to_string(i)));
    testing::internal::CaptureStdout();
    EXPECT_EQ(Write(), 0);
    return testing::internal::GetCapturedStdout();
  }
};

TEST_F(LogDatabaseSize, MakesRoomForThreeRecordsInAFullTable) {
  Prepare(OldRows(1, 10'000));

  WriteNew(3);

  EXPECT_THAT(Column("select count(*) from log_tbl"), ElementsAre("10000"));
  EXPECT_THAT(Column("select min(Pid) from log_tbl"), ElementsAre("4"));
  EXPECT_THAT(Column("select log_Desc from log_tbl where Pid > 10000 order by Pid"),
              ElementsAre("new 1", "new 2", "new 3"));
}

TEST_F(LogDatabaseSize, DeletesNothingWhileTheBatchFits) {
  Prepare(OldRows(1, 9'997));

  WriteNew(3);

  EXPECT_THAT(Column("select count(*) from log_tbl"), ElementsAre("10000"));
  EXPECT_THAT(Column("select min(Pid) from log_tbl"), ElementsAre("1"));
}

TEST_F(LogDatabaseSize, DeletesTheSmallestNumbersWhereverTheyStand) {
  store.LogMaxItemSet(4);
  Prepare(OldRows(20, 21) + ";" + OldRows(5, 6));

  WriteNew(1);

  EXPECT_THAT(Messages(), ElementsAre("old 6", "old 20", "old 21", "new 1"));
}

TEST_F(LogDatabaseSize, InsertsTheWholeOfABatchThatIsLargerThanTheLimit) {
  store.LogMaxItemSet(2);
  Prepare(OldRows(1, 2));

  WriteNew(3);

  EXPECT_THAT(Messages(), ElementsAre("new 1", "new 2", "new 3"));
}

TEST_F(LogDatabaseSize, ShrinksATableThatIsLargerThanTheLimit) {
  store.LogMaxItemSet(3);
  Prepare(OldRows(1, 10));

  WriteNew(1);

  EXPECT_THAT(Messages(), ElementsAre("old 9", "old 10", "new 1"));
}

TEST_F(LogDatabaseSize, SaysThatRowsCannotBeDeletedAndGoesOn) {
  store.LogMaxItemSet(1);
  Prepare(OldRows(1, 1) +
          "; create trigger t before delete on log_tbl begin select raise(abort, 'kept'); end");

  const auto printed = WriteNew(1);

  EXPECT_EQ(printed, "Delete Date from log_tbl failed. kept");
  EXPECT_THAT(Messages(), ElementsAre("old 1", "new 1"));
}

TEST_F(LogDatabaseSize, HasTheLimitThatInitSets) {
  store.LogMaxItemSet(1);

  const int result = store.Init();

  EXPECT_EQ(result, 0);
  Prepare(OldRows(1, 10'000));
  WriteNew(1);
  EXPECT_THAT(Column("select count(*) from log_tbl"), ElementsAre("10000"));
}

TEST_F(LogDatabaseSize, HasItsOwnLimitOnceTheLogHasStarted) {
  store.LogMaxItemSet(1);
  log_init(0);

  WriteNew(3);
  WriteNew(1);

  EXPECT_THAT(Messages(), ElementsAre("new 1", "new 2", "new 3", "new 1"));
}

class LogTable : public test::LogDatabaseTest {
 protected:
  void SetUp() override {
    LogDatabaseTest::SetUp();
    Prepare(OldRows(1, 10) + "; create table other(Pid integer primary key)");
  }
  // What checking and clearing that table left of it.
  std::string Clear(const char* table, int max, int incoming) {
    util::Database database(kLogDatabasePath);
    testing::internal::CaptureStdout();
    store.CheckSizeAndClear(database.Get(), table, max, incoming);
    return testing::internal::GetCapturedStdout();
  }
};

TEST_F(LogTable, HasASize) {
  const util::Database database(kLogDatabasePath);

  EXPECT_EQ(store.GetTableSize(database.Get(), "log_tbl"), 10);
  EXPECT_EQ(store.GetTableSize(database.Get(), "other"), 0);
}

TEST_F(LogTable, HasNoSizeWhenItIsMissing) {
  const util::Database database(kLogDatabasePath);
  testing::internal::CaptureStdout();

  const int size = store.GetTableSize(database.Get(), "nowhere");

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "SQL error: no such table: nowhere\n");
  EXPECT_EQ(size, -1);
}

TEST_F(LogTable, SurvivesANameOfAnyLength) {
  const util::Database database(kLogDatabasePath);
  const std::string name(1000, 'x');
  testing::internal::CaptureStdout();

  const int size = store.GetTableSize(database.Get(), name.c_str());

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "SQL error: no such table: " + std::string(254 - 21, 'x') + "\n");
  EXPECT_EQ(size, -1);
}

TEST_F(LogTable, LosesItsOldestRowsForWhatIsComing) {
  const auto printed = Clear("log_tbl", 8, 1);

  EXPECT_EQ(printed, "");
  EXPECT_THAT(Column("select Pid from log_tbl order by Pid"),
              ElementsAre("4", "5", "6", "7", "8", "9", "10"));
}

TEST_F(LogTable, LosesNothingAtItsLimit) {
  Clear("log_tbl", 11, 1);

  EXPECT_EQ(Messages().size(), 10U);
}

TEST_F(LogTable, LosesAllRowsWhenMoreIsComingThanItMayHold) {
  Clear("log_tbl", 5, 100);

  EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(LogTable, SaysWhyItCannotBeCleared) {
  const auto printed = Clear("nowhere", 1, 100);

  EXPECT_EQ(printed,
            "SQL error: no such table: nowhere\n"
            "Delete Date from nowhere failed. no such table: nowhere");
}

}  // namespace
