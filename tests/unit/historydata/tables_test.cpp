// The ledger's two tables, the look for one, and the door to the demand history.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/historydatabase.h"

using test::Call;
using ::testing::ElementsAre;

namespace {

class LedgerTables : public test::LedgerTest {};

TEST_F(LedgerTables, HaveTheirColumnsKeyAndDefaults) {
  test::LedgerFile file;

  Ledger().CreateTable();
  Ledger().CreateRecallTable();

  EXPECT_THAT(file.Lines("select sql from sqlite_master where type='table'"),
              ElementsAre("CREATE TABLE tJsonFileNames(FileName VARCHAR(32) PRIMARY KEY "
                          "ASC,FileType TINYINT DEFAULT 1,Result TINYINT DEFAULT 0)",
                          "CREATE TABLE recallJsonFile( Createtime INTEGER,FileName VARCHAR(32))"));
}

TEST_F(LedgerTables, KeepTheirRowsWhenMadeAgain) {
  test::MakePendingTable({"'a',2,1"});
  Ledger().CreateRecallTable();
  test::LedgerFile().Run("insert into recallJsonFile values(5,'r')");

  Ledger().CreateTable();
  Ledger().CreateRecallTable();

  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|1"));
  EXPECT_THAT(test::RecallRows(), ElementsAre("5|r"));
}

TEST_F(LedgerTables, AreNotMadeWithoutADirectoryNorByALook) {
  Ledger().CreateTable();
  Ledger().CreateRecallTable();

  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

TEST_F(LedgerTables, AreFoundByTheirExactNames) {
  test::MakePendingTable();
  test::LedgerFile().Run("create view v as select 1");

  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), 0);
  EXPECT_EQ(Ledger().IsTableExists(nullptr), 0);
  for (const char* name : {"recallJsonFile", "TJSONFILENAMES", "tJson'FileNames", "v"}) {
    EXPECT_EQ(Ledger().IsTableExists(name), -1) << name;
  }
}

TEST_F(LedgerTables, AreNotFoundInALedgerThatCannotBeRead) {
  test::MakePendingTable();

  test::FailCalls(Call::kSqliteOpen);
  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
  test::FailCalls(Call::kSqliteStep, 1, 1);
  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
}

TEST_F(LedgerTables, StandBesideTheDemandHistory) {
  const ST_SINGLE_CALL_POINT point{.pointId = 1, .beginTime = 600, .endTime = 660};
  std::vector<ST_SINGLE_POINT_VALUE> values;

  EXPECT_EQ(Ledger().GetRecallFlag(0x01030001, &point, &values), 0);
  test::HistoryDatabase().Series(0x01030001, 600, 660);
  EXPECT_EQ(Ledger().GetRecallFlag(0x01030001, &point, &values), 1);
  EXPECT_EQ(values.size(), 2U);
  EXPECT_EQ(Ledger().GetRecallFlag(0x01040001, &point, &values), -1);
}

}  // namespace
