// A batch that meets a locked database, and callers that meet the batch.
#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <string>

#include "caller.h"
#include "databasefixture.h"
#include "log/log.h"
#include "support/clock.h"
#include "support/logs.h"

namespace {

using test::kLogDatabasePath;
using test::Node;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::chrono_literals;

// Makes the insert of 'stubborn' fail with that text, in its first `failures` attempts.
std::string FailInserts(const std::string& text, int failures) {
  return "create table attempts(a); create trigger t before insert on log_tbl "
         "when new.log_Desc = 'stubborn' begin "
         "insert into attempts values(1); "
         "select case when (select count(*) from attempts) <= " +
         std::to_string(failures) + " then raise(fail, '" + text + "') end; end";
}

class LogDatabaseRetry : public test::LogDatabaseTest {
 protected:
  static std::string Attempts() { return Column("select count(*) from attempts").front(); }
};

TEST_F(LogDatabaseRetry, TriesALockedInsertAgainAfter200Milliseconds) {
  Prepare(FailInserts("database is locked ", 3));
  queue = {Node("stubborn")};

  const int result = Write();

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::Pauses(), ElementsAre(200ms, 200ms, 200ms));
  EXPECT_THAT(Messages(), ElementsAre("stubborn"));
}

TEST_F(LogDatabaseRetry, InsertsAtTheTwentiethAttempt) {
  Prepare(FailInserts("database is locked ", 19));
  queue = {Node("stubborn"), Node("next")};

  Write();

  EXPECT_THAT(test::Pauses(), AllOf(SizeIs(19), Each(200ms)));
  EXPECT_THAT(Messages(), ElementsAre("stubborn", "next"));
}

TEST_F(LogDatabaseRetry, DropsARecordAfterTwentyAttemptsAndGoesOn) {
  Prepare(FailInserts("database is locked ", 1000));
  queue = {Node("stubborn"), Node("next")};

  const int result = Write();

  EXPECT_EQ(result, 0);
  EXPECT_EQ(Attempts(), "20");
  EXPECT_THAT(test::Pauses(), AllOf(SizeIs(19), Each(200ms)));
  EXPECT_THAT(Messages(), ElementsAre("next"));
  EXPECT_THAT(queue, IsEmpty());
}

TEST_F(LogDatabaseRetry, LooksForTheWordsAnywhereInTheError) {
  Prepare(FailInserts("sorry, database is locked now", 1));
  queue = {Node("stubborn")};

  Write();

  EXPECT_THAT(Messages(), ElementsAre("stubborn"));
}

TEST_F(LogDatabaseRetry, DropsAtOnceWithoutTheBlankBehindTheWords) {
  Prepare(FailInserts("database is locked", 1000));
  queue = {Node("stubborn"), Node("next")};

  Write();

  EXPECT_EQ(Attempts(), "1");
  EXPECT_THAT(test::Pauses(), IsEmpty());
  EXPECT_THAT(Messages(), ElementsAre("next"));
}

TEST_F(LogDatabaseRetry, DropsAtOnceForAnyOtherError) {
  Prepare(FailInserts("disk full", 1000));
  queue = {Node("stubborn"), Node("next")};

  Write();

  EXPECT_EQ(Attempts(), "1");
  EXPECT_THAT(test::Pauses(), IsEmpty());
  EXPECT_THAT(Messages(), ElementsAre("next"));
}

TEST_F(LogDatabaseRetry, DropsAtOnceWhatSqliteItselfFindsLocked) {
  Prepare();
  util::Database other(kLogDatabasePath);
  ASSERT_TRUE(other.Execute("begin exclusive"));
  queue = {Node("lost")};
  testing::internal::CaptureStdout();

  const int result = Write();

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "SQL error: database is locked\n");
  EXPECT_EQ(result, 0);
  EXPECT_THAT(queue, IsEmpty());
  EXPECT_THAT(test::Pauses(), IsEmpty());
  ASSERT_TRUE(other.Execute("commit"));
  EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(LogDatabaseRetry, InsertsABatchInOneTransaction) {
  Prepare(FailInserts("database is locked ", 1));
  queue = {Node("first"), Node("second"), Node("stubborn")};
  std::optional<std::size_t> seenDuringTheBatch;
  test::OnPause([&](test::Pause) { seenDuringTheBatch = Messages().size(); });

  Write();

  EXPECT_EQ(seenDuringTheBatch, 0U);
  EXPECT_EQ(Messages().size(), 3U);
}

TEST_F(LogDatabaseRetry, LetsCallersWaitUntilTheBatchIsWritten) {
  Prepare(FailInserts("database is locked ", 1));
  queue = {Node("stubborn")};
  std::optional<test::Caller> caller;
  bool waits = false;
  test::OnPause([&](test::Pause) {
    caller.emplace([] { log_DB(INFO, "meanwhile"); });
    waits = caller->Waits();
  });

  Write();

  EXPECT_TRUE(waits);
  ASSERT_TRUE(caller.has_value());
  EXPECT_TRUE(caller->ComesBack());
  EXPECT_THAT(test::DatabaseLog("INFO"), ElementsAre("stubborn", "meanwhile"));
}

TEST_F(LogDatabaseRetry, LetsCallersThroughAfterAnEmptyCycle) {
  Write();

  EXPECT_TRUE(test::Caller([] { log_DB(INFO, "next"); }).ComesBack());
}

}  // namespace
