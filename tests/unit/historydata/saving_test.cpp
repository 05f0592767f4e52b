// Recording newly packed files.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/logs.h"
#include "util/paths.h"

using test::Call;
using test::Row;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char kFirst[] = "realdata/7/S20240307115500.tar.gz";
constexpr char kSecond[] = "realdata/7/S20240307120000.tar.gz";
constexpr char kAlarm[] = "alarmdata/7/T20240307115900.tar.gz";

class LedgerSaving : public test::LedgerTest {};

TEST_F(LedgerSaving, MakesItsDirectoryAndItsTableOnANewCard) {
  const mode_t before = umask(0);

  const int result = Save({Row(kFirst)});

  umask(before);
  struct stat status {};
  stat(paths::kLedgerDirectory, &status);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(status.st_mode & 07777U, 0755U);
  EXPECT_THAT(test::Tables(), ElementsAre("tJsonFileNames"));
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307115500.tar.gz|2|0"));
}

TEST_F(LedgerSaving, LeavesTheRestOfANewCardAlone) {
  Save({Row(kFirst)});

  EXPECT_THAT(test::List(paths::kCardMount), ElementsAre("Cloud"));
  EXPECT_THAT(test::List(paths::kCloudTree), ElementsAre("DB"));
}

TEST_F(LedgerSaving, RecordsRowsInTheirOrderAsTheyAre) {
  test::MakePendingTable();

  const int result = Save({Row(kSecond, 2, 0), Row(kAlarm, 1, 1), Row(kFirst, -7, 5)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307120000.tar.gz|2|0",
                                              "alarmdata/7/T20240307115900.tar.gz|1|1",
                                              "realdata/7/S20240307115500.tar.gz|-7|5"));
}

TEST_F(LedgerSaving, RecordsANameOfAllItsCharacters) {
  const std::string name = std::string(106, 'd') + "20240307120000.tar.gz";
  ASSERT_THAT(name, SizeIs(127));

  Save({Row(name)});

  EXPECT_THAT(test::LedgerRows(), ElementsAre(name + "|2|0"));
}

TEST_F(LedgerSaving, LeavesARowThatIsRecordedAsItIs) {
  test::MakePendingTable({"'realdata/7/S20240307115500.tar.gz',1,1"});

  const int result = Save({Row(kFirst, 2, 0), Row(kSecond)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307115500.tar.gz|1|1",
                                              "realdata/7/S20240307120000.tar.gz|2|0"));
}

TEST_F(LedgerSaving, RecordsANameOfOneListOnce) {
  const int result = Save({Row(kFirst, 2), Row(kFirst, 1), Row(kSecond)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307115500.tar.gz|2|0",
                                              "realdata/7/S20240307120000.tar.gz|2|0"));
}

TEST_F(LedgerSaving, LosesARowWhoseNameHoldsAQuoteAndNoOther) {
  const int result = Save({Row(kFirst), Row("realdata/7/S'20240307115800.tar.gz"), Row(kSecond)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307115500.tar.gz|2|0",
                                              "realdata/7/S20240307120000.tar.gz|2|0"));
}

TEST_F(LedgerSaving, OfNothingMakesTheLedger) {
  const int result = Save({});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::Tables(), ElementsAre("tJsonFileNames"));
  EXPECT_THAT(test::LedgerRows(), IsEmpty());
}

