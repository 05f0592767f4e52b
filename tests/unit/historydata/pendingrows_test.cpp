// The ledger's two tables, reading the pending rows, marking them accepted, and the door to the
// demand history.
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/historydatabase.h"

using namespace test;
using namespace testing;

namespace {

std::vector<std::string> Names(const Rows& rows) {
  std::vector<std::string> names;
  for (const auto& row : rows) names.emplace_back(row.filename);
  return names;
}

class LedgerReading : public LedgerTest {};

TEST_F(LedgerReading, AppendsTheTwentyNewestPendingRowsNewestFirst) {
  std::vector<std::string> recorded;
  std::vector<std::string> expected = {"before"};
  for (int day = 10; day < 35; ++day) {  // day 10 is the newest
    const std::string folder = day % 2 == 0 ? "realdata/" : "alarmdata/";
    const std::string name = folder + "1/S202403" + std::to_string(99 - day) + "120000.tar.gz";
    recorded.insert(day % 3 == 0 ? recorded.begin() : recorded.end(), "'" + name + "',2,0");
    if (expected.size() <= 20) expected.push_back(name);
  }
  MakePendingTable(recorded);
  Rows rows = {Row("before")};

  EXPECT_EQ(List(rows), 0);
  EXPECT_EQ(Names(rows), expected);
}

TEST_F(LedgerReading, ListsOnlyResultZeroWithAllItsColumnsAndCutsALongName) {
  MakePendingTable({"'a20240307120001.tar.gz',2,1", "'b20240307120002.tar.gz',77,0",
                    "'c20240307120003.tar.gz',2,-1", "'d20240307120004.tar.gz',2,2", "NULL,NULL,0",
                    "'" + std::string(5000, 'n') + "','text','0'"});
  Rows rows;

  EXPECT_EQ(List(rows), 0);
  ASSERT_THAT(Names(rows), ElementsAre(std::string(127, 'n'), "b20240307120002.tar.gz", ""));
  EXPECT_EQ(rows[1].filetype, 77);
  EXPECT_EQ(rows[1].result, 0);
}

TEST_F(LedgerReading, AppendsNothingOnFailureAndLeavesTheFileInPlace) {
  MakePendingTable({"'a',2,0"});
  const std::vector<std::function<void()>> damages = {
      [] { FailCalls(Call::kSqliteOpen); },
      [] { LedgerFile().Run("drop table tJsonFileNames"); },
      [] { WriteFile(paths::kLedger, "nonsense"); },
  };

  for (const auto& damage : damages) {
    SCOPED_TRACE(&damage - damages.data());
    damage();
    const std::string before = ReadFile(paths::kLedger);
    Rows rows = {Row("before")};
    EXPECT_EQ(List(rows), -1);
    EXPECT_THAT(Names(rows), ElementsAre("before"));
    EXPECT_EQ(ReadFile(paths::kLedger), before);
  }
}

TEST_F(LedgerReading, FailsWithoutAListOrALedgerFileAndMakesNone) {
  Ledger().Mkdirs(paths::kLedgerDirectory);

  EXPECT_EQ(List(), -1);
  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
  MakePendingTable();
  EXPECT_EQ(Ledger().GetHistoryData(nullptr), -1);
}

class LedgerMarking : public LedgerTest {
 protected:
  static int Mark(const char* name) { return Ledger().UpdateHistoryData(name); }
};

TEST_F(LedgerMarking, AcceptsTheOneRowOfThatName) {
  MakePendingTable({"'a',2,0", "'b',1,0", "'c',2,2"});

  for (const char* name : {"b", "c", "A", "unknown", ""}) EXPECT_EQ(Mark(name), 0) << name;

  EXPECT_THAT(LedgerRows(), ElementsAre("a|2|0", "b|1|1", "c|2|2"));
}

TEST_F(LedgerMarking, SucceedsWithoutALedgerFileAndMakesNoneButFailsWithoutAName) {
  Ledger().Mkdirs(paths::kLedgerDirectory);

  EXPECT_EQ(Mark("a"), 0);
  EXPECT_EQ(Mark(nullptr), -1);
  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
}

TEST_F(LedgerMarking, FailsWhenTheLedgerCannotBeOpenedAndMarksLater) {
  MakePendingTable({"'a',2,0"});
  Rows rows;

  FailCalls(Call::kSqliteOpen);
  EXPECT_EQ(Mark("a"), -1);
  EXPECT_EQ(List(rows), 0);
  EXPECT_THAT(rows, IsEmpty());
}

// Otherwise a row that was accepted would be sent again.
TEST_F(LedgerMarking, ListsNoRowsWhileAMarkWaits) {
  MakePendingTable({"'a',2,0", "'b',2,0"});
  const NoLockWaits noWaits;
  Rows rows;
  {
    LedgerFile reader;
    reader.Run("begin; select * from tJsonFileNames");
    EXPECT_EQ(Mark("a"), 0);
    EXPECT_EQ(List(rows), -1);
  }
  FailCalls(Call::kSqliteExec);  // the setting that makes commits durable
  EXPECT_EQ(List(rows), -1);

  EXPECT_EQ(List(rows), 0);
  EXPECT_THAT(Names(rows), ElementsAre("b"));
}

TEST_F(LedgerMarking, WritesAllWaitingMarksInOneTransaction) {
  MakePendingTable({"'a',2,0", "'b',2,0"});
  FailCalls(Call::kSqliteExec);  // the setting that makes commits durable
  Mark("a");

  FailCalls(Call::kSqliteExec, 1, 4);  // setting, begin and both marks pass
  EXPECT_EQ(Mark("b"), 0);
  EXPECT_THAT(LedgerRows(), ElementsAre("a|2|0", "b|2|0"));

  EXPECT_EQ(List(), 0);
  EXPECT_THAT(LedgerRows(), ElementsAre("a|2|1", "b|2|1"));
}

class LedgerTables : public LedgerTest {};

TEST_F(LedgerTables, HaveTheirColumnsKeyAndDefaultsAndKeepTheirRowsWhenMadeAgain) {
  LedgerFile file;

  Ledger().CreateTable();
  Ledger().CreateRecallTable();
  file.Run("insert into tJsonFileNames values('a',2,1);insert into recallJsonFile values(5,'r')");
  Ledger().CreateTable();
  Ledger().CreateRecallTable();

  EXPECT_THAT(file.Lines("select sql from sqlite_master where type='table'"),
              ElementsAre("CREATE TABLE tJsonFileNames(FileName VARCHAR(32) PRIMARY KEY "
                          "ASC,FileType TINYINT DEFAULT 1,Result TINYINT DEFAULT 0)",
                          "CREATE TABLE recallJsonFile( Createtime INTEGER,FileName VARCHAR(32))"));
  EXPECT_THAT(LedgerRows(), ElementsAre("a|2|1"));
  EXPECT_THAT(RecallRows(), ElementsAre("5|r"));
}

TEST_F(LedgerTables, AreNotMadeWithoutADirectoryNorByALook) {
  Ledger().CreateTable();
  Ledger().CreateRecallTable();

  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
  EXPECT_FALSE(Exists(paths::kCloudTree));
}

TEST_F(LedgerTables, AreFoundByTheirExactNames) {
  MakePendingTable();
  LedgerFile().Run("create view v as select 1");

  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), 0);
  EXPECT_EQ(Ledger().IsTableExists(nullptr), 0);
  for (const char* name : {"recallJsonFile", "TJSONFILENAMES", "tJson'FileNames", "v"}) {
    EXPECT_EQ(Ledger().IsTableExists(name), -1) << name;
  }
}

TEST_F(LedgerTables, AreNotFoundInALedgerThatCannotBeRead) {
  MakePendingTable();

  FailCalls(Call::kSqliteOpen);
  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
  FailCalls(Call::kSqliteStep, 1, 1);
  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
}

TEST_F(LedgerTables, StandBesideTheDemandHistory) {
  const ST_SINGLE_CALL_POINT point{.pointId = 1, .beginTime = 600, .endTime = 660};
  std::vector<ST_SINGLE_POINT_VALUE> values;

  EXPECT_EQ(Ledger().GetRecallFlag(0x01030001, &point, &values), 0);
  HistoryDatabase().Series(0x01030001, 600, 660);
  EXPECT_EQ(Ledger().GetRecallFlag(0x01030001, &point, &values), 1);
  EXPECT_EQ(values.size(), 2U);
  EXPECT_EQ(Ledger().GetRecallFlag(0x01040001, &point, &values), -1);
}

}  // namespace
