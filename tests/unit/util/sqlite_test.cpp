// Owners of SQLite connections and statements.
#include "util/sqlite.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <thread>

#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"

namespace {

constexpr char kPath[] = "/tessel/test.db";
constexpr std::chrono::milliseconds kWhileItWaits{50};

class Sqlite : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    database.emplace(kPath);
  }
  void TearDown() override {
    database.reset();
    GatewayTest::TearDown();
  }

  std::optional<util::Database> database;
};

TEST_F(Sqlite, CreatesAMissingDatabase) {
  database->Execute("create table t(a)");

  EXPECT_TRUE(*database);
  EXPECT_TRUE(test::Exists(kPath));
}

TEST_F(Sqlite, SaysWhyADatabaseCannotBeOpened) {
  const util::Database missing("/tessel/missing/test.db");

  EXPECT_FALSE(missing);
  EXPECT_STREQ(missing.ErrorText(), "unable to open database file");
}

TEST_F(Sqlite, KeepsADatabaseThatCouldNotBeOpenedAwayFromTheLockWait) {
  util::Database missing("/tessel/missing/test.db");

  missing.WaitForLocks(1000);

  EXPECT_FALSE(missing);
}

TEST_F(Sqlite, ReadsRowsInOrder) {
  database->Execute("create table t(number, word)");
  database->Execute("insert into t values(1, 'one'), (-2147483648, 'least')");

  auto rows = database->Prepare("select number, word from t order by rowid");

  ASSERT_TRUE(rows);
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Integer(0), 1);
  EXPECT_EQ(rows.Text(1), "one");
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Integer(0), -2147483648);
  EXPECT_EQ(rows.Text(1), "least");
  EXPECT_FALSE(rows.NextRow());
}

TEST_F(Sqlite, ReadsNullAsZeroAndAsTheEmptyText) {
  auto rows = database->Prepare("select NULL, NULL, NULL");

  ASSERT_TRUE(rows.NextRow());

  EXPECT_EQ(rows.Integer(0), 0);
  EXPECT_EQ(rows.Text(1), "");
  EXPECT_EQ(rows.Real(2), 0);
}

TEST_F(Sqlite, KeepsEveryBitOfAReal) {
  auto rows = database->Prepare("select 0.1, -2.0 / 3, 5e-324, 9e999, -9e999");

  ASSERT_TRUE(rows.NextRow());

  EXPECT_EQ(rows.Real(0), 0.1);
  EXPECT_EQ(rows.Real(1), -2.0 / 3);
  EXPECT_EQ(rows.Real(2), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(rows.Real(3), std::numeric_limits<double>::infinity());
  EXPECT_EQ(rows.Real(4), -std::numeric_limits<double>::infinity());
}

TEST_F(Sqlite, ReadsWhatIsNoRealAsTheOneItBeginsWith) {
  auto rows = database->Prepare("select 7, '2.5 bar', 'bar', x'332e35', ''");

  ASSERT_TRUE(rows.NextRow());

  EXPECT_EQ(rows.Real(0), 7);
  EXPECT_EQ(rows.Real(1), 2.5);
  EXPECT_EQ(rows.Real(2), 0);
  EXPECT_EQ(rows.Real(3), 3.5);
  EXPECT_EQ(rows.Real(4), 0);
}

TEST_F(Sqlite, KeepsTheLower32BitsOfAnInteger) {
  auto rows = database->Prepare("select 4294967303, 3238068225, 9223372036854775807, 2.9");

  ASSERT_TRUE(rows.NextRow());

  EXPECT_EQ(rows.Integer(0), 7);
  EXPECT_EQ(static_cast<std::uint32_t>(rows.Integer(1)), 3238068225U);
  EXPECT_EQ(rows.Integer(2), -1);
  EXPECT_EQ(rows.Integer(3), 2);
}

TEST_F(Sqlite, KnowsTheEndOfTheRowsFromAnError) {
  auto whole = database->Prepare("select 1");
  auto failing = database->Prepare("select abs(-9223372036854775807 - 1)");

  EXPECT_TRUE(whole.NextRow());
  EXPECT_FALSE(whole.Failed());
  EXPECT_FALSE(whole.NextRow());
  EXPECT_FALSE(whole.Failed());
  EXPECT_FALSE(failing.NextRow());
  EXPECT_TRUE(failing.Failed());
}

TEST_F(Sqlite, HasNoStatementForAQueryThatCannotBePrepared) {
  const auto rows = database->Prepare("select a from nowhere");

  EXPECT_FALSE(rows);
  EXPECT_STREQ(database->ErrorText(), "no such table: nowhere");
}

TEST_F(Sqlite, SaysWhyAStatementFailed) {
  EXPECT_FALSE(database->Execute("delete from nowhere"));
  EXPECT_STREQ(database->ErrorText(), "no such table: nowhere");
}

TEST_F(Sqlite, EndsTheRowsAtAnError) {
  database->Execute("create table t(a)");
  database->Execute("insert into t values(1)");
  auto rows = database->Prepare("insert into t select abs(-9223372036854775807 - 1)");

  EXPECT_FALSE(rows.NextRow());
  EXPECT_STREQ(database->ErrorText(), "integer overflow");
}

TEST_F(Sqlite, ServesAConnectionThatSomebodyElseOwns) {
  sqlite3* const connection = database->Get();

  EXPECT_TRUE(util::Execute(connection, "create table t(a)"));
  EXPECT_TRUE(util::Prepare(connection, "select a from t"));
  EXPECT_FALSE(util::Execute(connection, "create table t(a)"));
  EXPECT_STREQ(util::ErrorText(connection), "table t already exists");
}

TEST_F(Sqlite, ClosesItsConnectionAndFreesItsLocks) {
  database->Execute("create table t(a)");
  database->Execute("begin exclusive");
  util::Database other(kPath);
  ASSERT_FALSE(other.Execute("insert into t values(1)"));

  database.reset();

  EXPECT_TRUE(other.Execute("insert into t values(1)"));
}

TEST_F(Sqlite, FailsAtOnceAtALockUnlessToldToWait) {
  database->Execute("create table t(a)");
  database->Execute("begin exclusive");
  util::Database other(kPath);

  EXPECT_FALSE(other.Execute("insert into t values(1)"));
  EXPECT_STREQ(other.ErrorText(), "database is locked");
}

TEST_F(Sqlite, WaitsForAnothersLockWhenTold) {
  database->Execute("create table t(a)");
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
