// Recording recall files and ageing their rows.
#include <gmock/gmock.h>

#include <ctime>
#include <string>

#include "ledgertest.h"
#include "support/clock.h"
#include "support/faults.h"

using ::testing::ElementsAre;
using ::testing::SizeIs;

namespace {

constexpr std::time_t kNow = 1709784000;  // at which every test starts

std::string InCallData(const std::string& name) {
  return std::string(paths::kCallData) + "/" + name;
}

class RecallLedger : public test::LedgerTest {
 protected:
  static int SaveRecall(const std::string& name) { return Ledger().SaveRecallData(name.c_str()); }

  static void SaveRecallAt(std::time_t when, const std::string& name) {
    test::SetTime(when);
    EXPECT_EQ(SaveRecall(name), 0);
  }
};

TEST_F(RecallLedger, MakesBothTablesOnANewCard) {
  EXPECT_EQ(SaveRecall("new"), 0);

  EXPECT_THAT(test::Tables(), ElementsAre("recallJsonFile", "tJsonFileNames"));
  EXPECT_THAT(test::RecallRows(), ElementsAre("1709784000|new"));
}

TEST_F(RecallLedger, AddsItsTableToALedgerThatHasNone) {
  test::MakePendingTable({"'a',2,0"});

  EXPECT_EQ(SaveRecall("new"), 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|0"));
  EXPECT_THAT(test::RecallRows(), SizeIs(1));
}

TEST_F(RecallLedger, RecordsAndAgesTimesBeyond32Bits) {
  constexpr std::time_t kIn2070 = 3155760000;

  SaveRecallAt(kIn2070 - 10 * 86400, "old");
  SaveRecallAt(kIn2070, "new");

  EXPECT_THAT(test::RecallRows(), ElementsAre("3155760000|new"));
}

TEST_F(RecallLedger, DropsRowAndFileOfExactlyThreeDaysAgoAndKeepsOneASecondYounger) {
  SaveRecallAt(kNow - 259200, "old");
  SaveRecallAt(kNow - 259200, InCallData("path"));  // no name: its file stays
  SaveRecallAt(kNow - 259199, "young");
  for (const char* name : {"old", "path", "young"}) test::WriteFile(InCallData(name), "archive");

  SaveRecallAt(kNow, "new");

  EXPECT_THAT(test::RecallRows(), ElementsAre("1709524801|young", "1709784000|new"));
  EXPECT_THAT(test::List(paths::kCallData), ElementsAre("path", "young"));
}

TEST_F(RecallLedger, FailsOnAFileThatIsNoDatabaseAndCondemnsNothing) {
  test::WriteFile(paths::kLedger, "nonsense");

  EXPECT_EQ(SaveRecall("new"), -1);
  EXPECT_EQ(test::ReadFile(paths::kLedger), "nonsense");
}

TEST_F(RecallLedger, CondemnsNoLedgerWithoutAPendingTable) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  Ledger().CreateRecallTable();

  EXPECT_EQ(SaveRecall("new"), 0);
  EXPECT_THAT(test::RecallRows(), ElementsAre("1709784000|new"));
}

TEST_F(RecallLedger, FailsWhenTheAgedRowsCannotBeListedAndKeepsItsRow) {
  test::MakePendingTable();
  test::FailCalls(test::Call::kSqlitePrepare);

  EXPECT_EQ(SaveRecall("new"), -1);
  EXPECT_THAT(test::RecallRows(), SizeIs(1));
}

TEST_F(RecallLedger, FailsWithoutAName) {
  EXPECT_EQ(Ledger().SaveRecallData(nullptr), -1);
  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

}  // namespace
