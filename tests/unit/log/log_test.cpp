// The log API: levels, cuts, the debug switch.
#include "log/log.h"

#include <gmock/gmock.h>

#include <limits>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "log/logdatabase.h"
#include "log/logtxt.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "util/text.h"

namespace {

using test::LogRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Either log, by its functions.
struct Log {
  const char* name;
  unsigned int (*write)(int level, const char* format, ...);
  std::vector<LogRecord> (*read)();
  std::size_t echoed;  // characters of a long message on standard error
};

void PrintTo(const Log& log, std::ostream* out) {
  *out << log.name;
}

std::vector<LogRecord> ReadText() {
  return test::TextLog();
}
std::vector<LogRecord> ReadDatabase() {
  return test::DatabaseLog();
}

class LogTest : public test::GatewayTest {
 protected:
  void TearDown() override {
    log_init(0);
    GatewayTest::TearDown();
  }
};

class EitherLog : public LogTest, public ::testing::WithParamInterface<Log> {
 protected:
  static unsigned Write(int level, const std::string& message) {
    return GetParam().write(level, "%s", message.c_str());
  }
  static std::vector<LogRecord> Records() { return GetParam().read(); }
};

INSTANTIATE_TEST_SUITE_P(Logs, EitherLog,
                         ::testing::Values(Log{"the text log", log_Text, ReadText, 2047},
                                           Log{"the log database", log_DB, ReadDatabase, 254}));

TEST_P(EitherLog, FormatsItsMessageLikePrintf) {
  GetParam().write(INFO, "%s = %d, %08x|%5.2f", "port", 8080, 0x01031123U, 1.5);

  EXPECT_THAT(Records(), ElementsAre(LogRecord{"INFO", "port = 8080, 01031123| 1.50"}));
}

TEST_P(EitherLog, KeepsTheLineFeedAtTheEndOfAMessage) {
  Write(ERROR, "no sd card\n");

  EXPECT_THAT(Records(), ElementsAre(LogRecord{"ERROR", "no sd card\n"}));
}

TEST_P(EitherLog, KeepsAnEmptyMessage) {
  Write(INFO, "");

  EXPECT_THAT(Records(), ElementsAre(LogRecord{"INFO", ""}));
}

TEST_P(EitherLog, KeepsMessagesInTheOrderOfTheirCalls) {
  Write(INFO, "first");
  Write(WARN, "second");
  Write(ERROR, "third");

  EXPECT_THAT(Records(), ElementsAre(LogRecord{"INFO", "first"}, LogRecord{"WARN", "second"},
                                     LogRecord{"ERROR", "third"}));
}

TEST_P(EitherLog, ReturnsOneWhateverTheLevel) {
  for (int level = -1; level <= 8; ++level) EXPECT_EQ(Write(level, "message"), 1U) << level;
}

TEST_P(EitherLog, WritesNothingOnTheCallersThread) {
  Write(INFO, "message");

  EXPECT_FALSE(test::Exists("/tmp/CloudLog"));
  EXPECT_THAT(test::Pauses(), IsEmpty());
}

TEST_P(EitherLog, DropsDebugMessagesWhileTheSwitchIsOff) {
  log_init(0);
  testing::internal::CaptureStderr();

  const unsigned result = Write(DEBUG, "detail");

  EXPECT_EQ(result, 1U);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(Records(), IsEmpty());
}

TEST_P(EitherLog, EchoesDebugMessagesButNeverStoresThem) {
  log_init(1);
  testing::internal::CaptureStderr();

  const unsigned result = Write(DEBUG, "detail");

  EXPECT_EQ(result, 1U);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "detail\n");
  EXPECT_THAT(Records(), IsEmpty());
}

TEST_P(EitherLog, EchoesAndStoresTheOtherLevelsWhileDebugging) {
  log_init(1);
  testing::internal::CaptureStderr();

  Write(INFO, "100% done");

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "100% done\n");
  EXPECT_THAT(Records(), ElementsAre(LogRecord{"INFO", "100% done"}));
}

TEST_P(EitherLog, EchoesNothingWhileTheSwitchIsOff) {
  log_init(0);
  testing::internal::CaptureStderr();

  Write(ERROR, "message");

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_P(EitherLog, EchoesALongMessageUpToItsLimit) {
  log_init(1);
  testing::internal::CaptureStderr();

  Write(DEBUG, std::string(3000, 'x'));

  EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(GetParam().echoed, 'x') + "\n");
}

