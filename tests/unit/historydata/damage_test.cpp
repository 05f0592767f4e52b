// A ledger file without the pending table condemns its whole tree.
#include <gmock/gmock.h>
#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/threads.h"
#include "util/paths.h"

using test::Row;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char kName[] = "realdata/7/S20240307120000.tar.gz";
constexpr char kOtherName[] = "alarmdata/7/T20240307120000.tar.gz";

// The thread that removes the lost tree is joinable, and joined by nobody else.
void AwaitRemoval() {
  pthread_join(test::LatestThread().id, nullptr);
}

std::vector<std::string> DaysOfAMonth() {
  std::vector<std::string> days;
  for (int day = 1; day <= 31; ++day) days.push_back(std::to_string(day));
  std::sort(days.begin(), days.end());
  return days;
}

// A tree in use, with its ledger turned into something without a pending table.
void Damage() {
  test::WriteDataFile(kName);
  test::WriteDataFile("calldata/R20240307120000.tar.gz");
  test::WriteFile(paths::kLedger, "nonsense");
}

constexpr std::size_t kPageBytes = 4096;

void MakeThousandRows() {
  std::vector<std::string> rows;
  for (int i = 0; i < 1000; ++i) rows.push_back("'row" + std::to_string(i) + "',2,0");
  test::MakePendingTable(rows);
}

void DamagePage(std::size_t number) {
  std::string content = test::ReadFile(paths::kLedger);
  content.replace(number * kPageBytes, kPageBytes, kPageBytes, 'x');
  test::WriteFile(paths::kLedger, content);
}

// Overwrites the first page of a table or an index of many rows.
void DamageRootOf(const std::string& name) {
  MakeThousandRows();
  const std::string query = "select rootpage from sqlite_master where name='" + name + "'";
  DamagePage(std::stoul(test::LedgerFile().Query(query).at(0)) - 1);
}

// Overwrites the second of a table's pages with rows, by their mark 13.
void DamageALeaf() {
  MakeThousandRows();
  const std::string content = test::ReadFile(paths::kLedger);
  int leaves = 0;
  for (std::size_t page = 1; page * kPageBytes < content.size(); ++page) {
    if (content[page * kPageBytes] == 13 && ++leaves == 2) return DamagePage(page);
  }
}

class DamagedLedger : public test::LedgerTest {};

struct Content {
  const char* name;
  void (*make)();
};

class LedgerFileContent : public DamagedLedger, public ::testing::WithParamInterface<Content> {};

TEST_P(LedgerFileContent, CondemnsTheTreeAndAnEmptyOneIsMade) {
  test::WriteDataFile(kName);
  GetParam().make();

  const int result = Save({Row(kName)});
  AwaitRemoval();

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::List(paths::kCardMount), ElementsAre("Cloud"));
  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
  EXPECT_FALSE(test::Exists(test::DataFile(kName)));
}

INSTANTIATE_TEST_SUITE_P(
    Contents, LedgerFileContent,
    ::testing::Values(
        Content{"Nothing", [] { test::WriteFile(paths::kLedger, ""); }},
        Content{"Nonsense", [] { test::WriteFile(paths::kLedger, std::string(5000, 'x')); }},
        Content{"TheHeadOfADatabase",
                [] { test::WriteFile(paths::kLedger, std::string("SQLite format 3\0", 16)); }},
        Content{"HalfADatabase",
                [] {
                  test::MakePendingTable();
                  std::filesystem::resize_file(paths::kLedger, 1000);
                }},
        Content{"AForeignDatabase", [] { test::LedgerFile().Run("create table other(a)"); }},
        Content{"RecallsAlone",
                [] {
                  GetCHistoryDataInstance().Mkdirs(paths::kLedgerDirectory);
                  GetCHistoryDataInstance().CreateRecallTable();
                }},
        Content{"ADamagedTable", [] { DamageRootOf("tJsonFileNames"); }},
        Content{"ADirectory", [] { test::WriteFile(paths::kLedger + std::string("/x"), "x"); }}),
    [](const auto& test) { return test.param.name; });

TEST_F(DamagedLedger, LeavesATreeWithADirectoryForEachDayAndNoneForRecalls) {
  Damage();

  Save({Row(kName)});
  AwaitRemoval();

  EXPECT_THAT(test::List(paths::kCloudTree), ElementsAre("DB", "JsonFiles"));
  EXPECT_THAT(test::List(paths::kDataFiles), ElementsAre("alarmdata", "realdata"));
  EXPECT_EQ(test::List(paths::kRealData), DaysOfAMonth());
  EXPECT_EQ(test::List(paths::kAlarmData), DaysOfAMonth());
  EXPECT_THAT(test::List(test::DataFile("realdata/7")), IsEmpty());
}

TEST_F(DamagedLedger, IsWholeAgainInTheNextCycle) {
  Damage();
  Save({Row(kName)});
  AwaitRemoval();

  const int result = Save({Row("realdata/7/S20240307120500.tar.gz")});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/7/S20240307120500.tar.gz|2|0"));
}

