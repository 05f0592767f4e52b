// The start of the process: the card, the configuration, the switch, the workers.
#include <gmock/gmock.h>

#include <filesystem>
#include <vector>

#include "support/logfiles.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

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

TEST_F(StartUp, PrintsAtOnceWhatIsMissing) {
  {
    test::ServiceProcess service(At(12, 0));
    EXPECT_TRUE(service.Output().ends_with(" is not exist\n"));  // the version file
  }
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
