// The start of the process: the card, the configuration, the switch.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "system/support/logtimes.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using StartUp = test::SystemTest;
using test::LogRecord;

constexpr int kMainAndTwoLogThreads = 3;

void WriteGoodConfiguration(const std::string& checked) {
  test::SysXml().Cloud("checked", checked).Cloud("cloudip", "127.0.0.1").Write();
  test::WriteSnXml("Ostra-5N", "XY4567");
  test::ChannelTemplate().Channel(1).Write();
}

TEST_F(StartUp, WithoutACardEndsWith255AfterThirtySeconds) {
  std::filesystem::remove(paths::kCardDevice);
  WriteGoodConfiguration("1");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 29));
  ASSERT_FALSE(service.ExitStatus());
  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(service.ExitStatus(), 255);
  EXPECT_EQ(service.Now(), At(12, 0, 30));
}

TEST_F(StartUp, WithoutACardReadsNoConfiguration) {
  std::filesystem::remove(paths::kCardDevice);
  WriteGoodConfiguration("1");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 29));

  EXPECT_EQ(
      test::ReadDatabaseLog(),
      (std::vector<LogRecord>{{"INFO", "Brennik Start running"},
                              {"ERROR", "no sd card, please check if insert the sd card\n"}}));
  EXPECT_EQ(test::ReadTextLog(), std::vector<LogRecord>{});
}

struct BrokenFile {
  const char* name;
  const char* path;
  std::vector<std::string> messages;
};

class BrokenConfiguration : public test::SystemTest,
                            public ::testing::WithParamInterface<BrokenFile> {};

TEST_P(BrokenConfiguration, EndsWith255AfterTenSecondsAndSaysWhichFile) {
  WriteGoodConfiguration("1");
  std::filesystem::remove(GetParam().path);
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 9));
  const auto errors = test::OfLevel(test::ReadTextLog(), "ERROR");
  const bool alive = !service.ExitStatus();
  service.RunUntil(At(12, 0, 10));

  EXPECT_EQ(errors, GetParam().messages);
  EXPECT_TRUE(alive);
  EXPECT_EQ(service.ExitStatus(), 255);
  EXPECT_EQ(service.Now(), At(12, 0, 10));
}

INSTANTIATE_TEST_SUITE_P(
    StartUp, BrokenConfiguration,
    ::testing::Values(BrokenFile{"SystemFile",
                                 paths::kSystemFile,
                                 {"parsed /tessel/Config/sys.xml failed", "Parse sys.xml failed",
                                  "Brennik Init failed\n"}},
                      BrokenFile{"IdentityFile",
                                 paths::kIdentityFile,
                                 {"parse Document /tessel/Config/system/sn.xml failed",
                                  "Parse sn.xml failed", "Brennik Init failed\n"}},
                      BrokenFile{"ChannelTemplate",
                                 paths::kChannelTemplate,
                                 {"Document /tessel/Config/Channel-template.xml parsed failed.",
                                  "Parse Channel-template.xml failed", "Brennik Init failed\n"}}),
    [](const auto& row) { return row.param.name; });

TEST_F(StartUp, ReadsNothingBehindAnUnusableSystemFile) {
  for (const char* path : {paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate}) {
    test::WriteFile(path, "broken");
  }
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  EXPECT_EQ(service.ExitStatus(), 255);
  EXPECT_EQ(test::ReadTextLog(),
            (std::vector<LogRecord>{{"ERROR", "parsed /tessel/Config/sys.xml failed"},
                                    {"ERROR", "Parse sys.xml failed"},
                                    {"ERROR", "Brennik Init failed\n"}}));
}

TEST_F(StartUp, WithABrokenConfigurationMakesNoTree) {
  WriteGoodConfiguration("1");
  test::WriteFile(paths::kIdentityFile, "broken");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  EXPECT_EQ(service.ExitStatus(), 255);
  EXPECT_FALSE(test::Exists(paths::kCloudTree));
}

// The content of a configuration file's root.
struct Fragment {
  const char* name;
  const char* content;
};

class IncompleteIdentity : public test::SystemTest,
                           public ::testing::WithParamInterface<Fragment> {};

TEST_P(IncompleteIdentity, EndsTheStart) {
  WriteGoodConfiguration("1");
  test::WriteFile(paths::kIdentityFile,
                  std::string("<snConfig>") + GetParam().content + "</snConfig>");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  EXPECT_EQ(service.ExitStatus(), 255);
  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "ERROR"),
            (std::vector<std::string>{"parse SN Document failed,no usable model or sn",
                                      "Parse sn.xml failed", "Brennik Init failed\n"}));
}

INSTANTIATE_TEST_SUITE_P(
    StartUp, IncompleteIdentity,
    ::testing::Values(Fragment{"Empty", ""}, Fragment{"WithoutModel", "<sn sn=\"XY4567\"/>"},
                      Fragment{"WithoutSn", "<model model=\"Ostra-5N\"/>"},
                      Fragment{"WithoutTheAttribute", "<model model=\"Ostra-5N\"/><sn/>"},
                      Fragment{"WithAnEmptySn", "<model model=\"Ostra-5N\"/><sn sn=\"\"/>"}),
    [](const auto& row) { return row.param.name; });

