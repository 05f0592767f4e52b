// Reading the pending rows and marking them accepted.
#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/files.h"
#include "util/paths.h"

using test::Call;
using test::Row;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char kName[] = "realdata/7/S20240307120000.tar.gz";

std::vector<std::string> Names(const std::vector<History_Data_Para>& rows) {
  std::vector<std::string> names;
  for (const auto& row : rows) names.emplace_back(row.filename);
  return names;
}

// That many pending files, five minutes apart, the last one now; oldest first.
std::vector<std::string> FilesUntilNow(int count) {
  std::vector<std::string> names;
  for (int i = count - 1; i >= 0; --i) {
    names.push_back(test::RealDataName(std::time(nullptr) - i * 300));
  }
  return names;
}

std::vector<std::string> PendingRows(const std::vector<std::string>& names) {
  std::vector<std::string> rows;
  for (const auto& name : names) rows.push_back("'" + name + "',2,0");
  return rows;
}

class LedgerReading : public test::LedgerTest {};

TEST_F(LedgerReading, FailsWithoutALedgerAndMakesNone) {
  std::vector<History_Data_Para> rows = {Row("before")};

  const int result = Ledger().GetHistoryData(&rows);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(Names(rows), ElementsAre("before"));
  EXPECT_FALSE(test::Exists(paths::kLedger));
}

TEST_F(LedgerReading, FailsWithoutAFileInTheLedgersDirectoryAndMakesNone) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  std::vector<History_Data_Para> rows;

  const int result = Ledger().GetHistoryData(&rows);

  EXPECT_EQ(result, -1);
  EXPECT_FALSE(test::Exists(paths::kLedger));
}

struct Listing {
  int pending;
  int listed;
};

void PrintTo(const Listing& listing, std::ostream* out) {
  *out << listing.pending << " pending";
}

class NewestFirst : public LedgerReading, public ::testing::WithParamInterface<Listing> {};

TEST_P(NewestFirst, TwentyRowsAtTheMost) {
  const std::vector<std::string> names = FilesUntilNow(GetParam().pending);
  test::MakePendingTable(PendingRows(names));
  std::vector<History_Data_Para> rows;

  const int result = Ledger().GetHistoryData(&rows);

  const std::vector<std::string> expected(names.rbegin(), names.rbegin() + GetParam().listed);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Names(rows), expected);
}

INSTANTIATE_TEST_SUITE_P(Ledgers, NewestFirst,
                         ::testing::Values(Listing{0, 0}, Listing{1, 1}, Listing{19, 19},
                                           Listing{20, 20}, Listing{21, 20}, Listing{25, 20}));

TEST_F(LedgerReading, OrdersByTheStampAndNothingElse) {
  test::MakePendingTable(
      {"'realdata/9/S20240209235959.tar.gz',2,0", "'alarmdata/10/T20240210000000.tar.gz',1,0",
       "'realdata/31/S20231231235959.tar.gz',2,0", "'alarmdata/1/T20240101000000.tar.gz',1,0"});
  std::vector<History_Data_Para> rows;

  Ledger().GetHistoryData(&rows);

  EXPECT_THAT(
      Names(rows),
      ElementsAre("alarmdata/10/T20240210000000.tar.gz", "realdata/9/S20240209235959.tar.gz",
                  "alarmdata/1/T20240101000000.tar.gz", "realdata/31/S20231231235959.tar.gz"));
}

TEST_F(LedgerReading, ListsOnlyResultZero) {
  test::MakePendingTable({"'a20240307120001.tar.gz',2,1", "'b20240307120002.tar.gz',2,0",
                          "'c20240307120003.tar.gz',2,-1", "'d20240307120004.tar.gz',2,2"});
  std::vector<History_Data_Para> rows;

  Ledger().GetHistoryData(&rows);

  EXPECT_THAT(Names(rows), ElementsAre("b20240307120002.tar.gz"));
}

