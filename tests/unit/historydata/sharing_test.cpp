// The ledger among several threads and beside other programs.
#include <gmock/gmock.h>
#include <pthread.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <thread>
#include <vector>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/threads.h"

using namespace test;
using namespace testing;

namespace {

constexpr std::chrono::milliseconds kAMoment{50};  // long enough for what need not wait
constexpr std::chrono::seconds kPatience{20};      // a deadline for a broken test

class SharedLedger : public LedgerTest {};

TEST_F(SharedLedger, WaitsTwoSecondsForALock) {
  Save({});
  EXPECT_EQ(LatestLockWait(), 2000);

  Tables();  // sets the test's own wait
  List();
  EXPECT_EQ(LatestLockWait(), 2000);
}

class LockedLedger : public SharedLedger, public WithParamInterface<const char*> {};

TEST_P(LockedLedger, KeepsItsTreeAndRecordsEveryRowOnceTheLockIsGone) {
  MakePendingTable({"'a20240307110000.tar.gz',2,0"});
  LedgerFile holder;
  holder.Run(GetParam());
  {
    const NoLockWaits noWaits;
    Save({Row("b20240307110001.tar.gz")});
  }
  std::thread rollback([&] {
    std::this_thread::sleep_for(kAMoment);
    holder.Run("rollback");
  });

  EXPECT_EQ(List(), 0);
  EXPECT_EQ(Save({Row("c20240307110002.tar.gz")}), 0);
  rollback.join();

  EXPECT_THAT(LedgerRows(), ElementsAre("a20240307110000.tar.gz|2|0", "b20240307110001.tar.gz|2|0",
                                        "c20240307110002.tar.gz|2|0"));
}

INSTANTIATE_TEST_SUITE_P(Locks, LockedLedger,
                         Values("begin; select * from tJsonFileNames", "begin immediate",
                                "begin exclusive"));

// No power cut can bring back a journal that was never deleted, and undo the commit.
TEST_F(SharedLedger, KeepsItsJournalAfterEveryWriting) {
  std::vector<bool> kept;
  const auto write = [&](const auto& writing) {
    std::filesystem::remove(paths::kLedgerJournal);
    writing();
    kept.push_back(Exists(paths::kLedgerJournal));
  };
  Ledger().Mkdirs(paths::kLedgerDirectory);

  write([] { Ledger().CreateTable(); });
  write([] { Ledger().CreateRecallTable(); });
  write([] { Save({Row("a20240307110000.tar.gz"), Row("b20240307110000.tar.gz")}); });
  write([] { Ledger().UpdateHistoryData("a20240307110000.tar.gz"); });
  write([] { Ledger().SaveRecallData("R20240307120000.tar.gz"); });
  write([] {
    FailCalls(Call::kSqliteOpen);
    Ledger().UpdateHistoryData("b20240307110000.tar.gz");
    List();  // writes the mark that waits
  });

  EXPECT_THAT(kept, Each(true));
}

// An operation and a call in the middle of it.
struct Operation {
  const char* name;
  Call call;
  void (*run)(CHistoryData&);
};

void SaveNothing(CHistoryData& ledger) {
  const Rows rows;
  ledger.SaveHistoryData(&rows);
}

class LedgerOperation : public SharedLedger, public WithParamInterface<Operation> {};

TEST_P(LedgerOperation, KeepsOthersOutUntilItsEnd) {
  MakePendingTable({"'a20240307110000.tar.gz',2,0"});
  std::future<std::int32_t> other;
  bool waited = false;
  AtNextCall(GetParam().call, [&] {
    other = std::async(std::launch::async, [] { return Ledger().IsTableExists("sqlite_master"); });
    waited = other.wait_for(kAMoment) == std::future_status::timeout;
  });

  GetParam().run(Ledger());

  EXPECT_TRUE(waited);
  EXPECT_EQ(other.wait_for(kPatience), std::future_status::ready);
}

INSTANTIATE_TEST_SUITE_P(
    Operations, LedgerOperation,
    Values(Operation{"Look", Call::kSqlitePrepare, [](auto& ledger) { ledger.IsTableExists("a"); }},
           Operation{"PendingTable", Call::kSqliteExec, [](auto& ledger) { ledger.CreateTable(); }},
           Operation{"RecallTable", Call::kSqliteExec,
                     [](auto& ledger) { ledger.CreateRecallTable(); }},
           Operation{"Saving", Call::kSqliteExec, SaveNothing},
           Operation{"Reading", Call::kSqlitePrepare,
                     [](auto& ledger) {
                       Rows rows;
                       ledger.GetHistoryData(&rows);
                     }},
           Operation{"Marking", Call::kSqliteExec,
                     [](auto& ledger) { ledger.UpdateHistoryData("a"); }},
           Operation{"Recall", Call::kSqliteExec, [](auto& ledger) { ledger.SaveRecallData("R"); }},
           Operation{"Repair", Call::kUnlink,
                     [](auto& ledger) {
                       WriteFile(paths::kLedger, "nonsense");
                       SaveNothing(ledger);
                       pthread_join(LatestThread().id, nullptr);
                     }}),
    [](const auto& test) { return test.param.name; });

TEST_F(SharedLedger, FailsToReadOnceItsFileIsGoneAndMakesNone) {
  for (const bool atOnce : {true, false}) {  // or while the reading waits for a save
    SCOPED_TRACE(atOnce);
    MakePendingTable();
    std::future<std::int32_t> other;
    bool returned = false;
    AtNextCall(Call::kSqliteExec, [&] {
      if (atOnce) std::filesystem::remove(paths::kLedger);
      other = std::async(std::launch::async, [] { return List(); });
      returned = other.wait_for(atOnce ? kPatience : kAMoment) == std::future_status::ready;
      std::filesystem::remove(paths::kLedger);
    });

    Save({});

    EXPECT_EQ(returned, atOnce);
    EXPECT_EQ(other.get(), -1);
    EXPECT_FALSE(Exists(paths::kLedger));
  }
}

}  // namespace