TEST_F(LedgerSaving, FailsWithoutAList) {
  EXPECT_EQ(Ledger().SaveHistoryData(nullptr), -1);
  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

TEST_F(LedgerSaving, TakesTenThousandRowsAndGivesTheNewestOfThem) {
  std::vector<History_Data_Para> rows;
  for (int second = 0; second < 10000; ++second) {
    rows.push_back(Row(test::RealDataName(test::LocalTimeOf(2024, 3, 7) + second)));
  }
  std::vector<History_Data_Para> pending;

  const int saved = Save(rows);
  const int savedOnTop = Save({Row(kSecond)});
  Ledger().GetHistoryData(&pending);

  EXPECT_EQ(saved, 0);
  EXPECT_EQ(savedOnTop, 0);
  EXPECT_THAT(test::LedgerRows(), SizeIs(10001));
  ASSERT_THAT(pending, SizeIs(20));
  EXPECT_STREQ(pending.at(0).filename, kSecond);
  EXPECT_STREQ(pending.at(1).filename, "realdata/7/S20240307024639.tar.gz");
}

TEST_F(LedgerSaving, FailsWhenItsDirectoryCannotBeMade) {
  test::WriteFile(paths::kCloudTree, "a file in the way");

  const int result = Save({Row(kFirst)});

  EXPECT_EQ(result, -1);
  EXPECT_EQ(test::ReadFile(paths::kCloudTree), "a file in the way");
}

TEST_F(LedgerSaving, FailsWhenTheDatabaseCannotBeOpenedForTheRows) {
  test::MakePendingTable();
  test::FailCalls(Call::kSqliteOpen);

  const int result = Save({Row(kFirst)});

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::LedgerRows(), IsEmpty());
}

TEST_F(LedgerSaving, WorksAgainAfterAFailure) {
  test::MakePendingTable();
  test::FailCalls(Call::kSqliteOpen);
  Save({Row(kFirst)});

  const int result = Save({Row(kFirst)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307115500.tar.gz|2|0"));
}

TEST_F(LedgerSaving, KeepsTheRowsWhenTheAgedOnesCannotBeListed) {
  test::MakePendingTable();
  test::FailCalls(Call::kSqlitePrepare, 1, 1);  // the first is the look for the table

  const int result = Save({Row(kFirst)});

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307115500.tar.gz|2|0"));
}

TEST_F(LedgerSaving, FailsOnAPendingTableOfOtherColumnsAndKeepsTheTree) {
  test::LedgerFile().Run("create table tJsonFileNames(other)");

  const int result = Save({Row(kFirst)});

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::Tables(), ElementsAre("tJsonFileNames"));
}

TEST_F(LedgerSaving, RecordsTheOtherRowsWhenOneInsertFails) {
  test::MakePendingTable();
  test::FailCalls(Call::kSqliteExec, 1, 3);  // setting, begin and the first insert pass

  const int result = Save({Row(kFirst), Row(kAlarm, 1), Row(kSecond)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307115500.tar.gz|2|0",
                                              "realdata/7/S20240307120000.tar.gz|2|0"));
}

TEST_F(LedgerSaving, KeepsTheRowsOfAFailedCommitAndRecordsThemFirst) {
  test::MakePendingTable();
  test::FailCalls(Call::kSqliteExec, 1, 3);  // setting, begin and the insert pass

  const int failed = Save({Row(kSecond)});

  EXPECT_EQ(failed, 0);
  EXPECT_THAT(test::LedgerRows(), IsEmpty());
  EXPECT_EQ(Save({Row(kFirst)}), 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307120000.tar.gz|2|0",
                                              "realdata/7/S20240307115500.tar.gz|2|0"));
}

TEST_F(LedgerSaving, TellsTheLogOnceWhenItBeginsToFailAndWhenItSucceedsAgain) {
  test::MakePendingTable();
  const test::NoLockWaits noWaits;
  {
    test::LedgerFile holder;
    holder.Run("begin exclusive");
    Save({Row(kFirst)});
    Save({Row(kSecond)});
  }
  Save({});
  Save({});

  const test::LogRecord begins = {
      "WARN", "ledger: recording fails, 1 rows wait in memory: database is locked"};
  const test::LogRecord ends = {"INFO", "ledger: recording and ageing succeed again"};
  EXPECT_THAT(test::TextLog(), ElementsAre(begins, ends));
}

TEST_F(LedgerSaving, GivesUpTheOldestOfTooManyRowsInMemory) {
  test::MakePendingTable();
  const test::NoLockWaits noWaits;
  std::vector<History_Data_Para> rows(10001, Row(kSecond));
  rows.front() = Row(kFirst);
  {
    test::LedgerFile holder;
    holder.Run("begin exclusive");
    Save(rows);
  }

  Save({});

  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307120000.tar.gz|2|0"));
  EXPECT_THAT(test::TextLog(), ::testing::Contains(test::LogRecord{
                                   "WARN", "ledger: 1 of the oldest rows in memory are given up"}));
}

}  // namespace
