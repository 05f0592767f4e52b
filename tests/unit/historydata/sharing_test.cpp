// The ledger among several threads, several processes, and somebody who looks at its database.
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/threads.h"
#include "util/paths.h"

using test::Call;
using test::Row;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr int kRowsEach = 20;
constexpr std::chrono::milliseconds kAMoment{50};  // long enough for what need not wait
constexpr std::chrono::seconds kPatience{20};      // a deadline for a broken test

// Names of one writer's files, a second apart.
std::string Name(char writer, int i) {
  return std::string("realdata/7/") + writer + "202403071100" + std::to_string(10 + i) + ".tar.gz";
}

// Saves one file after the other; false when a call failed.
bool SaveMany(char writer) {
  bool good = true;
  for (int i = 0; i < kRowsEach; ++i) {
    const std::vector<History_Data_Para> rows = {Row(Name(writer, i))};
    good = GetCHistoryDataInstance().SaveHistoryData(&rows) == 0 && good;
  }
  return good;
}

// Holds the database for a moment, as the given statement locks it.
std::thread HoldForAMoment(const std::string& begin) {
  auto holder = std::make_shared<test::LedgerFile>();
  holder->Run(begin);
  return std::thread([holder] {
    std::this_thread::sleep_for(kAMoment);
    holder->Run("rollback");
  });
}

class SharedLedger : public test::LedgerTest {};

TEST_F(SharedLedger, RecordsTheRowsOfTwoThreads) {
  test::MakePendingTable();
  std::array<bool, 2> good{};

  std::thread other([&] { good[1] = SaveMany('T'); });
  good[0] = SaveMany('S');
  other.join();

  EXPECT_THAT(good, ElementsAre(true, true));
  EXPECT_THAT(test::LedgerRows(), SizeIs(2 * kRowsEach));
}

TEST_F(SharedLedger, IsReadAndMarkedWhileItGrows) {
  test::MakePendingTable();
  std::atomic<bool> saved = false;
  std::thread writer([&] {
    SaveMany('S');
    saved = true;
  });

  int failures = 0;
  for (bool last = false; !last;) {
    last = saved;  // all are there: one more look marks the rest
    std::vector<History_Data_Para> rows;
    if (Ledger().GetHistoryData(&rows) != 0) ++failures;
    for (const auto& row : rows) {
      if (Ledger().UpdateHistoryData(row.filename) != 0) ++failures;
    }
  }
  writer.join();

  EXPECT_EQ(failures, 0);
  EXPECT_THAT(test::LedgerFile().Query("select count(*), sum(result) from tJsonFileNames"),
              ElementsAre("20|20"));
}

TEST_F(SharedLedger, RecordsRecallsBesideFiles) {
  test::MakePendingTable();
  Ledger().CreateRecallTable();
  std::thread recalls([] {
    for (int i = 0; i < kRowsEach; ++i) {
      std::string name = Name('R', i);
      Ledger().SaveRecallData(name.data());
    }
  });

  SaveMany('S');
  recalls.join();

  EXPECT_THAT(test::LedgerRows(), SizeIs(kRowsEach));
  EXPECT_THAT(test::RecallRows(), SizeIs(kRowsEach));
}

TEST_F(SharedLedger, RecordsTheRowsOfTwoProcesses) {
  test::MakePendingTable();

  const pid_t child = fork();
  if (child == 0) _exit(SaveMany('T') ? 0 : 1);
  const bool good = SaveMany('S');
  int status = -1;
  waitpid(child, &status, 0);

  EXPECT_TRUE(good);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(test::LedgerRows(), SizeIs(2 * kRowsEach));
}

struct Lock {
  const char* name;
  const char* statements;
};

class LockedLedger : public test::LedgerTest, public ::testing::WithParamInterface<Lock> {};

TEST_P(LockedLedger, LosesNoRow) {
  test::MakePendingTable({"'a20240307110000.tar.gz',2,0"});
  std::thread holder = HoldForAMoment(GetParam().statements);

  const int result = Save({Row("b20240307110001.tar.gz")});

  holder.join();
  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(),
              ElementsAre("a20240307110000.tar.gz|2|0", "b20240307110001.tar.gz|2|0"));
  EXPECT_FALSE(test::Exists(paths::kLostTree));
}

TEST_P(LockedLedger, MarksItsRow) {
  test::MakePendingTable({"'a',2,0"});
  std::thread holder = HoldForAMoment(GetParam().statements);

  const int result = Ledger().UpdateHistoryData("a");

  holder.join();
  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre("a|2|1"));
}

TEST_P(LockedLedger, ListsItsRows) {
  test::MakePendingTable({"'a',2,0"});
  std::thread holder = HoldForAMoment(GetParam().statements);
  std::vector<History_Data_Para> rows;

  const int result = Ledger().GetHistoryData(&rows);

  holder.join();
  EXPECT_EQ(result, 0);
  EXPECT_THAT(rows, SizeIs(1));
}

TEST_P(LockedLedger, RecordsARecall) {
  test::MakePendingTable();
  std::thread holder = HoldForAMoment(GetParam().statements);
  std::string name = "R20240307120000.tar.gz";

  const int result = Ledger().SaveRecallData(name.data());

  holder.join();
  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::RecallRows(), SizeIs(1));
}

TEST_P(LockedLedger, KeepsTheTreeAndRecordsTheRowAtTheNextSaveWhenTheLockLasts) {
  test::MakePendingTable({"'a20240307110000.tar.gz',2,0"});
  const test::NoLockWaits noWaits;
  {
    test::LedgerFile holder;
    holder.Run(GetParam().statements);
    Save({Row("b20240307110001.tar.gz")});
  }

  const int result = Save({});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(),
              ElementsAre("a20240307110000.tar.gz|2|0", "b20240307110001.tar.gz|2|0"));
}