TEST_F(LedgerReading, AppendsToTheCallersRows) {
  test::MakePendingTable(PendingRows({kName}));
  std::vector<History_Data_Para> rows = {Row("before")};

  const int result = Ledger().GetHistoryData(&rows);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(Names(rows), ElementsAre("before", kName));
}

TEST_F(LedgerReading, FillsARowFromItsColumnsAndZeroesTheRest) {
  test::MakePendingTable({"'realdata/7/S20240307120000.tar.gz',77,0"});
  std::vector<History_Data_Para> rows;

  Ledger().GetHistoryData(&rows);

  ASSERT_THAT(rows, SizeIs(1));
  EXPECT_EQ(rows[0].filetype, 77);
  EXPECT_EQ(rows[0].result, 0);
  EXPECT_STREQ(rows[0].filename, kName);
  const std::string rest(rows[0].filename + std::strlen(kName), rows[0].filename + 128);
  EXPECT_THAT(rest, Each('\0'));
}

TEST_F(LedgerReading, GivesBackWhatWasSaved) {
  const std::string longest = std::string(106, 'd') + "20240307120000.tar.gz";
  Save({Row(longest, 1, 0), Row(kName, 2, 0)});
  std::vector<History_Data_Para> rows;

  Ledger().GetHistoryData(&rows);

  ASSERT_THAT(rows, SizeIs(2));
  EXPECT_THAT(Names(rows), ::testing::UnorderedElementsAre(longest, kName));
}

TEST_F(LedgerReading, SurvivesColumnsOfForeignContent) {
  test::MakePendingTable(
      {"NULL,NULL,0", "'" + std::string(5000, 'n') + "','text','0'", "x'00ff',3000000000,0.0"});
  std::vector<History_Data_Para> rows;

  const int result = Ledger().GetHistoryData(&rows);

  EXPECT_EQ(result, 0);
  ASSERT_THAT(rows, SizeIs(3));
  EXPECT_THAT(Names(rows), ::testing::UnorderedElementsAre("", "", std::string(127, 'n')));
}

TEST_F(LedgerReading, FailsOnALedgerWithoutItsTableAndLeavesItInPlace) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  Ledger().CreateRecallTable();
  std::vector<History_Data_Para> rows;

  const int result = Ledger().GetHistoryData(&rows);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(rows, IsEmpty());
  EXPECT_THAT(test::Tables(), ElementsAre("recallJsonFile"));
}

TEST_F(LedgerReading, FailsOnAFileThatIsNoDatabaseAndLeavesItInPlace) {
  test::WriteFile(paths::kLedger, "nonsense");
  std::vector<History_Data_Para> rows;

  const int result = Ledger().GetHistoryData(&rows);

  EXPECT_EQ(result, -1);
  EXPECT_EQ(test::ReadFile(paths::kLedger), "nonsense");
}

TEST_F(LedgerReading, FailsWhenTheDatabaseCannotBeOpened) {
  test::MakePendingTable(PendingRows({kName}));
  test::FailCalls(Call::kSqliteOpen);
  std::vector<History_Data_Para> rows;

  const int result = Ledger().GetHistoryData(&rows);
  const int again = Ledger().GetHistoryData(&rows);

  EXPECT_EQ(result, -1);
  EXPECT_EQ(again, 0);
  EXPECT_THAT(rows, SizeIs(1));
}

TEST_F(LedgerReading, FailsWhenTheQueryCannotBePrepared) {
  test::MakePendingTable(PendingRows({kName}));
  test::FailCalls(Call::kSqlitePrepare);
  std::vector<History_Data_Para> rows;

  const int result = Ledger().GetHistoryData(&rows);
  const int again = Ledger().GetHistoryData(&rows);

  EXPECT_EQ(result, -1);
  EXPECT_EQ(again, 0);
  EXPECT_THAT(rows, SizeIs(1));
}

