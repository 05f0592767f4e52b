// The ledger's two tables.
#include <gmock/gmock.h>

#include <cstddef>
#include <string>
#include <type_traits>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/files.h"
#include "util/paths.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

static_assert(!std::is_copy_constructible_v<CHistoryData>);
static_assert(offsetof(History_Data_Para, filetype) == 0);
static_assert(offsetof(History_Data_Para, result) == 4);
static_assert(sizeof(History_Data_Para::filename) == 128);

class LedgerTables : public test::LedgerTest {};

TEST_F(LedgerTables, HoldThePendingTableWithItsKeyAndDefaults) {
  test::LedgerFile file;

  Ledger().CreateTable();

  EXPECT_THAT(file.Query("select name, sql from sqlite_master where type='table'"),
              ElementsAre("tJsonFileNames|CREATE TABLE tJsonFileNames(FileName VARCHAR(32) PRIMARY "
                          "KEY ASC,FileType TINYINT DEFAULT 1,Result TINYINT DEFAULT 0)"));
}

TEST_F(LedgerTables, HoldTheRecallTable) {
  test::LedgerFile file;

  Ledger().CreateRecallTable();

  EXPECT_THAT(file.Query("select name, sql from sqlite_master"),
              ElementsAre("recallJsonFile|CREATE TABLE recallJsonFile( Createtime "
                          "INTEGER,FileName VARCHAR(32))"));
}

TEST_F(LedgerTables, TakeAPendingAlarmFileForTheDefault) {
  test::MakePendingTable();

  test::LedgerFile().Run("insert into tJsonFileNames(filename) values('a')");

  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|1|0"));
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

TEST_F(LedgerTables, AreNotMadeWithoutADirectoryAndNobodyIsTold) {
  Ledger().CreateTable();
  Ledger().CreateRecallTable();

  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

TEST_F(LedgerTables, AreNotMadeInAFileThatIsNoDatabaseAndNobodyIsTold) {
  const std::string foreign(4096, 'x');
  test::WriteFile(paths::kLedger, foreign);

  Ledger().CreateTable();
  Ledger().CreateRecallTable();

  EXPECT_EQ(test::ReadFile(paths::kLedger), foreign);
}

TEST_F(LedgerTables, AreMadeAgainAfterAFailedOpen) {
  test::LedgerFile file;
  test::FailCalls(test::Call::kSqliteOpen, 2);
  Ledger().CreateTable();
  Ledger().CreateRecallTable();
  const auto atFirst = test::Tables();

  Ledger().CreateTable();
  Ledger().CreateRecallTable();

  EXPECT_THAT(atFirst, IsEmpty());
  EXPECT_THAT(test::Tables(), ElementsAre("recallJsonFile", "tJsonFileNames"));
}

class TableLookUp : public test::LedgerTest {};

TEST_F(TableLookUp, FindsATable) {
  test::MakePendingTable();

  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), 0);
}

TEST_F(TableLookUp, FindsNoOtherTable) {
  test::MakePendingTable();

  EXPECT_EQ(Ledger().IsTableExists("recallJsonFile"), -1);
  EXPECT_EQ(Ledger().IsTableExists("TJSONFILENAMES"), -1);
  EXPECT_EQ(Ledger().IsTableExists(""), -1);
}

TEST_F(TableLookUp, TakesNoNameForFoundAndMakesNoFile) {
  EXPECT_EQ(Ledger().IsTableExists(nullptr), 0);
  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

TEST_F(TableLookUp, DoesNotTakeAViewForATable) {
  test::LedgerFile().Run("create view tJsonFileNames as select 1");

  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
}

TEST_F(TableLookUp, FailsForANameWithAQuote) {
  test::MakePendingTable();

  EXPECT_EQ(Ledger().IsTableExists("tJson'FileNames"), -1);
}

TEST_F(TableLookUp, FailsWithoutADirectory) {
  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
}

TEST_F(TableLookUp, FailsOnAFileThatIsNoDatabase) {
  test::WriteFile(paths::kLedger, std::string(4096, 'x'));

  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
}

TEST_F(TableLookUp, FailsWhenTheDatabaseCannotBeOpened) {
  test::MakePendingTable();
  test::FailCalls(test::Call::kSqliteOpen);

  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), 0);
}

TEST_F(TableLookUp, FailsWhenTheQueryCannotBePrepared) {
  test::MakePendingTable();
  test::FailCalls(test::Call::kSqlitePrepare);

  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), -1);
  EXPECT_EQ(Ledger().IsTableExists("tJsonFileNames"), 0);
}

}  // namespace
