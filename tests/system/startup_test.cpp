// The start of the process: the card, the configuration, the switch.
#include <filesystem>
#include <string>
#include <vector>

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
  service.RunUntil(At(12, 0, 11));

  EXPECT_EQ(errors, GetParam().messages);
  EXPECT_TRUE(alive);
  EXPECT_EQ(service.ExitStatus(), 255);
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
