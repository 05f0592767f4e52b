// Recording newly packed files.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/logs.h"

using test::Call;
using test::Row;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

constexpr char kFirst[] = "realdata/7/S20240307115500.tar.gz";
constexpr char kSecond[] = "realdata/7/S20240307120000.tar.gz";
constexpr char kAlarm[] = "alarmdata/7/T20240307115900.tar.gz";
constexpr char kFirstRow[] = "realdata/7/S20240307115500.tar.gz|2|0";
constexpr char kSecondRow[] = "realdata/7/S20240307120000.tar.gz|2|0";

class LedgerSaving : public test::LedgerTest {};

// A power cut must not leave a ledger without its table.
TEST_F(LedgerSaving, BringsANewLedgerToANewCardOnceItIsWhole) {
  bool thereTooEarly = true;
  std::vector<std::string> onTheCard;
  test::AtNextCall(Call::kSqliteExec, [&] { thereTooEarly = test::Exists(paths::kLedger); });
  test::AtNextCall(Call::kFsync, [&] { onTheCard = test::Tables(); });

  EXPECT_EQ(Save({Row(kFirst)}), 0);

  EXPECT_FALSE(thereTooEarly);
  EXPECT_THAT(onTheCard, ElementsAre("tJsonFileNames"));
  EXPECT_THAT(test::List(paths::kCloudTree), ElementsAre("DB"));
  EXPECT_THAT(test::LedgerRows(), ElementsAre(kFirstRow));
}

TEST_F(LedgerSaving, ReplacesNoLedgerThatAppearsMeanwhile) {
  test::AtNextCall(Call::kSqliteExec, [] {
    test::LedgerFile().Run("create table tJsonFileNames(FileName primary key,FileType,Result)");
    test::LedgerFile().Run("insert into tJsonFileNames values('a20240307110000.tar.gz',1,1)");
  });

  EXPECT_EQ(Save({Row(kFirst)}), 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a20240307110000.tar.gz|1|1", kFirstRow));
}

// SQLite plays back a journal that it finds beside a database.
TEST_F(LedgerSaving, ReplacesAnUnfinishedLedgerAndRemovesTheJournalOfAnEarlierOne) {
  {
    test::LedgerFile earlier;
    earlier.Run(
        "pragma synchronous=off; create table other(a); begin; insert into other values(1)");
    std::filesystem::copy(paths::kLedgerJournal, "/media/mmcblk0p1/journal");
  }
  std::filesystem::remove(paths::kLedger);
  std::filesystem::rename("/media/mmcblk0p1/journal", paths::kLedgerJournal);
  test::WriteFile(paths::kNewLedger, "nonsense");

  EXPECT_EQ(Save({Row(kFirst)}), 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre(kFirstRow));
}

TEST_F(LedgerSaving, RecordsRowsInTheirOrderAndSkipsNamesThatAreThereOrCannotBe) {
  const std::string longest = std::string(106, 'd') + "20240307120000.tar.gz";
  test::MakePendingTable({"'realdata/7/S20240307115500.tar.gz',1,1"});

  EXPECT_EQ(Save({Row(kFirst), Row(longest), Row("S'20240307115800.tar.gz"), Row(kAlarm, -7, 5)}),
            0);

  EXPECT_THAT(test::LedgerRows(),
              ElementsAre("realdata/7/S20240307115500.tar.gz|1|1", longest + "|2|0",
                          "alarmdata/7/T20240307115900.tar.gz|-7|5"));
}

TEST_F(LedgerSaving, FailsWithoutAListOrWhenItsDirectoryCannotBeMade) {
  EXPECT_EQ(Ledger().SaveHistoryData(nullptr), -1);
  EXPECT_FALSE(test::Exists(paths::kCloudTree));

  test::WriteFile(paths::kCloudTree, "a file in the way");
  EXPECT_EQ(Save({Row(kFirst)}), -1);
  EXPECT_EQ(test::ReadFile(paths::kCloudTree), "a file in the way");
}

TEST_F(LedgerSaving, KeepsRowsInMemoryWhenTheyCannotBeRecorded) {
  test::MakePendingTable();

  test::FailCalls(Call::kSqliteOpen);
  EXPECT_EQ(Save({Row(kSecond)}), -1);
  test::FailCalls(Call::kSqliteExec);  // the setting that makes commits durable
  EXPECT_EQ(Save({}), -1);
  test::FailCalls(Call::kSqliteExec, 1, 3);  // the commit: setting, begin and insert pass
  EXPECT_EQ(Save({}), 0);
  EXPECT_THAT(test::LedgerRows(), IsEmpty());

  EXPECT_EQ(Save({Row(kFirst)}), 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre(kSecondRow, kFirstRow));
}

TEST_F(LedgerSaving, RecordsItsRowsAndFailsWhenTheAgedOnesCannotBeListed) {
  test::MakePendingTable();
  test::FailCalls(Call::kSqlitePrepare, 1, 1);  // the first is the look for the table

  EXPECT_EQ(Save({Row(kFirst)}), -1);
  EXPECT_THAT(test::LedgerRows(), ElementsAre(kFirstRow));
}

TEST_F(LedgerSaving, FailsOnAPendingTableOfOtherColumnsAndKeepsTheTree) {
  test::LedgerFile().Run("create table tJsonFileNames(other)");

  EXPECT_EQ(Save({Row(kFirst)}), -1);
  EXPECT_THAT(test::Tables(), ElementsAre("tJsonFileNames"));
}

TEST_F(LedgerSaving, LogsOnceWhenItBeginsToFailAndWhenItSucceedsAgain) {
  test::MakePendingTable();
  {
    const test::NoLockWaits noWaits;
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

TEST_F(LedgerSaving, GivesUpTheOldestOfMoreThan10000RowsInMemory) {
  test::MakePendingTable();
  std::vector<History_Data_Para> rows(10001, Row(kSecond));
  rows.front() = Row(kFirst);
  rows.at(1) = Row(kAlarm, 1);
  test::FailCalls(Call::kSqliteOpen);

  Save(rows);
  Save({});

  EXPECT_THAT(test::LedgerRows(),
              ElementsAre("alarmdata/7/T20240307115900.tar.gz|1|0", kSecondRow));
  EXPECT_THAT(
      test::TextLog("WARN"),
      ElementsAre("ledger: 1 of the oldest rows in memory are given up", HasSubstr("10000 rows")));
}

}  // namespace