TEST_P(EitherLog, KeepsAMessageWhoseTimeCannotBeTold) {
  test::FailCalls(test::Call::kLocaltime);

  const unsigned result = Write(INFO, "message");

  EXPECT_EQ(result, 1U);
  EXPECT_THAT(Records(), ElementsAre(LogRecord{"INFO", "message"}));
}

TEST_P(EitherLog, TakesMessagesFromAllThreadsWhileItWrites) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 300;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kMessages; ++i) GetParam().write(INFO, "%d %d", t, i);
    });
  }

  for (int i = 0; i < 5; ++i) EXPECT_TRUE(test::FlushLogs());
  for (auto& thread : threads) thread.join();

  std::vector<int> next(kThreads, 0);
  for (const auto& record : Records()) {
    const int thread = util::Decimal(record.message.substr(0, 1).c_str());
    EXPECT_EQ(record.message,
              util::Format("%d %d", thread, next.at(static_cast<std::size_t>(thread))++));
  }
  EXPECT_THAT(next, ::testing::Each(kMessages));
}

struct LevelRow {
  int level;
  const char* text;
};

void PrintTo(const LevelRow& row, std::ostream* out) {
  *out << row.level << " is " << row.text;
}

class LevelName : public ::testing::TestWithParam<LevelRow> {};

TEST_P(LevelName, IsTheTextOfTheLevel) {
  EXPECT_STREQ(LogLevelToString(GetParam().level), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Numbers, LevelName,
                         ::testing::Values(LevelRow{0, "SEND"}, LevelRow{1, "RECV"},
                                           LevelRow{2, "DEBUG"}, LevelRow{3, "INFO"},
                                           LevelRow{4, "WARN"}, LevelRow{5, "ERROR"},
                                           LevelRow{6, "FATAL"}, LevelRow{7, "UNKNOWN"},
                                           LevelRow{-1, "UNKNOWN"},
                                           LevelRow{std::numeric_limits<int>::max(), "UNKNOWN"},
                                           LevelRow{std::numeric_limits<int>::min(), "UNKNOWN"}));
INSTANTIATE_TEST_SUITE_P(Names, LevelName,
                         ::testing::Values(LevelRow{SEND, "SEND"}, LevelRow{RECV, "RECV"},
                                           LevelRow{DEBUG, "DEBUG"}, LevelRow{INFO, "INFO"},
                                           LevelRow{WARN, "WARN"}, LevelRow{ERROR, "ERROR"},
                                           LevelRow{FATAL, "FATAL"}));

class StoredLevel : public LogTest, public ::testing::WithParamInterface<LevelRow> {};

TEST_P(StoredLevel, StandsBesideTheMessageInBothLogs) {
  log_Text(GetParam().level, "to the text log");
  log_DB(GetParam().level, "to the database");

  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{GetParam().text, "to the text log"}));
  EXPECT_THAT(test::DatabaseLog(), ElementsAre(LogRecord{GetParam().text, "to the database"}));
}

INSTANTIATE_TEST_SUITE_P(Numbers, StoredLevel,
                         ::testing::Values(LevelRow{0, "SEND"}, LevelRow{1, "RECV"},
                                           LevelRow{3, "INFO"}, LevelRow{4, "WARN"},
                                           LevelRow{5, "ERROR"}, LevelRow{6, "FATAL"},
                                           LevelRow{7, "UNKNOWN"}, LevelRow{-1, "UNKNOWN"}));

TEST_F(LogTest, CutsAMessageToTheLogDatabaseAt254Characters) {
  log_DB(INFO, "%s", (std::string(254, 'x') + "y").c_str());

  EXPECT_THAT(test::DatabaseLog("INFO"), ElementsAre(std::string(254, 'x')));
}

TEST_F(LogTest, KeepsAMessageOf254CharactersWholeInTheLogDatabase) {
  log_DB(INFO, "%s", (std::string(253, 'x') + "y").c_str());

  EXPECT_THAT(test::DatabaseLog("INFO"), ElementsAre(std::string(253, 'x') + "y"));
}

TEST_F(LogTest, StartsWithTheLogDirectoryInPlace) {
  const unsigned result = log_init(0);

  EXPECT_EQ(result, 1U);
  EXPECT_TRUE(test::Exists("/tmp/CloudLog"));
  EXPECT_THAT(test::List("/tmp/CloudLog"), IsEmpty());
}

TEST_F(LogTest, KeepsTheDebugSwitchInAByte) {
  log_init(256);
  testing::internal::CaptureStderr();

  log_Text(DEBUG, "detail");

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