TEST_F(StartUp, MakesTheTreeOnTheCard) {
  WriteGoodConfiguration("1");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  std::vector<std::string> days;
  for (int day = 1; day <= 31; ++day) days.push_back(std::to_string(day));
  std::sort(days.begin(), days.end());
  EXPECT_EQ(test::List(paths::kCloudTree), (std::vector<std::string>{"DB", "JsonFiles"}));
  EXPECT_EQ(test::List(paths::kDataFiles),
            (std::vector<std::string>{"alarmdata", "calldata", "realdata"}));
  EXPECT_EQ(test::List(paths::kRealData), days);
  EXPECT_EQ(test::List(paths::kAlarmData), days);
}

TEST_F(StartUp, LoadsThePlantAtATenthOfASecondADeviceAndAChannel) {
  // 4.0 s in all; a single pause less ends within the second before.
  constexpr int kChannels = 4;
  constexpr int kDevicesAChannel = 9;
  WriteGoodConfiguration("1");
  test::ChannelTemplate plant;
  for (int channel = 1; channel <= kChannels; ++channel) {
    plant.Channel(channel);
    for (int device = 0; device < kDevicesAChannel; ++device) plant.Device(device, "absent");
  }
  plant.Write();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 20));

  EXPECT_EQ(test::TextLogTimes("real IP has become"), std::vector<std::string>{"12:00:00"});
  EXPECT_EQ(test::TextLogTimes("[LoadDevPointAttr]: parsed Parse failed").size(), 36U);
  EXPECT_EQ(test::TextLogTimes("Brennik is Set on"), std::vector<std::string>{"12:00:04"});
}

TEST_F(StartUp, SaysThatTheVersionFileIsMissing) {
  WriteGoodConfiguration("1");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  EXPECT_EQ(service.Output(), "/tessel/Config/version/main-version.conf is not exist\n");
}

TEST_F(StartUp, WithEverythingInPlacePrintsNothing) {
  WriteGoodConfiguration("1");
  test::WriteFile(paths::kVersionFile, "2.4.1\n");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 10));

  EXPECT_EQ(service.Output(), "");
}

TEST_F(StartUp, LosesTheCardLaterWithoutNotice) {
  WriteGoodConfiguration("1");
  test::ServiceProcess service(At(12, 0));
  service.RunUntil(At(12, 1));
  std::filesystem::remove(paths::kCardDevice);

  service.RunUntil(At(13, 0));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_THAT(test::ReadDatabaseLog(),
              ::testing::Not(::testing::Contains(
                  LogRecord{"ERROR", "no sd card, please check if insert the sd card\n"})));
}

class SwitchedOff : public test::SystemTest, public ::testing::WithParamInterface<Fragment> {};

TEST_P(SwitchedOff, RunsNoWorker) {
  WriteGoodConfiguration("1");
  test::WriteFile(paths::kSystemFile,
                  std::string("<sysConfig>") + GetParam().content + "</sysConfig>");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(13, 30));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_EQ(service.Threads(), kMainAndTwoLogThreads);
  EXPECT_EQ(test::TextLogTimes("Brennik is Set off \n"), std::vector<std::string>{"12:00:00"});
  EXPECT_EQ(test::TextLogTimes("realdata timeinv = -1,alarm timeinv = -1,heartbeat timeinv = "
                               "-1,checkfail timeinv = -1,recall timeinv = -1\n")
                .size(),
            1U);
}

INSTANTIATE_TEST_SUITE_P(
    StartUp, SwitchedOff,
    ::testing::Values(Fragment{"WithoutCloud", ""}, Fragment{"WithoutChecked", "<cloud/>"},
                      Fragment{"CheckedZero", "<cloud checked=\"0\" RealDataInv=\"60\"/>"},
                      Fragment{"CheckedNoNumber", "<cloud checked=\"yes\"/>"},
                      Fragment{"CheckedBeyondEightBits", "<cloud checked=\"256\"/>"},
                      Fragment{"SwitchedOffAgain", "<cloud checked=\"1\"/><cloud/>"}),
    [](const auto& row) { return row.param.name; });

TEST_F(StartUp, SwitchedOffStaysUpWithoutAnyWorker) {
  WriteGoodConfiguration("0");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(13, 30));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_EQ(service.Threads(), kMainAndTwoLogThreads);
  EXPECT_EQ(test::ReadTextLog(),
            (std::vector<LogRecord>{{"INFO", "real IP has become 127.0.0.1"},
                                    {"INFO", "Brennik is Set off "},
                                    {"INFO",
                                     "realdata timeinv = -1,alarm timeinv = -1,heartbeat timeinv = "
                                     "-1,checkfail timeinv = -1,recall timeinv = -1"}}));
}

TEST_F(StartUp, ASystemFileWithAnotherRootRunsSwitchedOff) {
  WriteGoodConfiguration("1");
  test::WriteFile(paths::kSystemFile, "<?xml version=\"1.0\"?><other/>");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 30));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_EQ(service.Threads(), kMainAndTwoLogThreads);
  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "ERROR"),
            std::vector<std::string>{"SysConfigXml document,root is not sysConfig."});
}

}  // namespace
