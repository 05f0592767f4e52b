#include "util/sqlite.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>

#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"

namespace {

using util::Failure;

constexpr char kDatabaseFile[] = "/tessel/test.db";
constexpr std::chrono::milliseconds kWhileItWaits{50};

class Sqlite : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    database.emplace(kDatabaseFile);
    database->Execute("create table t(a unique)");
  }

  std::optional<util::Database> database;
};

TEST_F(Sqlite, CountsAsNotOpenedWithoutDurableCommits) {
  test::FailCalls(test::Call::kSqliteExec);

  EXPECT_FALSE(database->MakeCommitsDurable());
  EXPECT_FALSE(*database);
}

TEST_F(Sqlite, TellsWhyADatabaseCannotBeOpened) {
  util::Database missing("/tessel/missing/test.db");
  missing.WaitForLocks(1000);
  missing.KeepCacheSmall();

  EXPECT_FALSE(missing.MakeCommitsDurable());
  EXPECT_FALSE(missing);
  EXPECT_EQ(missing.Error().why, Failure::kUnavailable);
  EXPECT_EQ(missing.Error().text, "unable to open database file");
}

TEST_F(Sqlite, MakesAMissingDatabaseOnlyOnDemand) {
  EXPECT_FALSE(util::Database("/tessel/new.db", util::Database::Missing::kFails));
  EXPECT_FALSE(test::Exists("/tessel/new.db"));

  EXPECT_TRUE(util::Database("/tessel/new.db").Execute("create table t(a)"));
}

TEST_F(Sqlite, ChangesNothingForAReader) {
  database.reset();
  auto reader = util::Database::OpenForReading(kDatabaseFile);

  EXPECT_FALSE(util::Database::OpenForReading("/tessel/new.db"));
  EXPECT_FALSE(test::Exists("/tessel/new.db"));
  EXPECT_TRUE(reader.Execute("select a from t"));
  EXPECT_FALSE(reader.Execute("insert into t values(1)"));
  EXPECT_FALSE(reader.Execute("vacuum into '/tessel/new.db'"));
  EXPECT_FALSE(test::Exists("/tessel/new.db"));
  EXPECT_FALSE(reader.Execute("select zeroblob(2000000)"));
}

TEST_F(Sqlite, TellsWhatHindersAReader) {
  auto reader = util::Database::OpenForReading(kDatabaseFile);
  reader.LimitTime(20);

  EXPECT_TRUE(reader.Execute("select a from t"));
  EXPECT_EQ(reader.WhyHindered(), util::Hindrance::kNone);
  EXPECT_FALSE(
      reader.Execute("with recursive n(i) as (select 1 union all select i+1 from n) select "
                     "count(*) from n"));
  EXPECT_EQ(reader.WhyHindered(), util::Hindrance::kTooLong);
  database->Execute("begin exclusive");
  EXPECT_FALSE(reader.Execute("select a from t"));
  EXPECT_EQ(reader.WhyHindered(), util::Hindrance::kLocked);
}

TEST_F(Sqlite, ReadsRowsToTheirEnd) {
  database->Execute("insert into t values(-2.0 / 3), ('two'), (4294967303), (3238068225), (NULL)");

  auto rows = database->Prepare("select a from t order by rowid");

  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Real(0), -2.0 / 3);
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Text(0), "two");
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Integer(0), 7) << "the lower 32 bits";
  EXPECT_EQ(rows.Integer64(0), 4294967303);
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(static_cast<std::uint32_t>(rows.Integer(0)), 3238068225U);
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Integer(0), 0);
  EXPECT_EQ(rows.Real(0), 0);
  EXPECT_EQ(rows.Text(0), "");
  EXPECT_FALSE(rows.NextRow());
  EXPECT_FALSE(rows.Failed());
}

