// Recording newly packed files. Recall files are recorded and dropped.
#include <gmock/gmock.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logs.h"

using namespace test;
using namespace testing;

namespace {

constexpr char kSecond[] = "realdata/7/S20240307120000.tar.gz";
constexpr char kAlarm[] = "alarmdata/7/T20240307115900.tar.gz";
constexpr char kSecondRow[] = "realdata/7/S20240307120000.tar.gz|2|0";

class LedgerSaving : public LedgerTest {};

// A power cut must not leave a ledger without its table.
TEST_F(LedgerSaving, BringsANewLedgerToANewCardOnceItIsWhole) {
  bool thereTooEarly = true;
  std::vector<std::string> onTheCard;
  AtNextCall(Call::kSqliteExec, [&] { thereTooEarly = Exists(paths::kLedger); });
  AtNextCall(Call::kFsync, [&] { onTheCard = Tables(); });

  EXPECT_EQ(Save({Row(kFirst)}), 0);

  EXPECT_FALSE(thereTooEarly);
  EXPECT_THAT(onTheCard, ElementsAre("tJsonFileNames"));
  EXPECT_THAT(test::List(paths::kCloudTree), ElementsAre("DB"));
  EXPECT_THAT(LedgerRows(), ElementsAre(kFirstRow));
}

TEST_F(LedgerSaving, ReplacesNoLedgerThatAppearsMeanwhile) {
  AtNextCall(Call::kSqliteExec, [] {
    LedgerFile().Run("create table tJsonFileNames(FileName primary key,FileType,Result)");
    LedgerFile().Run("insert into tJsonFileNames values('a20240307110000.tar.gz',1,1)");
  });

  EXPECT_EQ(Save({Row(kFirst)}), 0);
  EXPECT_THAT(LedgerRows(), ElementsAre("a20240307110000.tar.gz|1|1", kFirstRow));
}

// SQLite plays back a journal that it finds beside a database.
TEST_F(LedgerSaving, ReplacesAnUnfinishedLedgerAndRemovesTheJournalOfAnEarlierOne) {
  {
    LedgerFile earlier;
    earlier.Run(
        "pragma synchronous=off; create table other(a); begin; insert into other values(1)");
    std::filesystem::copy(paths::kLedgerJournal, "/media/mmcblk0p1/journal");
  }
  std::filesystem::remove(paths::kLedger);
  std::filesystem::rename("/media/mmcblk0p1/journal", paths::kLedgerJournal);
  WriteFile(paths::kNewLedger, "nonsense");

  EXPECT_EQ(Save({Row(kFirst)}), 0);
  EXPECT_THAT(LedgerRows(), ElementsAre(kFirstRow));
}

TEST_F(LedgerSaving, RecordsRowsInTheirOrderAndSkipsNamesThatAreThereOrCannotBe) {
  const std::string longest = std::string(106, 'd') + "20240307120000.tar.gz";
  MakePendingTable({"'realdata/7/S20240307115500.tar.gz',1,1"});

  EXPECT_EQ(Save({Row(kFirst), Row(longest), Row("S'20240307115800.tar.gz"), Row(kAlarm, -7, 5)}),
            0);

  EXPECT_THAT(LedgerRows(), ElementsAre("realdata/7/S20240307115500.tar.gz|1|1", longest + "|2|0",
                                        "alarmdata/7/T20240307115900.tar.gz|-7|5"));
}

TEST_F(LedgerSaving, FailsWithoutAListOrWhenItsDirectoryCannotBeMade) {
  EXPECT_EQ(Ledger().SaveHistoryData(nullptr), -1);
  EXPECT_FALSE(Exists(paths::kCloudTree));

  WriteFile(paths::kCloudTree, "a file in the way");
  EXPECT_EQ(Save({Row(kFirst)}), -1);
  EXPECT_EQ(ReadFile(paths::kCloudTree), "a file in the way");
}

TEST_F(LedgerSaving, KeepsRowsInMemoryWhenTheyCannotBeRecorded) {
  MakePendingTable();

  FailCalls(Call::kSqliteOpen);
  EXPECT_EQ(Save({Row(kSecond)}), -1);
  FailCalls(Call::kSqliteExec);  // the setting that makes commits durable
  EXPECT_EQ(Save({}), -1);
  FailCalls(Call::kSqliteExec, 1, 3);  // the commit: setting, begin and insert pass
  EXPECT_EQ(Save({}), 0);
  EXPECT_THAT(LedgerRows(), IsEmpty());

  EXPECT_EQ(Save({Row(kFirst)}), 0);
  EXPECT_THAT(LedgerRows(), ElementsAre(kSecondRow, kFirstRow));
}

TEST_F(LedgerSaving, RecordsItsRowsAndFailsWhenTheAgedOnesCannotBeListed) {
  MakePendingTable();
  FailCalls(Call::kSqlitePrepare, 1, 1);  // the first is the look for the table

  EXPECT_EQ(Save({Row(kFirst)}), -1);
  EXPECT_THAT(LedgerRows(), ElementsAre(kFirstRow));
}

TEST_F(LedgerSaving, FailsOnAPendingTableOfOtherColumnsAndKeepsTheTree) {
  LedgerFile().Run("create table tJsonFileNames(other)");

  EXPECT_EQ(Save({Row(kFirst)}), -1);
  EXPECT_THAT(Tables(), ElementsAre("tJsonFileNames"));
}

TEST_F(LedgerSaving, LogsOnceWhenItBeginsToFailAndWhenItSucceedsAgain) {
  MakePendingTable();
  {
    const NoLockWaits noWaits;
    LedgerFile holder;
    holder.Run("begin exclusive");
    Save({Row(kFirst)});
    Save({Row(kSecond)});
  }
  Save({});
  Save({});

  const LogRecord begins = {"WARN",
                            "ledger: recording fails, 1 rows wait in memory: database is locked"};
  const LogRecord ends = {"INFO", "ledger: recording and ageing succeed again"};
  EXPECT_THAT(TextLog(), ElementsAre(begins, ends));
}

TEST_F(LedgerSaving, GivesUpTheOldestOfMoreThan10000RowsInMemory) {
  MakePendingTable();
  Rows rows(10001, Row(kSecond));
  rows.front() = Row(kFirst);
  rows.at(1) = Row(kAlarm, 1);
  FailCalls(Call::kSqliteOpen);

  Save(rows);
  Save({});

  EXPECT_THAT(LedgerRows(), ElementsAre("alarmdata/7/T20240307115900.tar.gz|1|0", kSecondRow));
  EXPECT_THAT(TextLog("WARN"), ElementsAre("ledger: 1 of the oldest rows in memory are given up",
                                           HasSubstr("10000 rows")));
}

constexpr std::time_t kNow = 1709784000;  // at which every test starts

std::string InCallData(const std::string& name) {
  return std::string(paths::kCallData) + "/" + name;
}

class RecallLedger : public LedgerTest {
 protected:
  static int SaveRecall(const std::string& name) { return Ledger().SaveRecallData(name.c_str()); }

