// Packing that fails: the archive that cannot be made, and the text that cannot be written.
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

namespace fs = std::filesystem;
using test::LogRecord;

constexpr char kArchive[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120500.tar.gz";
constexpr char kText[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120500.dat";

// The service starts at 12:04:30 and packs at 12:05:00; each attempt takes a second.
class Packing : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
    test::SystemFile(m_cloud.Port()).Write();
  }

  // A directory that is not empty, which tar cannot replace.
  static void BlockArchive() { test::WriteFile(std::string(kArchive) + "/inside", "x"); }

  // GNU's tar ends with 2 then, BusyBox's with 1.
  static std::string FailedTarStatus() {
    const int status =
        std::system(("tar -czf " + std::string(kArchive) + " /dev/null 2>/dev/null").c_str());
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_NE(WEXITSTATUS(status), 0);
    return std::to_string(WEXITSTATUS(status));
  }

  cloud::Simulator m_cloud{{}};
  Segment m_segment{std::vector<SegmentPoint>{{0x01030001, 1}}};
};

TEST_F(Packing, IsTriedThreeTimesASecondApart) {
  BlockArchive();
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  const std::string archive = kArchive;
  EXPECT_EQ(test::TextLogTimes("CreateRealDataJsonFile " + archive + " failed,errno " +
                               FailedTarStatus() + "\n"),
            (std::vector<std::string>{"12:05:01", "12:05:02", "12:05:03"}));
  EXPECT_EQ(test::TextLogTimes("try 3 times,but CreateRealDataJsonFile " + archive + " failed\n"),
            std::vector<std::string>{"12:05:03"});
}

TEST_F(Packing, ThatFailsIsReportedInTheDatabaseLogAndNotRecorded) {
  BlockArchive();
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  EXPECT_EQ(test::ReadDatabaseLog(),
            (std::vector<LogRecord>{{"INFO", "Brennik Start running"},
                                    {"ERROR", "Brennik Create RealData File error"}}));
  EXPECT_FALSE(test::Exists(paths::kLedger));
}

TEST_F(Packing, ThatFailsKeepsTheText) {
  BlockArchive();
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  EXPECT_EQ(test::ReadFile(kText), test::EmptyDocument());
}

// The process does not go on where it cannot write its data.
TEST_F(Packing, ThatStopsTheProcessSaysWhyOnStandardError) {
  test::ServiceProcess service(At(12, 4, 30));
  fs::create_directories(kText);

  service.RunUntil(At(12, 5, 20));

  EXPECT_EQ(service.ExitStatus(), 128 + SIGABRT);
  const std::string output = service.Output();
  EXPECT_NE(output.find("packfile/packfile.cpp:"), std::string::npos) << output;
  EXPECT_NE(output.find("CPackFile::CreateRealDataJsonFile("), std::string::npos) << output;
  EXPECT_NE(output.find(": Assertion `ofs.is_open()' failed.\n"), std::string::npos) << output;
}

}  // namespace
