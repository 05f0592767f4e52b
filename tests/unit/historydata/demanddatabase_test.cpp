// The demand-history database: its tables and rows, damage, locks, and another program that writes.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "historydata/historydata.h"
#include "livevaluetimes.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"
#include "support/historydatabase.h"
#include "support/logs.h"

using test::Call;
using test::HistoryDatabase;
using test::kHistoryDatabase;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr std::uint32_t kPump = 0x01030001;
constexpr std::time_t kTen = 1709776800;  // 2024-03-07 10:00:00 on the gateway
constexpr std::time_t kMinute = 60;
constexpr std::chrono::milliseconds kAMoment{50};

// The outcome of one call.
struct Found {
  std::int32_t result = 0;
  std::vector<double> values;
};

// The minutes from ten o'clock to `last` minutes later.
Found Recall(std::uint32_t dataId = kPump, int last = 1) {
  const ST_SINGLE_CALL_POINT point{.pointId = dataId & 0xFFFF,
                                   .beginTime = static_cast<std::uint32_t>(kTen),
                                   .endTime = static_cast<std::uint32_t>(kTen + last * kMinute)};
  std::vector<ST_SINGLE_POINT_VALUE> values;
  Found found;
  found.result = GetCHistoryDataInstance().GetRecallFlag(dataId, &point, &values);
  for (const auto& value : values) found.values.push_back(value.TriggerValue);
  return found;
}

// The two minutes of a point from ten o'clock on.
HistoryDatabase& WithTwoMinutes(HistoryDatabase& database, std::uint32_t dataId = kPump) {
  return database.Series(dataId, kTen, kTen + kMinute);
}

class DemandDatabase : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    test::ForgetLiveValueTimes();
  }
};

TEST_F(DemandDatabase, KeepsThePointsOfADeviceApart) {
  HistoryDatabase database;
  database.Add({.dataId = kPump, .time = kTen, .value = 1})
      .Add({.dataId = kPump + 1, .time = kTen, .value = 2})
      .Add({.dataId = kPump, .time = kTen + kMinute, .value = 3})
      .Add({.dataId = kPump + 1, .time = kTen + kMinute, .value = 4});

  const Found found = Recall(kPump + 1);

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(found.values, ElementsAre(2, 4));
}

TEST_F(DemandDatabase, KeepsTheDevicesApart) {
  HistoryDatabase database;
  WithTwoMinutes(database, 0x01040001).Table(kPump);
  // Somebody else's point in this device's table does not count.
  database.AddValues(0x0103, "17039361," + std::to_string(kTen) + ",1,1");

  const Found found = Recall(kPump);

  EXPECT_EQ(found.result, 0);
  EXPECT_THAT(found.values, IsEmpty());
}

struct Table {
  std::uint32_t dataId;
  const char* name;
};

void PrintTo(const Table& table, std::ostream* out) {
  *out << table.name;
}

class TableOfADevice : public DemandDatabase, public ::testing::WithParamInterface<Table> {};

TEST_P(TableOfADevice, GoesByItsNumberInFourHexadecimalDigits) {
  test::DatabaseFile file(kHistoryDatabase);
  const std::string table = GetParam().name;
  const auto id = std::to_string(static_cast<std::int32_t>(GetParam().dataId));
  file.Run("create table " + table +
           "(dataid integer, UnixTime integer, TriggerValue real, "
           "Upload integer)");
  file.Run("insert into " + table + " values(" + id + "," + std::to_string(kTen) + ",5,1)");

  const Found found = Recall(GetParam().dataId, 0);

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(found.values, ElementsAre(5));
}

INSTANTIATE_TEST_SUITE_P(
    Tables, TableOfADevice,
    ::testing::Values(Table{0x01031123, "history_0103_tbl"}, Table{0x00000000, "history_0000_tbl"},
                      Table{0x000A0001, "history_000a_tbl"}, Table{0x7FFFFFFF, "history_7fff_tbl"},
                      Table{0x80000000, "history_8000_tbl"}, Table{0xC1010001, "history_c101_tbl"},
                      Table{0xFFFFFFFF, "history_ffff_tbl"}),
    [](const auto& test) { return test.param.name; });

TEST_F(DemandDatabase, MayHoldOtherTypesThanItsColumns) {
  HistoryDatabase database;
  database.Table(kPump)
      .AddValues(0x0103, "'16973825','1709776800','2.5','1'")
      .AddValues(0x0103, "16973825.0,1709776860.0,'wet',1.9")
      .AddValues(0x0103, "16973825,1709776920,NULL,1")
      .AddValues(0x0103, "16973825,1709776980,x'3939',NULL")
      .AddValues(0x0103, "16973825,1709777040,9e999,'yes'");

  const Found found = Recall(kPump, 4);

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(found.values, ElementsAre(2.5, 0, 0));  // the last two are not released
}

TEST_F(DemandDatabase, MayHoldTimesThatAreNone) {
  HistoryDatabase database;
  WithTwoMinutes(database)
      .AddValues(0x0103, "16973825,'noon',7,1")
      .AddValues(0x0103, "16973825,x'00',7,1")
      .AddValues(0x0103, "16973825,9223372036854775807,7,1")
      .AddValues(0x0103, "16973825,-1,7,1");

  const Found found = Recall();

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(found.values, ElementsAre(0, 1));
}

TEST_F(DemandDatabase, IsOnlyRead) {
  HistoryDatabase database;
  WithTwoMinutes(database);
  const std::string rows =
      "select Pid||dataid||UnixTime||TriggerValue||Upload from history_0103_tbl";
  const auto before = database.Lines(rows);

  Recall();

  EXPECT_THAT(before, SizeIs(2));
  EXPECT_EQ(database.Lines(rows), before);
}

