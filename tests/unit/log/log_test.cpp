// The log API: levels, limits, the debug switch.
#include "log/log.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "log/logdatabase.h"
#include "log/logtxt.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"

namespace {

using test::LogRecord;
using ::testing::ElementsAre;

static_assert(std::is_base_of_v<Singleton<CLogTxt>, CLogTxt>);
static_assert(std::is_base_of_v<Singleton<CLogDatabase>, CLogDatabase>);

// One of the two logs, by its functions.
struct Log {
  const char* name;
  unsigned int (*write)(int level, const char* format, ...);
  std::vector<LogRecord> (*read)();
  std::size_t limit;  // characters of a message
};

class EitherLog : public test::GatewayTest, public ::testing::WithParamInterface<Log> {
 protected:
  void TearDown() override {
    log_init(0);
    GatewayTest::TearDown();
  }
  static unsigned Write(int level, const std::string& message) {
    return GetParam().write(level, "%s", message.c_str());
  }
  // What a message leaves on standard error.
  static std::string Echo(int level, const std::string& message) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(Write(level, message), 1U);
    return testing::internal::GetCapturedStderr();
  }
  static std::vector<LogRecord> Records() { return GetParam().read(); }
};

INSTANTIATE_TEST_SUITE_P(Logs, EitherLog,
                         ::testing::Values(Log{"TextLog", log_Text, test::TextLog, 2047},
                                           Log{"LogDatabase", log_DB, test::DatabaseLog, 254}),
                         [](const auto& row) { return row.param.name; });

TEST_P(EitherLog, KeepsFormattedMessagesInTheOrderOfTheirCallsAndWritesThemLater) {
  GetParam().write(INFO, "%s = %d, %08x|%5.2f", "port", 8080, 0x01031123U, 1.5);
  Write(WARN, "no sd card\n");
  Write(ERROR, "");

  EXPECT_FALSE(test::Exists("/tmp/CloudLog"));
  EXPECT_THAT(Records(), ElementsAre(LogRecord{"INFO", "port = 8080, 01031123| 1.50"},
                                     LogRecord{"WARN", "no sd card\n"}, LogRecord{"ERROR", ""}));
}

TEST_P(EitherLog, StoresEveryLevelButDebugByItsName) {
  for (int level = -1; level <= 7; ++level) EXPECT_EQ(Write(level, "m"), 1U) << level;

  std::vector<std::string> levels;
  for (const auto& record : Records()) levels.push_back(record.level);
  EXPECT_THAT(levels,
              ElementsAre("UNKNOWN", "SEND", "RECV", "INFO", "WARN", "ERROR", "FATAL", "UNKNOWN"));
  EXPECT_STREQ(LogLevelToString(DEBUG), "DEBUG");
}

TEST_P(EitherLog, EchoesMessagesWhileDebuggingAndNeverStoresDebugMessages) {
  for (const int off : {0, 256}) {  // the switch is one byte
    log_init(off);
    EXPECT_EQ(Echo(DEBUG, "detail"), "") << off;
    EXPECT_EQ(Echo(ERROR, "error"), "") << off;
  }
  log_init(1);
  EXPECT_EQ(Echo(DEBUG, std::string(3000, 'x')), std::string(GetParam().limit, 'x') + "\n");
  EXPECT_EQ(Echo(INFO, "100% done"), "100% done\n");

  EXPECT_THAT(Records(), ElementsAre(LogRecord{"ERROR", "error"}, LogRecord{"ERROR", "error"},
                                     LogRecord{"INFO", "100% done"}));
}

TEST_P(EitherLog, KeepsAMessageWhoseTimeCannotBeTold) {
  test::FailCalls(test::Call::kLocaltime);

  EXPECT_EQ(Write(INFO, "message"), 1U);

  EXPECT_THAT(Records(), ElementsAre(LogRecord{"INFO", "message"}));
}

TEST_P(EitherLog, TakesMessagesFromAllThreadsWhileItWrites) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 300;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < kMessages; ++i) Write(INFO, "message");
    });
  }

  for (int i = 0; i < 5; ++i) EXPECT_TRUE(test::FlushLogs());
  for (auto& thread : threads) thread.join();

  EXPECT_EQ(Records(), std::vector(kThreads * kMessages, LogRecord{"INFO", "message"}));
}

TEST(Log, StartsWithAnEmptyLogDirectory) {
  test::DiscardLogs();

  EXPECT_EQ(log_init(0), 1U);

  EXPECT_TRUE(test::List("/tmp/CloudLog").empty());
}

}  // namespace
