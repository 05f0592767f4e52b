// A ledger file without the pending table condemns its whole tree.
#include <gmock/gmock.h>
#include <pthread.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/threads.h"

namespace {

using namespace test;
using namespace testing;

constexpr char kName[] = "realdata/7/S20240307120000.tar.gz";
constexpr char kNext[] = "realdata/7/S20240307120500.tar.gz";
constexpr std::size_t kPageBytes = 4096;

// Joins the thread that removes the lost tree; the service never does.
void AwaitRemoval() {
  pthread_join(LatestThread().id, nullptr);
}

void MakeThousandRows() {
  std::vector<std::string> rows;
  for (int i = 0; i < 1000; ++i) rows.push_back("'row" + std::to_string(i) + "',2,0");
  MakePendingTable(rows);
}

void DamagePage(std::size_t number) {
  std::string content = ReadFile(paths::kLedger);
  content.replace(number * kPageBytes, kPageBytes, kPageBytes, 'x');
  WriteFile(paths::kLedger, content);
}

// Overwrites the first page of a table or an index of many rows.
void DamageRootOf(const std::string& name) {
  MakeThousandRows();
  const std::string query = "select rootpage from sqlite_master where name='" + name + "'";
  DamagePage(std::stoul(LedgerFile().Lines(query).at(0)) - 1);
}

// Overwrites the second of a table's pages with rows, by their mark 13.
void DamageALeaf() {
  MakeThousandRows();
  const std::string content = ReadFile(paths::kLedger);
  int leaves = 0;
  for (std::size_t page = 1; page * kPageBytes < content.size(); ++page) {
    if (content[page * kPageBytes] == 13 && ++leaves == 2) return DamagePage(page);
  }
}

class DamagedLedger : public LedgerTest {
 protected:
  // A tree in use whose ledger is no database.
  static void Damage() {
    WriteDataFile(kName);
    WriteFile(paths::kLedger, "nonsense");
  }
};

struct Content {
  const char* name;
  void (*make)();
};

class DamagedContent : public DamagedLedger, public WithParamInterface<Content> {};

TEST_P(DamagedContent, CondemnsTheTree) {
  WriteDataFile(kName);
  GetParam().make();

  EXPECT_EQ(Save({Row(kName)}), -1);
  EXPECT_FALSE(LatestThread().detached);
  AwaitRemoval();

  EXPECT_THAT(test::List(paths::kCardMount), ElementsAre("Cloud"));
  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
  EXPECT_FALSE(Exists(DataFile(kName)));
}

INSTANTIATE_TEST_SUITE_P(
    Contents, DamagedContent,
    Values(Content{"EmptyFile", [] { WriteFile(paths::kLedger, ""); }},
           Content{"Nonsense", [] { WriteFile(paths::kLedger, std::string(5000, 'x')); }},
           Content{"OtherTable", [] { LedgerFile().Run("create table other(a)"); }},
           Content{"DamagedTable", [] { DamageRootOf("tJsonFileNames"); }},
           Content{"Directory", [] { WriteFile(paths::kLedger + std::string("/x"), "x"); }}),
    [](const auto& test) { return test.param.name; });

TEST_F(DamagedLedger, MovesTheTreeAsideWithoutItsDatabaseFileAndLeavesASyncedOneOfDays) {
  Damage();
  FailNextThread();  // the lost tree stays to be seen
  std::size_t daysWhenSynced = 0;
  AtNextCall(Call::kFsync, [&] { daysWhenSynced = test::List(paths::kAlarmData).size(); });

  EXPECT_EQ(Save({Row(kName)}), -1);

  EXPECT_THAT(test::List(paths::kCardMount), ElementsAre("Cloud", "Cloud.lost"));
  EXPECT_THAT(test::List(std::string(paths::kLostTree) + "/DB"), IsEmpty());
  EXPECT_EQ(ReadFile(std::string(paths::kLostTree) + "/JsonFiles/" + kName), "archive");
  EXPECT_EQ(daysWhenSynced, 31U);
  EXPECT_THAT(test::List(paths::kCloudTree), ElementsAre("DB", "JsonFiles"));
  EXPECT_THAT(test::List(paths::kDataFiles), ElementsAre("alarmdata", "realdata"));
}

TEST_F(DamagedLedger, ForgetsWhatWaitsInMemoryAndIsWholeAgainInTheNextCycle) {
  MakePendingTable({"'realdata/7/S20240307120500.tar.gz',2,0"});
  FailCalls(Call::kSqliteOpen);
  Ledger().UpdateHistoryData(kNext);
  Damage();
  Save({Row(kName)});
  AwaitRemoval();

  EXPECT_EQ(Save({Row(kNext)}), 0);
  EXPECT_EQ(List(), 0);
  EXPECT_THAT(LedgerRows(), ElementsAre("realdata/7/S20240307120500.tar.gz|2|0"));
}

TEST_F(DamagedLedger, ReplacesTheTreeInPlaceWhileAnEarlierLostTreeIsThere) {
  Damage();
  WriteFile(std::string(paths::kLostTree) + "/JsonFiles/old", "old");

  EXPECT_EQ(Save({Row(kName)}), -1);
  AwaitRemoval();

  EXPECT_FALSE(Exists(paths::kLostTree));
  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
  EXPECT_TRUE(Exists(DataFile(kName)));  // it could not be moved
}

TEST_F(DamagedLedger, MendsADamagedIndexAndKeepsEveryRow) {
  Ledger().Mkdirs(paths::kLedgerDirectory);
  Ledger().CreateRecallTable();
  LedgerFile().Run("insert into recallJsonFile values(5,'r')");
  DamageRootOf("sqlite_autoindex_tJsonFileNames_1");
  FailCalls(Call::kSqliteOpen, 1, 1);  // of the new ledger

  EXPECT_EQ(Save({Row(kName)}), 0);
  EXPECT_EQ(Save({}), 0);

  EXPECT_THAT(LedgerRows(), SizeIs(1001));
  EXPECT_THAT(RecallRows(), ElementsAre("5|r"));
}

TEST_F(DamagedLedger, CondemnsTheTreeOnceItsPendingRowsCannotBeRead) {
  DamageALeaf();

  EXPECT_EQ(Save({Row(kNext)}), 0);
  List();
  EXPECT_EQ(Save({Row(kName)}), -1);
  AwaitRemoval();

  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
  EXPECT_EQ(Save({Row(kName)}), 0);
  EXPECT_THAT(Tables(), ElementsAre("tJsonFileNames"));  // a new ledger, not a rewritten one
}

TEST_F(DamagedLedger, CondemnsNothingWhenTheRewriteHasMendedIt) {
  DamageALeaf();
  List();
  std::filesystem::remove(paths::kLedger);
  MakePendingTable({"'realdata/7/S20240307120000.tar.gz',2,0"});

  EXPECT_EQ(Save({Row(kNext)}), 0);
  EXPECT_THAT(LedgerRows(), SizeIs(2));
}

}  // namespace