TEST_F(DemandDatabase, ThatIsMissingGivesNoSeriesAndIsNotMade) {
  const Found found = Recall();

  EXPECT_EQ(found.result, 0);
  EXPECT_THAT(found.values, IsEmpty());
  EXPECT_FALSE(test::Exists(kHistoryDatabase));
}

// What stands in the database's place, or happens to it.
struct Damage {
  const char* name;
  std::function<void()> inflict;
};

class UnreadableHistory : public DemandDatabase, public ::testing::WithParamInterface<Damage> {};

TEST_P(UnreadableHistory, FailsSilently) {
  GetParam().inflict();

  const Found found = Recall();

  EXPECT_EQ(found.result, -1);
  EXPECT_THAT(found.values, IsEmpty());
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Damages, UnreadableHistory,
    ::testing::Values(
        Damage{"Nonsense", [] { test::WriteFile(kHistoryDatabase, std::string(4096, 'x')); }},
        Damage{"EmptyFile", [] { test::WriteFile(kHistoryDatabase, ""); }},
        Damage{"Directory", [] { std::filesystem::create_directory(kHistoryDatabase); }},
        Damage{"OtherDevice", [] { HistoryDatabase().Table(0x01040000); }},
        Damage{"NoMark",
               [] {
                 HistoryDatabase().Run(
                     "create table history_0103_tbl(dataid, UnixTime, TriggerValue)");
               }},
        Damage{"NotOpened",
               [] {
                 HistoryDatabase database;
                 WithTwoMinutes(database);
                 test::FailCalls(Call::kSqliteOpen);
               }},
        Damage{"NotPrepared",
               [] {
                 HistoryDatabase database;
                 WithTwoMinutes(database);
                 test::FailCalls(Call::kSqlitePrepare);
               }},
        Damage{"NotStepped",
               [] {
                 HistoryDatabase database;
                 WithTwoMinutes(database);
                 test::FailCalls(Call::kSqliteStep);
               }}),
    [](const auto& test) { return test.param.name; });

TEST_F(DemandDatabase, ThatFailsBetweenTwoRowsFailsTheRecall) {
  HistoryDatabase database;
  WithTwoMinutes(database);
  test::FailCalls(Call::kSqliteStep, 1, 1);

  const Found found = Recall();

  EXPECT_EQ(found.result, -1);
  EXPECT_THAT(found.values, ElementsAre(0));
}

TEST_F(DemandDatabase, ThatFailsBehindTheLastMinuteFailsTheRecall) {
  HistoryDatabase database;
  WithTwoMinutes(database);
  test::FailCalls(Call::kSqliteStep, 1, 2);

  const Found found = Recall();

  EXPECT_EQ(found.result, -1);
}

struct Lock {
  const char* name;
  const char* statements;
  std::int32_t resultWhileHeld;
};

void PrintTo(const Lock& lock, std::ostream* out) {
  *out << lock.name;
}

class LockedHistory : public DemandDatabase, public ::testing::WithParamInterface<Lock> {};

TEST_P(LockedHistory, IsReadWhenTheLockIsShort) {
  HistoryDatabase database;
  WithTwoMinutes(database).Run(GetParam().statements);
  std::thread holder([&] {
    std::this_thread::sleep_for(kAMoment);
    database.Run("rollback");
  });

  const Found found = Recall();

  holder.join();
  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(found.values, ElementsAre(0, 1));
}

TEST_P(LockedHistory, IsNeverTakenForIncomplete) {
  HistoryDatabase database;
  WithTwoMinutes(database).Run(GetParam().statements);
  const test::NoLockWaits impatient;

  const Found found = Recall();

  EXPECT_EQ(found.result, GetParam().resultWhileHeld);
}

INSTANTIATE_TEST_SUITE_P(Locks, LockedHistory,
                         ::testing::Values(Lock{"Read", "begin; select * from history_0103_tbl", 1},
                                           Lock{"Write",
                                                "begin immediate; delete from history_0103_tbl", 1},
                                           Lock{"Exclusive", "begin exclusive", -1}),
                         [](const auto& test) { return test.param.name; });

TEST_F(DemandDatabase, ThatIsLockedAfterTheQuestionFailsTheRecall) {
  HistoryDatabase database;
  WithTwoMinutes(database);
  test::AtNextCall(Call::kSqliteStep, [&] { database.Run("begin exclusive"); });
  const test::NoLockWaits impatient;

  const Found found = Recall();

  EXPECT_EQ(found.result, -1);
  EXPECT_THAT(found.values, IsEmpty());
}

TEST_F(DemandDatabase, IsNotReportedAndLeavesNoHandleOpen) {
  HistoryDatabase database;
  WithTwoMinutes(database);
  const std::size_t before = test::List("/proc/self/fd").size();
  testing::internal::CaptureStdout();

  Recall();
  Recall(0x01040001);  // without a table

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before));
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(DemandDatabase, IsReadWhileAnotherProgramGoesOnWriting) {
  constexpr int kMinutes = 60;
  {
    HistoryDatabase made;
    WithTwoMinutes(made);
  }
  const pid_t child = fork();
  if (child == 0) {
    HistoryDatabase writer;
    for (int i = 2; i < kMinutes; ++i) writer.Add({.time = kTen + i * kMinute, .value = 1. * i});
    _exit(0);
  }

  int failures = 0;
  int status = -1;
  for (bool ended = false; !ended;) {
    ended = waitpid(child, &status, WNOHANG) == child;
    if (Recall().result != 1) ++failures;
  }
  const Found whole = Recall(kPump, kMinutes - 1);

  EXPECT_EQ(status, 0);
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(whole.result, 1);
  EXPECT_THAT(whole.values, SizeIs(kMinutes));
}

}  // namespace