TEST_F(LedgerReading, FailsWithoutAList) {
  test::MakePendingTable();

  EXPECT_EQ(Ledger().GetHistoryData(nullptr), -1);
}

class LedgerMarking : public test::LedgerTest {};

TEST_F(LedgerMarking, AcceptsTheOneRow) {
  test::MakePendingTable({"'a',2,0", "'b',1,0", "'c',2,0"});

  const int result = Ledger().UpdateHistoryData("b");

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|0", "b|1|1", "c|2|0"));
}

TEST_F(LedgerMarking, MakesRoomForOlderRows) {
  const std::vector<std::string> names = FilesUntilNow(21);
  test::MakePendingTable(PendingRows(names));
  std::vector<History_Data_Para> rows;

  Ledger().UpdateHistoryData(names.back().c_str());
  Ledger().GetHistoryData(&rows);

  const std::vector<std::string> expected(names.rbegin() + 1, names.rend());
  EXPECT_EQ(Names(rows), expected);
}

TEST_F(LedgerMarking, ChangesOnlyARowThatIsPending) {
  test::MakePendingTable({"'a',2,1", "'b',2,2"});

  const int accepted = Ledger().UpdateHistoryData("a");
  const int other = Ledger().UpdateHistoryData("b");

  EXPECT_EQ(accepted, 0);
  EXPECT_EQ(other, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|1", "b|2|2"));
}

TEST_F(LedgerMarking, ChangesNothingForAnUnknownName) {
  test::MakePendingTable({"'a',2,0"});

  const int unknown = Ledger().UpdateHistoryData("A");
  const int empty = Ledger().UpdateHistoryData("");
  const int quoted = Ledger().UpdateHistoryData("a'b");

  EXPECT_EQ(unknown, 0);
  EXPECT_EQ(empty, 0);
  EXPECT_EQ(quoted, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|0"));
}

TEST_F(LedgerMarking, IgnoresTheStatementsResult) {
  test::MakePendingTable({"'a',2,0"});
  test::FailCalls(Call::kSqliteExec, 1, 1);  // the setting passes

  const int result = Ledger().UpdateHistoryData("a");

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|0"));
}

TEST_F(LedgerMarking, IgnoresAMissingTable) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  Ledger().CreateRecallTable();

  EXPECT_EQ(Ledger().UpdateHistoryData("a"), 0);
}

TEST_F(LedgerMarking, FailsWhenTheDatabaseCannotBeOpened) {
  test::MakePendingTable({"'a',2,0"});
  test::FailCalls(Call::kSqliteOpen);

  const int result = Ledger().UpdateHistoryData("a");
  const int again = Ledger().UpdateHistoryData("a");

  EXPECT_EQ(result, -1);
  EXPECT_EQ(again, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|1"));
}

TEST_F(LedgerMarking, SucceedsWithoutALedger) {
  EXPECT_EQ(Ledger().UpdateHistoryData("a"), 0);
}

TEST_F(LedgerMarking, MarksBeforeTheNextRowsWhatALockHasKeptFromIt) {
  test::MakePendingTable({"'a',2,0", "'b',2,0"});
  const test::NoLockWaits noWaits;
  std::vector<History_Data_Para> rows;
  {
    test::LedgerFile reader;
    reader.Run("begin; select * from tJsonFileNames");
    Ledger().UpdateHistoryData("a");

    EXPECT_EQ(Ledger().GetHistoryData(&rows), -1);  // or the row would be sent again
  }

  EXPECT_EQ(Ledger().GetHistoryData(&rows), 0);

  ASSERT_THAT(rows, SizeIs(1));
  EXPECT_STREQ(rows[0].filename, "b");
}

TEST_F(LedgerMarking, FailsWithoutAName) {
  test::MakePendingTable({"'(null)',2,0"});

  EXPECT_EQ(Ledger().UpdateHistoryData(nullptr), -1);
}

}  // namespace