  static void SaveRecallAt(std::time_t when, const std::string& name) {
    SetTime(when);
    EXPECT_EQ(SaveRecall(name), 0);
  }
};

TEST_F(RecallLedger, MakesBothTablesOnANewCard) {
  EXPECT_EQ(SaveRecall("new"), 0);

  EXPECT_THAT(Tables(), ElementsAre("recallJsonFile", "tJsonFileNames"));
  EXPECT_THAT(RecallRows(), ElementsAre("1709784000|new"));
}

TEST_F(RecallLedger, RecordsAndAgesTimesBeyond32Bits) {
  constexpr std::time_t kIn2070 = 3155760000;

  SaveRecallAt(kIn2070 - 10 * 86400, "old");
  SaveRecallAt(kIn2070, "new");

  EXPECT_THAT(RecallRows(), ElementsAre("3155760000|new"));
}

TEST_F(RecallLedger, DropsRowAndFileOfExactlyThreeDaysAgoAndKeepsOneASecondYounger) {
  SaveRecallAt(kNow - 259200, "old");
  SaveRecallAt(kNow - 259200, InCallData("path"));  // no name: its file stays
  SaveRecallAt(kNow - 259199, "young");
  for (const char* name : {"old", "path", "young"}) WriteFile(InCallData(name), "archive");

  SaveRecallAt(kNow, "new");

  EXPECT_THAT(RecallRows(), ElementsAre("1709524801|young", "1709784000|new"));
  EXPECT_THAT(test::List(paths::kCallData), ElementsAre("path", "young"));
}

TEST_F(RecallLedger, FailsOnAFileThatIsNoDatabaseAndCondemnsNothing) {
  WriteFile(paths::kLedger, "nonsense");

  EXPECT_EQ(SaveRecall("new"), -1);
  EXPECT_EQ(ReadFile(paths::kLedger), "nonsense");
}

TEST_F(RecallLedger, CondemnsNoLedgerWithoutAPendingTable) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  Ledger().CreateRecallTable();

  EXPECT_EQ(SaveRecall("new"), 0);
  EXPECT_THAT(RecallRows(), ElementsAre("1709784000|new"));
}

TEST_F(RecallLedger, FailsWhenTheAgedRowsCannotBeListedAndKeepsItsRow) {
  MakePendingTable();
  FailCalls(Call::kSqlitePrepare);

  EXPECT_EQ(SaveRecall("new"), -1);
  EXPECT_THAT(RecallRows(), SizeIs(1));
}

TEST_F(RecallLedger, FailsWithoutAName) {
  EXPECT_EQ(Ledger().SaveRecallData(nullptr), -1);
  EXPECT_FALSE(Exists(paths::kCloudTree));
}

}  // namespace
