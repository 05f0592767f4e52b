// Recording recall files and ageing their rows.
#include <gmock/gmock.h>

#include <ctime>
#include <string>

#include "ledgertest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/files.h"
#include "util/paths.h"

using test::Call;
using ::testing::ElementsAre;
using ::testing::SizeIs;

namespace {

constexpr std::time_t kNow = 1709784000;  // at which every test starts
constexpr char kNew[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata/R20240307120000.tar.gz";

std::string InCallData(const std::string& name) {
  return std::string(paths::kCallData) + "/" + name;
}

class RecallLedger : public test::LedgerTest {
 protected:
  static int SaveRecall(const std::string& name) { return Ledger().SaveRecallData(name.c_str()); }

  static void SaveRecallAt(std::time_t when, const std::string& name) {
    test::SetTime(when);
    SaveRecall(name);
    test::SetTime(kNow);
  }
};

TEST_F(RecallLedger, MakesBothTablesOnANewCard) {
  EXPECT_EQ(SaveRecall(kNew), 0);

  EXPECT_THAT(test::Tables(), ElementsAre("recallJsonFile", "tJsonFileNames"));
  EXPECT_THAT(test::RecallRows(), ElementsAre(std::to_string(kNow) + "|" + kNew));
}

TEST_F(RecallLedger, AddsItsTableToALedgerThatHasNone) {
  test::MakePendingTable({"'a',2,0"});

  EXPECT_EQ(SaveRecall(kNew), 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|0"));
  EXPECT_THAT(test::RecallRows(), SizeIs(1));
}

TEST_F(RecallLedger, RecordsAndAgesTimesBeyond32Bits) {
  constexpr std::time_t kIn2070 = 3155760000;
  SaveRecallAt(kIn2070 - 10 * 86400, "old");
  test::SetTime(kIn2070);

  SaveRecall("new");

  EXPECT_THAT(test::RecallRows(), ElementsAre("3155760000|new"));
}

TEST_F(RecallLedger, DropsRowAndFileOfExactlyThreeDaysAgoAndKeepsOneASecondYounger) {
  SaveRecallAt(kNow - 259200, "old");
  SaveRecallAt(kNow - 259199, "young");
  for (const char* name : {"old", "young"}) test::WriteFile(InCallData(name), "archive");

  EXPECT_EQ(SaveRecall("new"), 0);

  EXPECT_THAT(test::RecallRows(), ElementsAre("1709524801|young", "1709784000|new"));
  EXPECT_THAT(test::List(paths::kCallData), ElementsAre("young"));
}

TEST_F(RecallLedger, LeavesTheFileOfAFullPathInPlace) {
  SaveRecallAt(kNow - 259200, InCallData("old"));
  test::WriteFile(InCallData("old"), "archive");

  SaveRecall(kNew);

  EXPECT_THAT(test::RecallRows(), SizeIs(1));
  EXPECT_TRUE(test::Exists(InCallData("old")));
}

TEST_F(RecallLedger, FailsOnAFileThatIsNoDatabaseAndCondemnsNothing) {
  test::WriteFile(paths::kLedger, "nonsense");

  EXPECT_EQ(SaveRecall(kNew), -1);
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
  test::FailCalls(Call::kSqlitePrepare);

  EXPECT_EQ(SaveRecall(kNew), -1);
  EXPECT_THAT(test::RecallRows(), SizeIs(1));
}

TEST_F(RecallLedger, FailsWithoutAName) {
  EXPECT_EQ(Ledger().SaveRecallData(nullptr), -1);
  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

}  // namespace
