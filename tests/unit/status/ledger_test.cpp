// The ledger, read beside a service that writes it.
#include "collect/ledger.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ledgerreading.h"
#include "support/faults.h"

using status::FileCounts;
using status::LedgerState;
using test::kRuns;
using test::LedgerReading;
using test::RealName;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Optional;

namespace {

auto IsNamed(const std::string& name) {
  return Optional(Field(&status::LedgerRow::name, name));
}

TEST_F(LedgerReading, CountsTheFilesOfEachKind) {
  auto ledger = MakeLedger();
  Insert(ledger, RealName("20240307110000"), kRealDataFile, 1);
  Insert(ledger, RealName("20240307113000"));
  Insert(ledger, "alarmdata/7/T20240307115900.tar.gz", kAlarmDataFile);
  Insert(ledger, "notes.txt", 9, 1);
  ledger.Run(InsertRecall(test::LocalTimeOf(2024, 3, 7), "calldata/C1.tar.gz"));

  const auto read = Read();

  EXPECT_EQ(read.state, LedgerState::kGood);
  EXPECT_EQ(read.all.accepted, 2U);
  EXPECT_EQ(read.all.pending, 2U);
  EXPECT_EQ(read.realData.accepted, 1U);
  EXPECT_EQ(read.realData.pending, 1U);
  EXPECT_EQ(read.alarmData.accepted, 0U);
  EXPECT_EQ(read.alarmData.pending, 1U);
  EXPECT_EQ(read.recalls, 1U);
  EXPECT_THAT(read.copied, IsEmpty());
}

TEST_F(LedgerReading, FindsTheNewestAndTheOldestByTheirStamps) {
  auto ledger = MakeLedger();
  Insert(ledger, RealName("20240307100000"), kRealDataFile, 1);
  Insert(ledger, RealName("20240307120000"));
  Insert(ledger, RealName("20240307110000"), kRealDataFile, 1);
  Insert(ledger, RealName("20240307080000"));
  Insert(ledger, "realdata/7/odd.tar.gz");

  const FileCounts counts = Read().realData;

  EXPECT_THAT(counts.newest, IsNamed(RealName("20240307120000")));
  EXPECT_THAT(counts.newestAccepted, IsNamed(RealName("20240307110000")));
  EXPECT_THAT(counts.newestPending, IsNamed(RealName("20240307120000")));
  EXPECT_THAT(counts.oldestPending, IsNamed(RealName("20240307080000")));
  EXPECT_EQ(counts.newest->stamp, test::LocalTimeOf(2024, 3, 7, 12));
}

TEST_F(LedgerReading, GivesEveryRowOnceOverSeveralPages) {
  auto ledger = MakeLedger();
  InsertMany(ledger, 2500);
  std::vector<std::string> names;

  const auto read = Read(kRuns, [&](const auto& row) { names.push_back(row.name); });

  EXPECT_EQ(read.all.accepted, 2500U);
  ASSERT_EQ(names.size(), 2500U);
  EXPECT_EQ(names.front(), "realdata/7/N000001.tar.gz");
  EXPECT_EQ(names.back(), "realdata/7/N002500.tar.gz");
}

TEST_F(LedgerReading, LetsTheServiceWriteBetweenPages) {
  auto ledger = MakeLedger();
  InsertMany(ledger, 1500);
  std::size_t given = 0;

  // Any lock of the reader would make this commit fail at once.
  util::Database service(paths::kLedger, util::Database::Missing::kFails);
  const auto read = Read(kRuns, [&](const auto&) {
    if (++given != 1000) return;
    EXPECT_TRUE(service.Execute("delete from tJsonFileNames where rowid in (1, 2, 1200)"));
    EXPECT_TRUE(service.Execute("insert into tJsonFileNames(filename) values('new')"));
  });

  EXPECT_EQ(read.state, LedgerState::kGood);
  EXPECT_EQ(given, 1500U);
  EXPECT_EQ(read.all.pending, 1U);
}

TEST_F(LedgerReading, CutsLongNames) {
  auto ledger = MakeLedger();
  Insert(ledger, std::string(500, 'n'));
  std::string name;

  Read(kRuns, [&](const auto& row) { name = row.name; });

  EXPECT_EQ(name, std::string(127, 'n'));
}

TEST_F(LedgerReading, TakesALedgerWithoutRecalls) {
  auto ledger = MakeLedger();
  ledger.Run(util::Format("drop table %s", kRecallTable));

  const auto read = Read();

  EXPECT_EQ(read.state, LedgerState::kGood);
  EXPECT_EQ(read.recalls, 0U);
}

// When content, size, rights or owner of a file were last set, in seconds and nanoseconds.
std::pair<std::time_t, long> ChangedAt(const char* path) {
  struct stat about {};
  EXPECT_EQ(stat(path, &about), 0);
  return {about.st_ctim.tv_sec, about.st_ctim.tv_nsec};
}

TEST_F(LedgerReading, LeavesNoTrace) {
  {
    auto ledger = MakeLedger();
    Insert(ledger, RealName("20240307110000"));
  }
  const auto before = Folder();
  const auto content = test::ReadFile(paths::kLedger);
  chmod(paths::kLedgerDirectory, 0500);
  const auto ledgerChanged = ChangedAt(paths::kLedger);
  const auto journalChanged = ChangedAt(paths::kLedgerJournal);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the file system's clock is coarse

  EXPECT_EQ(Read().all.pending, 1U);

  EXPECT_EQ(Folder(), before);
  EXPECT_THAT(before, ElementsAre("CloudDB.db", "CloudDB.db-journal"));  // kept, and not hot
  EXPECT_EQ(test::ReadFile(paths::kLedger), content);
  EXPECT_EQ(ChangedAt(paths::kLedger), ledgerChanged);
  EXPECT_EQ(ChangedAt(paths::kLedgerJournal), journalChanged);
  EXPECT_THAT(test::List("/tmp"), IsEmpty());
}

// What another connection of the service holds, and what a reader then sees.
struct Lock {
  const char* name;
  const char* statements;
  LedgerState state;
};

class LedgerLocks : public LedgerReading, public ::testing::WithParamInterface<Lock> {};

TEST_P(LedgerLocks, AreNotWaitedFor) {
  auto ledger = MakeLedger();
  Insert(ledger, RealName("20240307110000"));
  ledger.Run(GetParam().statements);

  const test::NoLockWaits noWaits;
  const auto read = Read(kRuns);

  EXPECT_EQ(test::LatestLockWait(), 100);
  EXPECT_EQ(read.state, GetParam().state);
  EXPECT_EQ(read.all.pending, GetParam().state == LedgerState::kGood ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(
    , LedgerLocks,
    ::testing::Values(
        Lock{"Shared", "BEGIN; select count(*) from tJsonFileNames", LedgerState::kGood},
        Lock{"Reserved", "BEGIN IMMEDIATE; delete from tJsonFileNames", LedgerState::kGood},
        Lock{"Exclusive", "BEGIN EXCLUSIVE", LedgerState::kBusy}),
    [](const auto& parameter) { return parameter.param.name; });

TEST_F(LedgerReading, FindsAFileByItsWholeNameOrItsBaseName) {
  auto ledger = MakeLedger();
  InsertMany(ledger, 1200);
  Insert(ledger, RealName("20240307110000"), kRealDataFile, 1);
  Insert(ledger, "S20240307110000.tar.gz", kAlarmDataFile);

  const auto find = [](const std::string& name) {
    return status::FindRow(status::Place(), kRuns, name);
  };

  EXPECT_THAT(find(RealName("20240307110000")).row, IsNamed(RealName("20240307110000")));
  EXPECT_THAT(find("S20240307110000.tar.gz").row, IsNamed("S20240307110000.tar.gz"));
  EXPECT_THAT(find("N001100.tar.gz").row, IsNamed("realdata/7/N001100.tar.gz"));
  EXPECT_EQ(find("N0011").row, std::nullopt);
  EXPECT_EQ(find("N0011").state, LedgerState::kGood);
}

}  // namespace
