// The ledger's two tables, the look for one, and the door to the demand history.
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/historydatabase.h"
#include "util/paths.h"

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

TEST_F(LedgerTables, AreNotMadeWithoutADirectory) {
  Ledger().CreateTable();
  Ledger().CreateRecallTable();

  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

// A ledger with its pending table, what happens to it, and which table is looked for.
struct Look {
  const char* name;
  std::function<void()> prepare;
  const char* table;
  std::int32_t result;
};

class TableLook : public test::LedgerTest, public ::testing::WithParamInterface<Look> {};

TEST_P(TableLook, FindsATableOrFails) {
  test::MakePendingTable();
  if (GetParam().prepare) GetParam().prepare();

  EXPECT_EQ(Ledger().IsTableExists(GetParam().table), GetParam().result);
}

constexpr char kPending[] = "tJsonFileNames";
INSTANTIATE_TEST_SUITE_P(
    Looks, TableLook,
    ::testing::Values(
        Look{"Table", {}, kPending, 0}, Look{"NoName", {}, nullptr, 0},
        Look{"OtherTable", {}, "recallJsonFile", -1}, Look{"OtherCase", {}, "TJSONFILENAMES", -1},
        Look{"Quote", {}, "tJson'FileNames", -1},
        Look{"View", [] { test::LedgerFile().Run("create view v as select 1"); }, "v", -1},
        Look{"NoFile", [] { test::Empty(paths::kCardMount); }, kPending, -1},
        Look{"NoDatabase", [] { test::WriteFile(paths::kLedger, std::string(4096, 'x')); },
             kPending, -1},
        Look{"NotOpened", [] { test::FailCalls(Call::kSqliteOpen); }, kPending, -1},
        Look{"NotPrepared", [] { test::FailCalls(Call::kSqlitePrepare); }, kPending, -1},
        Look{"NotRead", [] { test::FailCalls(Call::kSqliteStep, 1, 1); }, kPending, -1}),
    [](const auto& test) { return test.param.name; });

TEST_F(LedgerTables, AreNotMadeByALook) {
  EXPECT_EQ(Ledger().IsTableExists(kPending), -1);
  EXPECT_FALSE(test::Exists(paths::kCloudTree));
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