TEST_F(Sqlite, TellsWhyAStatementFailed) {
  EXPECT_TRUE(database->Execute("create table n(a integer primary key)"));
  EXPECT_EQ(database->WhyFailed(), Failure::kNone);
  for (const char* sql : {"delete from nowhere", "insert into t values(2), (2)",
                          "insert into n values('no number')", "select zeroblob(2147483647)"}) {
    EXPECT_FALSE(database->Execute(sql)) << sql;
    EXPECT_EQ(database->WhyFailed(), Failure::kStatement) << sql;
  }

  auto rows = database->Prepare("select abs(-9223372036854775807 - 1)");
  EXPECT_EQ(database->WhyFailed(), Failure::kNone);
  EXPECT_FALSE(rows.NextRow());
  EXPECT_TRUE(rows.Failed());
  EXPECT_EQ(rows.WhyFailed(), Failure::kStatement);
  EXPECT_FALSE(database->Prepare("select a from nowhere"));
  EXPECT_EQ(database->WhyFailed(), Failure::kStatement);
}

TEST_F(Sqlite, TellsADamagedFileFromALockedOne) {
  database->Execute("begin exclusive");
  util::Database locked(kDatabaseFile);
  test::WriteFile("/tessel/damaged.db", std::string(4096, 'x'));
  util::Database damaged("/tessel/damaged.db");

  EXPECT_FALSE(locked.Execute("insert into t values(1)"));
  EXPECT_FALSE(damaged.Execute("create table t(a)"));

  EXPECT_EQ(locked.WhyFailed(), Failure::kUnavailable);
  EXPECT_EQ(damaged.WhyFailed(), Failure::kDamaged);
}

TEST_F(Sqlite, TellsADamagedContent) {
  database->Execute("insert into t values(hex(randomblob(20000)))");
  database.reset();
  std::string content = test::ReadFile(kDatabaseFile);
  content.replace(4096, content.size() - 4096, content.size() - 4096, '\xFF');
  test::WriteFile(kDatabaseFile, content);
  database.emplace(kDatabaseFile);

  auto rows = database->Prepare("select sum(length(a)) from t");

  EXPECT_FALSE(rows.NextRow());
  EXPECT_EQ(rows.WhyFailed(), Failure::kDamaged);
}

TEST_F(Sqlite, ServesAConnectionOfTheCaller) {
  sqlite3* const connection = database->Get();

  EXPECT_TRUE(util::Execute(connection, "create table u(a)"));
  EXPECT_TRUE(util::Prepare(connection, "select a from u"));
  EXPECT_FALSE(util::Execute(connection, "create table u(a)"));
  EXPECT_STREQ(util::ErrorText(connection), "table u already exists");
}

TEST_F(Sqlite, KeepsTheJournalAfterADurableCommitAndTheCacheSmall) {
  util::Database other(kDatabaseFile);
  other.KeepCacheSmall();
  EXPECT_TRUE(database->MakeCommitsDurable());
  database->Execute("insert into t values(1)");

  EXPECT_TRUE(test::Exists(std::string(kDatabaseFile) + "-journal"));
  for (auto* one : {&*database, &other}) {
    auto size = one->Prepare("pragma cache_size");
    ASSERT_TRUE(size.NextRow());
    EXPECT_EQ(size.Integer(0), -256);
  }
}

TEST_F(Sqlite, WaitsOnDemandForALockThatEndsWithItsConnection) {
  database->Execute("begin exclusive");
  util::Database other(kDatabaseFile);
  other.WaitForLocks(20'000);
  std::atomic<bool> isAboutToWait{false};
  std::thread unlocking([&] {
    isAboutToWait.wait(false);
    std::this_thread::sleep_for(kWhileItWaits);
    database.reset();
  });

  isAboutToWait = true;
  isAboutToWait.notify_one();
  const bool isInserted = other.Execute("insert into t values(1)");

  unlocking.join();
  EXPECT_TRUE(isInserted) << other.ErrorText();
}

}  // namespace
