// Reading the pending rows and marking them accepted.
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/files.h"
#include "util/paths.h"

using test::Call;
using test::Names;
using test::Row;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

namespace {

using Rows = std::vector<History_Data_Para>;

class LedgerReading : public test::LedgerTest {};

TEST_F(LedgerReading, AppendsTheTwentyNewestPendingRowsNewestFirst) {
  std::vector<std::string> recorded;
  std::vector<std::string> expected = {"before"};
  for (int day = 10; day < 35; ++day) {  // day 10 is the newest
    const std::string folder = day % 2 == 0 ? "realdata/" : "alarmdata/";
    const std::string name = folder + "1/S202403" + std::to_string(99 - day) + "120000.tar.gz";
    recorded.insert(day % 3 == 0 ? recorded.begin() : recorded.end(), "'" + name + "',2,0");
    if (expected.size() <= 20) expected.push_back(name);
  }
  test::MakePendingTable(recorded);
  Rows rows = {Row("before")};

  EXPECT_EQ(List(rows), 0);
  EXPECT_EQ(Names(rows), expected);
}

TEST_F(LedgerReading, ListsOnlyResultZeroWithAllItsColumns) {
  test::MakePendingTable({"'a20240307120001.tar.gz',2,1", "'b20240307120002.tar.gz',77,0",
                          "'c20240307120003.tar.gz',2,-1", "'d20240307120004.tar.gz',2,2"});
  Rows rows;

  EXPECT_EQ(List(rows), 0);
  ASSERT_THAT(Names(rows), ElementsAre("b20240307120002.tar.gz"));
  EXPECT_EQ(rows[0].filetype, 77);
  EXPECT_EQ(rows[0].result, 0);
}

TEST_F(LedgerReading, CutsANameThatDoesNotFit) {
  test::MakePendingTable({"NULL,NULL,0", "'" + std::string(5000, 'n') + "','text','0'"});
  Rows rows;

  EXPECT_EQ(List(rows), 0);
  EXPECT_THAT(Names(rows), UnorderedElementsAre("", std::string(127, 'n')));
}

struct Unreadable {
  const char* name;
  std::function<void()> make;
};

class LedgerReadingFailure : public LedgerReading,
                             public ::testing::WithParamInterface<Unreadable> {};

TEST_P(LedgerReadingFailure, AppendsNothingAndLeavesTheFileInPlace) {
  GetParam().make();
  const std::string before = test::ReadFile(paths::kLedger);
  Rows rows = {Row("before")};

  EXPECT_EQ(List(rows), -1);
  EXPECT_THAT(Names(rows), ElementsAre("before"));
  EXPECT_EQ(test::ReadFile(paths::kLedger), before);
}

INSTANTIATE_TEST_SUITE_P(
    Ledgers, LedgerReadingFailure,
    ::testing::Values(Unreadable{"NoTable",
                                 [] { test::LedgerFile().Run("create table other(a)"); }},
                      Unreadable{"NoDatabase", [] { test::WriteFile(paths::kLedger, "nonsense"); }},
                      Unreadable{"NotOpened",
                                 [] {
                                   test::MakePendingTable({"'a',2,0"});
                                   test::FailCalls(Call::kSqliteOpen);
                                 }},
                      Unreadable{"NotPrepared",
                                 [] {
                                   test::MakePendingTable({"'a',2,0"});
                                   test::FailCalls(Call::kSqlitePrepare);
                                 }}),
    [](const auto& test) { return test.param.name; });

TEST_F(LedgerReading, FailsWithoutALedgerFileAndMakesNone) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  Rows rows = {Row("before")};

  EXPECT_EQ(List(rows), -1);
  EXPECT_THAT(rows, SizeIs(1));
  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
}

TEST_F(LedgerReading, FailsWithoutAList) {
  test::MakePendingTable();

  EXPECT_EQ(Ledger().GetHistoryData(nullptr), -1);
}

class LedgerMarking : public test::LedgerTest {
 protected:
  static int Mark(const char* name) { return Ledger().UpdateHistoryData(name); }
};

TEST_F(LedgerMarking, AcceptsTheOneRowOfThatName) {
  test::MakePendingTable({"'a',2,0", "'b',1,0", "'c',2,2"});

  for (const char* name : {"b", "c", "A", "unknown", ""}) EXPECT_EQ(Mark(name), 0) << name;

  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|0", "b|1|1", "c|2|2"));
}

TEST_F(LedgerMarking, SucceedsWithoutALedgerFileAndMakesNone) {
  Ledger().Mkdirs(paths::kLedgerDirectory);

  EXPECT_EQ(Mark("a"), 0);
  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
}

TEST_F(LedgerMarking, FailsWithoutAName) {
  test::MakePendingTable();

  EXPECT_EQ(Mark(nullptr), -1);
}

TEST_F(LedgerMarking, FailsWhenTheLedgerCannotBeOpenedAndMarksLater) {
  test::MakePendingTable({"'a',2,0"});
  Rows rows;

  test::FailCalls(Call::kSqliteOpen);
  EXPECT_EQ(Mark("a"), -1);
  EXPECT_EQ(List(rows), 0);
  EXPECT_THAT(rows, IsEmpty());
}

// Otherwise a row that was accepted would be sent again.
TEST_F(LedgerMarking, ListsNoRowsWhileAMarkWaits) {
  test::MakePendingTable({"'a',2,0", "'b',2,0"});
  const test::NoLockWaits noWaits;
  Rows rows;
  {
    test::LedgerFile reader;
    reader.Run("begin; select * from tJsonFileNames");
    EXPECT_EQ(Mark("a"), 0);
    EXPECT_EQ(List(rows), -1);
  }
  test::FailCalls(Call::kSqliteExec);  // the setting that makes commits durable
  EXPECT_EQ(List(rows), -1);

  EXPECT_EQ(List(rows), 0);
  EXPECT_THAT(Names(rows), ElementsAre("b"));
}

TEST_F(LedgerMarking, WritesAllWaitingMarksInOneTransaction) {
  test::MakePendingTable({"'a',2,0", "'b',2,0"});
  test::FailCalls(Call::kSqliteExec);  // the setting that makes commits durable
  Mark("a");

  test::FailCalls(Call::kSqliteExec, 1, 4);  // setting, begin and both marks pass
  EXPECT_EQ(Mark("b"), 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|0", "b|2|0"));

  Rows rows;
  EXPECT_EQ(List(rows), 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|1", "b|2|1"));
}

}  // namespace