INSTANTIATE_TEST_SUITE_P(Locks, LockedLedger,
                         ::testing::Values(Lock{"Read", "begin; select * from tJsonFileNames"},
                                           Lock{"Write", "begin immediate"},
                                           Lock{"Exclusive", "begin exclusive"}),
                         [](const auto& test) { return test.param.name; });

// A journal that stays after the commit: no power cut can bring back a deleted one.
TEST_F(SharedLedger, KeepsItsJournalAfterEveryWritingVisit) {
  std::vector<bool> kept;
  const auto visit = [&](const auto& write) {
    std::filesystem::remove(paths::kLedgerJournal);
    write();
    kept.push_back(test::Exists(paths::kLedgerJournal));
  };
  Ledger().Mkdirs(paths::kLedgerDirectory);

  visit([] { Ledger().CreateTable(); });
  visit([] { Ledger().CreateRecallTable(); });
  visit([] { Save({Row("a20240307110000.tar.gz")}); });
  visit([] { Ledger().UpdateHistoryData("a20240307110000.tar.gz"); });
  visit([] { Ledger().SaveRecallData("R20240307120000.tar.gz"); });

  EXPECT_THAT(kept, ::testing::Each(true));
}

// One visit to the database and a call in the middle of it.
struct Visit {
  const char* name;
  Call call;
  void (*visit)();
};

class LedgerVisit : public test::LedgerTest, public ::testing::WithParamInterface<Visit> {};

TEST_P(LedgerVisit, KeepsOthersOutUntilItsEnd) {
  test::MakePendingTable({"'a20240307110000.tar.gz',2,0"});
  Ledger().CreateRecallTable();
  std::future<std::int32_t> other;
  bool waited = false;
  test::AtNextCall(GetParam().call, [&] {
    other = std::async(std::launch::async, [] { return Ledger().IsTableExists("sqlite_master"); });
    waited = other.wait_for(kAMoment) == std::future_status::timeout;
  });

  GetParam().visit();

  EXPECT_TRUE(waited);
  EXPECT_EQ(other.wait_for(kPatience), std::future_status::ready);
}

INSTANTIATE_TEST_SUITE_P(
    Visits, LedgerVisit,
    ::testing::Values(
        Visit{"TableLookUp", Call::kSqlitePrepare,
              [] { GetCHistoryDataInstance().IsTableExists("tJsonFileNames"); }},
        Visit{"PendingTable", Call::kSqliteExec, [] { GetCHistoryDataInstance().CreateTable(); }},
        Visit{"RecallTable", Call::kSqliteExec,
              [] { GetCHistoryDataInstance().CreateRecallTable(); }},
        Visit{"Saving", Call::kSqliteExec,
              [] {
                const std::vector<History_Data_Para> rows;
                GetCHistoryDataInstance().SaveHistoryData(&rows);
              }},
        Visit{"Reading", Call::kSqlitePrepare,
              [] {
                std::vector<History_Data_Para> rows;
                GetCHistoryDataInstance().GetHistoryData(&rows);
              }},
        Visit{"Marking", Call::kSqliteExec,
              [] { GetCHistoryDataInstance().UpdateHistoryData("a20240307110000.tar.gz"); }},
        Visit{"Repair", Call::kUnlink,
              [] {
                test::WriteFile(paths::kLedger, "nonsense");
                const std::vector<History_Data_Para> rows;
                GetCHistoryDataInstance().SaveHistoryData(&rows);
                pthread_join(test::LatestThread().id, nullptr);
              }},
        Visit{"Recall", Call::kSqliteExec,
              [] {
                std::string name = "R20240307120000.tar.gz";
                GetCHistoryDataInstance().SaveRecallData(name.data());
              }}),
    [](const auto& test) { return test.param.name; });

// Nobody can wait for a ledger that is not there.
TEST_F(SharedLedger, IsMissedWithoutWaitingForAVisit) {
  test::MakePendingTable();
  std::future<std::int32_t> other;
  bool returned = false;
  test::AtNextCall(Call::kSqliteExec, [&] {
    std::filesystem::remove(paths::kLedger);
    other = std::async(std::launch::async, [] {
      std::vector<History_Data_Para> rows;
      return Ledger().GetHistoryData(&rows);
    });
    returned = other.wait_for(kPatience) == std::future_status::ready;
  });

  Save({});

  EXPECT_TRUE(returned);
  EXPECT_EQ(other.get(), -1);
}

TEST_F(SharedLedger, IsNotMadeByAListingThatHadToWait) {
  test::MakePendingTable();
  std::future<std::int32_t> other;
  test::AtNextCall(Call::kSqliteExec, [&] {
    other = std::async(std::launch::async, [] {
      std::vector<History_Data_Para> rows;
      return Ledger().GetHistoryData(&rows);
    });
    other.wait_for(kAMoment);
    std::filesystem::remove(paths::kLedger);
  });

  Save({});

  EXPECT_EQ(other.get(), -1);
  EXPECT_FALSE(test::Exists(paths::kLedger));
}

TEST_F(SharedLedger, KeepsNoHandleOpen) {
  test::MakePendingTable({"'a',2,0"});
  std::vector<History_Data_Para> rows;
  std::string recall = "R20240307120000.tar.gz";
  const std::size_t before = test::List("/proc/self/fd").size();

  Save({Row("realdata/7/S20240307120000.tar.gz")});
  Ledger().GetHistoryData(&rows);
  Ledger().UpdateHistoryData("a");
  Ledger().SaveRecallData(recall.data());
  Ledger().CreateTable();
  Ledger().IsTableExists("recallJsonFile");

  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before));
}

}  // namespace
