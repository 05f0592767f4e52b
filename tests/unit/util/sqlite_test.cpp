#include "util/sqlite.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <thread>

#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"

namespace {

using util::Failure;

constexpr char kPath[] = "/tessel/test.db";
constexpr std::chrono::milliseconds kWhileItWaits{50};

class Sqlite : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    database.emplace(kPath);
    database->Execute("create table t(a unique)");
  }
  void TearDown() override {
    database.reset();
    GatewayTest::TearDown();
  }

  std::int32_t Setting(const char* name) {
    auto rows = database->Prepare(std::string("pragma ") + name);
    return rows.NextRow() ? rows.Integer(0) : -1;
  }

  std::optional<util::Database> database;
};

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
  EXPECT_TRUE(test::Exists("/tessel/new.db"));
}

TEST_F(Sqlite, ReadsRowsToTheirEnd) {
  database->Execute("insert into t values(1), ('two')");

  auto rows = database->Prepare("select a from t order by rowid");

  ASSERT_TRUE(rows);
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Integer(0), 1);
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Text(0), "two");
  EXPECT_FALSE(rows.NextRow());
  EXPECT_FALSE(rows.Failed());
}

TEST_F(Sqlite, ReadsNullAsZeroAndAsTheEmptyText) {
  auto rows = database->Prepare("select NULL, NULL, NULL");

  ASSERT_TRUE(rows.NextRow());

  EXPECT_EQ(rows.Integer(0), 0);
  EXPECT_EQ(rows.Text(1), "");
  EXPECT_EQ(rows.Real(2), 0);
}

TEST_F(Sqlite, KeepsEveryBitOfAReal) {
  auto rows = database->Prepare("select -2.0 / 3, 5e-324, 9e999, '2.5 bar'");

  ASSERT_TRUE(rows.NextRow());

  EXPECT_EQ(rows.Real(0), -2.0 / 3);
  EXPECT_EQ(rows.Real(1), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(rows.Real(2), std::numeric_limits<double>::infinity());
  EXPECT_EQ(rows.Real(3), 2.5);
}

TEST_F(Sqlite, KeepsTheLower32BitsOfAnInteger) {
  auto rows = database->Prepare("select 4294967303, 3238068225, 2.9");

  ASSERT_TRUE(rows.NextRow());

  EXPECT_EQ(rows.Integer(0), 7);
  EXPECT_EQ(static_cast<std::uint32_t>(rows.Integer(1)), 3238068225U);
  EXPECT_EQ(rows.Integer(2), 2);
}

TEST_F(Sqlite, EndsTheRowsAtAnError) {
  auto rows = database->Prepare("select abs(-9223372036854775807 - 1)");

  EXPECT_FALSE(rows.NextRow());
  EXPECT_TRUE(rows.Failed());
  EXPECT_EQ(rows.WhyFailed(), Failure::kStatement);
}

TEST_F(Sqlite, TellsWhyAQueryCannotBePrepared) {
  EXPECT_FALSE(database->Prepare("select a from nowhere"));
  EXPECT_EQ(database->WhyFailed(), Failure::kStatement);
}

struct FailureRow {
  const char* sql;
  Failure why;
};

void PrintTo(const FailureRow& row, std::ostream* out) {
  *out << row.sql;
}

class SqliteFailure : public Sqlite, public ::testing::WithParamInterface<FailureRow> {};

TEST_P(SqliteFailure, HasItsKind) {
  database->Execute("create table n(a integer primary key)");

  EXPECT_EQ(database->Execute(GetParam().sql), GetParam().why == Failure::kNone);
  EXPECT_EQ(database->WhyFailed(), GetParam().why);
}

INSTANTIATE_TEST_SUITE_P(
    Statements, SqliteFailure,
    ::testing::Values(FailureRow{"insert into t values(1)", Failure::kNone},
                      FailureRow{"delete from nowhere", Failure::kStatement},
                      FailureRow{"insert into t values(1), (1)", Failure::kStatement},
                      FailureRow{"insert into n values('no number')", Failure::kStatement},
                      FailureRow{"select zeroblob(2147483647)", Failure::kStatement}));

TEST_F(Sqlite, TellsADamagedFileFromALockedOne) {
  database->Execute("begin exclusive");
  util::Database locked(kPath);
  test::WriteFile("/tessel/damaged.db", std::string(4096, 'x'));
  util::Database damaged("/tessel/damaged.db");

  EXPECT_FALSE(locked.Execute("insert into t values(1)"));
  EXPECT_FALSE(damaged.Execute("create table t(a)"));

  EXPECT_EQ(locked.WhyFailed(), Failure::kUnavailable);
  EXPECT_EQ(damaged.WhyFailed(), Failure::kDamaged);
}

TEST_F(Sqlite, TellsADamagedContent) {
  for (int i = 0; i < 200; ++i) database->Execute("insert into t values(hex(randomblob(200)))");
  database.reset();
  std::string content = test::ReadFile(kPath);
  content.replace(4096, content.size() - 4096, content.size() - 4096, '\xFF');
  test::WriteFile(kPath, content);
  database.emplace(kPath);

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

TEST_F(Sqlite, KeepsTheJournalAfterADurableCommit) {
  EXPECT_TRUE(database->MakeCommitsDurable());
  database->Execute("insert into t values(1)");

  EXPECT_TRUE(test::Exists(std::string(kPath) + "-journal"));
  EXPECT_EQ(Setting("cache_size"), -256);
}

TEST_F(Sqlite, CountsAsNotOpenedWithoutDurableCommits) {
  test::FailCalls(test::Call::kSqliteExec);

  EXPECT_FALSE(database->MakeCommitsDurable());
  EXPECT_FALSE(*database);
}

TEST_F(Sqlite, KeepsItsCacheSmall) {
  database->KeepCacheSmall();

  EXPECT_EQ(Setting("cache_size"), -256);
}

TEST_F(Sqlite, FreesItsLocksAtItsEnd) {
  database->Execute("begin exclusive");
  util::Database other(kPath);

  database.reset();

  EXPECT_TRUE(other.Execute("insert into t values(1)")) << other.ErrorText();
}

TEST_F(Sqlite, WaitsForALockOnDemand) {
  database->Execute("begin exclusive");
  util::Database other(kPath);
  other.WaitForLocks(20'000);
  std::atomic<bool> isAboutToWait{false};
  std::thread unlocking([&] {
    isAboutToWait.wait(false);
    std::this_thread::sleep_for(kWhileItWaits);
    database->Execute("commit");
  });

  isAboutToWait = true;
  isAboutToWait.notify_one();
  const bool isInserted = other.Execute("insert into t values(1)");

  unlocking.join();
  EXPECT_TRUE(isInserted) << other.ErrorText();
}

}  // namespace
