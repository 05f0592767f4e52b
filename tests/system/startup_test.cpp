// The start of the process: the card, the configuration, the switch, the workers.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "support/logfiles.h"
#include "system/support/alarms.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using cloud::Endpoint;
using test::LogRecord;
using ::testing::Contains;

constexpr unsigned kMainAndLogThreads = 3;

class StartUp : public test::ConnectedTest {
 protected:
  Segment m_segment{test::ExampleValues()};
};

TEST_F(StartUp, EndsAfterThirtySecondsWithoutACard) {
  std::filesystem::remove(paths::kCardDevice);
  test::WriteFile(paths::kSystemFile, "broken");  // which is not looked at
  test::ServiceProcess service(At(12, 0));

  EXPECT_EQ(service.RunToItsEnd(At(12, 5)), 255);

  EXPECT_EQ(service.Now(), At(12, 0, 30));
  EXPECT_EQ(
      test::ReadDatabaseLog(),
      (std::vector<LogRecord>{{"INFO", "Brennik Start running"},
                              {"ERROR", "no sd card, please check if insert the sd card\n"}}));
  EXPECT_EQ(test::ReadTextLog(), std::vector<LogRecord>{});
}

TEST_F(StartUp, EndsAfterTenSecondsWithABrokenConfiguration) {
  test::WriteFile(paths::kIdentityFile, "broken");
  test::ServiceProcess service(At(12, 0));

  EXPECT_EQ(service.RunToItsEnd(At(12, 5)), 255);

  EXPECT_EQ(service.Now(), At(12, 0, 10));
  EXPECT_THAT(test::ReadTextLog(), Contains(LogRecord{"ERROR", "Brennik Init failed\n"}));
  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

TEST_F(StartUp, StaysUpWithoutWorkersWhenSwitchedOff) {
  test::SysXml().Cloud("cloudip", "127.0.0.1").Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(13, 30));

  EXPECT_EQ(service.Threads(), kMainAndLogThreads);
  EXPECT_TRUE(m_cloud.Exchanges().empty());
}

TEST_F(StartUp, StartsARecallWorkerOnlyWithARecallInterval) {
  {
    test::ServiceProcess service(At(12, 0, 10));
    EXPECT_EQ(service.Threads(), kMainAndLogThreads + 4);
  }
  test::SystemFile(m_cloud.Port(), {.recall = 120}).Write();
  test::ServiceProcess service(At(12, 0, 20));
  EXPECT_EQ(service.Threads(), kMainAndLogThreads + 5);
}

TEST_F(StartUp, GivesEachWorkerItsInterval) {
  test::SystemFile(m_cloud.Port(), {.realData = 120, .alarms = 20, .upload = 30, .recall = 90})
      .Write();
  EventWriter().Append(test::AlarmEvents(At(12, 0), 1));
  test::ServiceProcess service(At(12, 0, 1));

  service.RunUntil(At(12, 0, 40));
  EXPECT_EQ(Exchanges(Endpoint::kAlarmData).size(), 1U);  // packed at 12:00:20, sent at 12:00:30
  service.RunUntil(At(12, 10, 50));

  EXPECT_EQ(Exchanges(Endpoint::kRealData).size(), 6U);     // 12:00, 12:02 to 12:10
  EXPECT_EQ(Exchanges(Endpoint::kRecallCheck).size(), 8U);  // at once and every 90 s
  EXPECT_EQ(Exchanges(Endpoint::kSkipAddress).size(), 1U);  // at 12:10
}

TEST_F(StartUp, PrintsEachLineAtOnce) {
  test::ServiceProcess service(At(12, 0));

  EXPECT_TRUE(service.Output().ends_with(" is not exist\n"));  // the version file
}

TEST_F(StartUp, PrintsNothingWhenNothingIsMissing) {
  test::WriteFile(paths::kVersionFile, "2.4.1\n");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 10));

  EXPECT_EQ(service.Output(), "");
}

TEST_F(StartUp, GoesOnWhenTheCardsDeviceGoesLater) {
  test::ServiceProcess service(At(12, 0));
  service.RunUntil(At(12, 1, 30));
  std::filesystem::remove(paths::kCardDevice);

  service.RunUntil(At(13, 1, 30));

  EXPECT_EQ(test::CountResults(1), 13);
}

}  // namespace