TEST_F(DamagedLedger, IsMovedAsideButForTheDatabaseFile) {
  Damage();
  test::FailNextThread();  // so that the lost tree stays to be seen

  const int result = Save({Row(kName)});

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::List(paths::kCardMount), ElementsAre("Cloud", "Cloud.lost"));
  EXPECT_THAT(test::List(std::string(paths::kLostTree) + "/DB"), IsEmpty());
  EXPECT_EQ(test::ReadFile(std::string(paths::kLostTree) + "/JsonFiles/" + kName), "archive");
  EXPECT_THAT(test::List(paths::kCloudTree), ElementsAre("DB", "JsonFiles"));
}

TEST_F(DamagedLedger, IsRemovedByAJoinableThreadWithAStackOfTwoMebibytes) {
  Damage();

  Save({Row(kName)});

  const test::ThreadMaking thread = test::LatestThread();
  EXPECT_EQ(thread.stackBytes, 0x200000UL);
  EXPECT_FALSE(thread.detached);
  EXPECT_EQ(pthread_join(thread.id, nullptr), 0);
  EXPECT_FALSE(test::Exists(paths::kLostTree));
}

TEST_F(DamagedLedger, IsReplacedInPlaceWhileAnEarlierLostTreeIsThere) {
  Damage();
  test::WriteFile(std::string(paths::kLostTree) + "/JsonFiles/old", "old");

  const int result = Save({Row(kName)});
  AwaitRemoval();

  EXPECT_EQ(result, -1);
  EXPECT_FALSE(test::Exists(paths::kLostTree));
  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
  EXPECT_TRUE(test::Exists(test::DataFile(kName)));  // it could not be moved
  EXPECT_EQ(test::List(paths::kAlarmData), DaysOfAMonth());
}

TEST_F(DamagedLedger, IsReplacedOnceWhenTwoSaveAtTheSameTime) {
  Damage();
  test::ForgetThreads();
  std::future<int> other;
  test::AtNextCall(test::Call::kUnlink, [&] {
    other = std::async(std::launch::async, [] { return Save({Row(kOtherName)}); });
    std::this_thread::sleep_for(
        std::chrono::milliseconds(50));  // long enough for it to see the file
  });

  const int result = Save({Row(kName)});
  const int otherResult = other.get();
  AwaitRemoval();

  EXPECT_EQ(result, -1);
  EXPECT_EQ(otherResult, 0);
  EXPECT_THAT(test::ThreadsMade(), SizeIs(1));
  EXPECT_THAT(test::LedgerRows(), SizeIs(1));
}

TEST_F(DamagedLedger, IsNotMadeByMarkingOrListingWithoutALedgerFile) {
  test::WriteFile(test::DataFile(kName), "old");
  std::filesystem::create_directories(paths::kLedgerDirectory);
  std::vector<History_Data_Para> rows;

  EXPECT_EQ(Ledger().UpdateHistoryData(kName), 0);
  EXPECT_EQ(Ledger().GetHistoryData(&rows), -1);
  const int result = Save({Row(kName)});

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(test::Exists(test::DataFile(kName)));
}

TEST_F(DamagedLedger, IsNoLedgerThatCannotBeOpened) {
  test::MakePendingTable({"'a20240307110000.tar.gz',2,0"});
  test::FailCalls(test::Call::kSqliteOpen);

  const int result = Save({Row(kName)});

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::LedgerRows(), SizeIs(1));
}

TEST_F(DamagedLedger, StaysWhileItsDamagedIndexCannotBeMended) {
  DamageRootOf("sqlite_autoindex_tJsonFileNames_1");
  test::FailCalls(test::Call::kSqliteOpen, 1, 1);  // the new ledger's

  const int result = Save({Row(kName)});

  EXPECT_EQ(result, 0);
  EXPECT_EQ(Save({}), 0);
  EXPECT_THAT(test::LedgerRows(), SizeIs(1001));
}

TEST_F(DamagedLedger, IsCondemnedOnceItsPendingRowsCannotBeRead) {
  DamageALeaf();
  std::vector<History_Data_Para> rows;

  const int before = Save({Row("realdata/7/S20240307120500.tar.gz")});
  Ledger().GetHistoryData(&rows);
  const int after = Save({Row(kName)});
  AwaitRemoval();

  EXPECT_EQ(before, 0);
  EXPECT_EQ(after, -1);
  EXPECT_THAT(test::List(paths::kLedgerDirectory), IsEmpty());
}

TEST_F(DamagedLedger, IsMendedWhenOnlyItsIndexIsDamaged) {
  DamageRootOf("sqlite_autoindex_tJsonFileNames_1");

  const int result = Save({Row(kName)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), SizeIs(1001));
}

TEST_F(DamagedLedger, IsNotTakenForOneWhenItIsNew) {
  test::WriteDataFile(kName);  // packed before the ledger was made

  const int result = Save({Row(kName)});

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(test::Exists(test::DataFile(kName)));
  EXPECT_FALSE(test::Exists(paths::kLostTree));
}

}  // namespace
