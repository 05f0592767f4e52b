// Recording recall files and ageing their rows.
#include <gmock/gmock.h>

#include <ctime>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/logs.h"
#include "util/paths.h"

using test::Call;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr std::time_t kNow = 1709784000;  // at which every test starts
constexpr std::time_t kThreeDays = 259200;
constexpr char kRelative[] = "R20240304120000.tar.gz";
constexpr char kNew[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata/R20240307120000.tar.gz";

std::string InCallData(const std::string& name) {
  return std::string(paths::kCallData) + "/" + name;
}

std::string RowOf(std::time_t when, const std::string& name) {
  return std::to_string(when) + "|" + name;
}

class RecallLedger : public test::LedgerTest {
 protected:
  static int SaveRecall(std::string name) { return Ledger().SaveRecallData(name.data()); }

  // Records a recall file at some earlier moment.
  static void SaveRecallAt(std::time_t when, const std::string& name) {
    test::SetTime(when);
    SaveRecall(name);
    test::SetTime(kNow);
  }
};

TEST_F(RecallLedger, MakesItsDirectoryAndBothTablesOnANewCard) {
  const int result = SaveRecall(kNew);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::Tables(), ElementsAre("recallJsonFile", "tJsonFileNames"));
  EXPECT_THAT(test::RecallRows(), ElementsAre(RowOf(kNow, kNew)));
  EXPECT_THAT(test::List(paths::kCloudTree), ElementsAre("DB"));
}

TEST_F(RecallLedger, KeepsTheTimeAsANumber) {
  SaveRecall(kNew);

  EXPECT_THAT(test::LedgerFile().Query("select typeof(createtime) from recallJsonFile"),
              ElementsAre("integer"));
}

TEST_F(RecallLedger, KeepsATimeBeyond32Bits) {
  constexpr std::time_t kIn2070 = 3155760000;
  test::SetTime(kIn2070);

  SaveRecall(kNew);

  EXPECT_THAT(test::RecallRows(), ElementsAre(RowOf(kIn2070, kNew)));
}

TEST_F(RecallLedger, RecordsANameAsOftenAsItComes) {
  SaveRecall(kNew);
  test::SetTime(kNow + 1);
  SaveRecall(kNew);

  EXPECT_THAT(test::RecallRows(), ElementsAre(RowOf(kNow, kNew), RowOf(kNow + 1, kNew)));
}

TEST_F(RecallLedger, PutsNothingIntoTheRetryQueue) {
  test::MakePendingTable();
  SaveRecall(kNew);
  std::vector<History_Data_Para> rows;

  const int result = Ledger().GetHistoryData(&rows);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(rows, IsEmpty());
}

TEST_F(RecallLedger, AddsItsTableToALedgerThatHasNone) {
  test::MakePendingTable({"'a',2,0"});

  const int result = SaveRecall(kNew);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|0"));
  EXPECT_THAT(test::RecallRows(), SizeIs(1));
}

TEST_F(RecallLedger, FailsOnAFileThatIsNoDatabaseAndCondemnsNothing) {
  test::WriteFile(paths::kLedger, "nonsense");

  const int result = SaveRecall(kNew);

  EXPECT_EQ(result, -1);
  EXPECT_EQ(test::ReadFile(paths::kLedger), "nonsense");
  EXPECT_FALSE(test::Exists(paths::kLostTree));
}

TEST_F(RecallLedger, DropsARowOfExactlyThreeDaysAgoAndItsFile) {
  SaveRecallAt(kNow - kThreeDays, kRelative);
  test::WriteFile(InCallData(kRelative), "archive");

  const int result = SaveRecall(kNew);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::RecallRows(), ElementsAre(RowOf(kNow, kNew)));
  EXPECT_FALSE(test::Exists(InCallData(kRelative)));
}

TEST_F(RecallLedger, KeepsARowASecondYoungerAndItsFile) {
  SaveRecallAt(kNow - kThreeDays + 1, kRelative);
  test::WriteFile(InCallData(kRelative), "archive");

  SaveRecall(kNew);

  EXPECT_THAT(test::RecallRows(),
              ElementsAre(RowOf(kNow - kThreeDays + 1, kRelative), RowOf(kNow, kNew)));
  EXPECT_TRUE(test::Exists(InCallData(kRelative)));
}

TEST_F(RecallLedger, LeavesTheFileOfAFullPathInPlace) {
  const std::string archive = InCallData(kRelative);
  SaveRecallAt(kNow - kThreeDays, archive);
  test::WriteFile(archive, "archive");

  SaveRecall(kNew);

  EXPECT_THAT(test::RecallRows(), ElementsAre(RowOf(kNow, kNew)));
  EXPECT_TRUE(test::Exists(archive));
}

TEST_F(RecallLedger, UnlinksWhateverFileTheNameLeadsTo) {
  SaveRecallAt(kNow - kThreeDays, "../realdata/7/S20240304120000.tar.gz");
  test::WriteDataFile("realdata/7/S20240304120000.tar.gz");
  test::WriteFile(InCallData(kRelative), "archive");  // a path leads only through what is there

  SaveRecall(kNew);

  EXPECT_FALSE(test::Exists(test::DataFile("realdata/7/S20240304120000.tar.gz")));
}

TEST_F(RecallLedger, CutsThePathOfAFileAt127Characters) {
  const std::string name(120, 'r');
  const std::string cut = InCallData(name).substr(0, 127);
  for (const auto& path : {InCallData(name), cut}) test::WriteFile(path, "archive");
  SaveRecallAt(kNow - kThreeDays, name);

  SaveRecall(kNew);

  EXPECT_FALSE(test::Exists(cut));
  EXPECT_TRUE(test::Exists(InCallData(name)));
}

TEST_F(RecallLedger, LosesANameWithAQuote) {
  const int result = SaveRecall("R'20240307120000.tar.gz");

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::RecallRows(), IsEmpty());
}

TEST_F(RecallLedger, FailsWhenItsDirectoryCannotBeMade) {
  test::WriteFile(paths::kCloudTree, "a file in the way");

  EXPECT_EQ(SaveRecall(kNew), -1);
}

TEST_F(RecallLedger, FailsWhenTheDatabaseCannotBeOpenedForTheRow) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  Ledger().CreateRecallTable();
  test::FailCalls(Call::kSqliteOpen);

  const int result = SaveRecall(kNew);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::RecallRows(), IsEmpty());
}

TEST_F(RecallLedger, KeepsTheRowWhenTheAgedOnesCannotBeListed) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  Ledger().CreateRecallTable();
  test::FailCalls(Call::kSqlitePrepare);

  const int result = SaveRecall(kNew);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::RecallRows(), ElementsAre(RowOf(kNow, kNew)));
}

TEST_F(RecallLedger, SucceedsAlsoWhenItsCommitFails) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  Ledger().CreateRecallTable();
  test::FailCalls(Call::kSqliteExec, 1, 3);  // the commit after the setting, begin and the insert

  const int result = SaveRecall(kNew);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::RecallRows(), IsEmpty());
}

TEST_F(RecallLedger, IgnoresAFailedDelete) {
  SaveRecallAt(kNow - kThreeDays, kRelative);
  test::FailCalls(Call::kSqliteExec, 1, 4);  // setting, begin, insert and commit pass

  const int result = SaveRecall(kNew);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::RecallRows(), SizeIs(2));
}

TEST_F(RecallLedger, FailsWithoutAName) {
  EXPECT_EQ(Ledger().SaveRecallData(nullptr), -1);
  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

}  // namespace
