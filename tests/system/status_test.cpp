// brennik-status beside the real service: each fault is produced, the first line names its cause,
// and the printed remedy heals it.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <optional>
#include <string>

#include "system/support/hostileserver.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "system/support/troubles.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

namespace test {
namespace {

struct Said {
  int exitStatus;
  std::string all;

  std::string FirstLine() const { return all.substr(0, all.find('\n')); }
  // What stands behind the word in the first finding: "remedy".
  std::string Field(const std::string& name) const {
    const std::size_t at = all.find("    " + name + " ");
    if (at == std::string::npos) return {};
    const std::size_t begin = all.find_first_not_of(' ', at + 4 + name.size());
    return all.substr(begin, all.find('\n', begin) - begin);
  }
};

Said RunShell(const std::string& command) {
  std::FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  Said said{};
  char part[4096];
  for (std::size_t count = 0; (count = std::fread(part, 1, sizeof(part), pipe)) > 0;)
    said.all.append(part, count);
  const int status = pclose(pipe);
  said.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return said;
}

// The tool at that moment of the gateway's clock.
Said Status(std::time_t now, const std::string& arguments = "") {
  const std::string time = util::TimeMark(*util::LocalTime(now));
  return RunShell("COLUMNS=400 faketime -f '@" + time + "' " BRENNIK_STATUS " " + arguments);
}

// One file is accepted at 12:06, and the service works.
class StatusTest : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    WriteExamplePlant();
    SystemFile(m_cloud.Port()).Write();
  }

  void Start(int hour, int minute, int second = 0) { m_service.emplace(At(hour, minute, second)); }
  void StartAndRun() {
    Start(12, 4, 30);
    m_service->RunUntil(At(12, 7));
  }
  Said StatusNow() const { return Status(m_service->Now()); }

  // The first line and the exit status of a fault, and a row of the manual's table.
  void ExpectFault(const char* fault, const char* code, int exitStatus) {
    const Said said = StatusNow();
    EXPECT_THAT(said.FirstLine(), ::testing::EndsWith(std::string("(") + code + ")")) << said.all;
    EXPECT_EQ(said.exitStatus, exitStatus) << said.all;
    m_remedy = said.Field("remedy");
    EXPECT_NE(m_remedy, "") << said.all;
    std::cout << "row: | " << fault << " | `" << said.FirstLine() << "` | " << exitStatus << " | `"
              << m_remedy << "` |\n";
  }
  void ExpectHealed() const {
    const Said said = StatusNow();
    EXPECT_EQ(said.exitStatus, 0) << said.all;
    EXPECT_THAT(said.FirstLine(), ::testing::StartsWith("OK: data arrive")) << said.all;
  }

  std::optional<Segment> m_segment{ExampleValues()};
  std::optional<ServiceProcess> m_service;
  std::string m_remedy;
};

TEST_F(StatusTest, SaysThatDataArrive) {
  StartAndRun();
  ExpectHealed();
  const Said monitor = Status(m_service->Now(), "--monitor");
  EXPECT_EQ(monitor.exitStatus, 0);
  EXPECT_THAT(monitor.all, ::testing::HasSubstr("'newest_accepted_age'=12"));
}

TEST_F(StatusTest, NamesAMissingCard) {
  StartAndRun();
  std::remove(paths::kCardDevice);
  ExpectFault("no card", "BRN-CARD-MISSING", 2);
  WriteFile(paths::kCardDevice, "");  // "put a card … into the gateway"
  ExpectHealed();
}

TEST_F(StatusTest, NamesAReadOnlyCard) {
  if (std::getenv("BRENNIK_CARD_SWITCH") == nullptr)
    GTEST_SKIP() << "scripts/faults status runs it";
  StartAndRun();
  Trouble trouble = ReadOnly();
  ExpectFault("card read-only", "BRN-CARD-READ-ONLY", 2);
  trouble.reset();  // "umount … && fsck.ext4 … && mount …"
  ExpectHealed();
}

TEST_F(StatusTest, NamesAFullCard) {
  StartAndRun();
  const std::string old = "/media/mmcblk0p1/Cloud/JsonFiles/calldata/R20240101000000.tar.gz";
  Trouble trouble = Fill("/media/mmcblk0p1")();
  RunShell("mkdir -p $(dirname " + old + ") && mv /media/mmcblk0p1/ballast " + old +
           " && touch -d '10 days ago' " + old);
  ExpectFault("card full", "BRN-CARD-FULL", 2);
  RunShell(m_remedy);
  ExpectHealed();
}

TEST_F(StatusTest, NamesABrokenSysXml) {
  const std::string good = ReadFile(paths::kSystemFile);
  WriteFile(paths::kSystemFile, "<sysConfig><cloud checked=\"1\"></sysConfig>");
  Start(12, 4, 30);
  EXPECT_EQ(m_service->RunToItsEnd(At(12, 5, 30)), 255);
  ExpectFault("broken `sys.xml`", "BRN-CONFIG-SYSTEM", 2);
  WriteFile(paths::kSystemFile, good);
  Start(12, 4, 50);
  m_service->RunUntil(At(12, 7));
  ExpectHealed();
}

TEST_F(StatusTest, NamesABrokenDeviceFile) {
  const Said before = RunShell("ls /tessel/Config/devices/*.xml | head -n 1 | tr -d '\\n'");
  const std::string good = ReadFile(before.all);
  WriteFile(before.all, "<DevConfig><NodeProperty>");
  StartAndRun();
  ExpectFault("broken device file", "BRN-CONFIG-DEVICE", 1);
  WriteFile(before.all, good);
  Start(12, 9, 30);
  m_service->RunUntil(At(12, 12));
  ExpectHealed();
}

TEST_F(StatusTest, NamesAnUnpublishedPoint) {
  auto values = ExampleValues();
  values.pop_back();
  m_segment.reset();
  m_segment.emplace(values);
  StartAndRun();
  ExpectFault("unpublished point", "BRN-SEGMENT-UNPUBLISHED", 1);
  m_segment.reset();
  m_segment.emplace(ExampleValues());
  m_service->RunUntil(At(12, 12));
  ExpectHealed();
}

TEST_F(StatusTest, NamesAMissingSegment) {
  m_segment.reset();
  StartAndRun();
  ExpectFault("no segment", "BRN-SEGMENT-MISSING", 1);
  m_segment.emplace(ExampleValues());  // "start the acquisition side"
  m_service->RunUntil(At(12, 12));
  ExpectHealed();
}

TEST_F(StatusTest, NamesACloudThatRefusesTheConnection) {
  constexpr int kNobodyListens = 1;
  SystemFile(kNobodyListens).Write();
  Start(12, 4, 30);
  m_service->RunUntil(At(12, 5, 10));
  ExpectFault("cloud refused", "BRN-CLOUD-REFUSED", 2);
  SystemFile(m_cloud.Port()).Write();  // "correct cloudip and port in …"
  Start(12, 9, 30);
  m_service->RunUntil(At(12, 12));
  ExpectHealed();
}

TEST_F(StatusTest, NamesASilentCloud) {
  const HostileServer silent(Stalls(""));
  SystemFile(silent.Port()).Write();
  Start(12, 4, 30);
  m_service->RunUntil(At(12, 5, 40));
  ExpectFault("cloud silent", "BRN-CLOUD-SILENT", 2);
  m_service->RunUntil(At(12, 17));  // each exchange is silent once
  ExpectHealed();
}

TEST_F(StatusTest, NamesARefusedSerialNumber) {
  m_cloud.Script(cloud::Endpoint::kAuthorize, {cloud::Behaviour::Refuse()});
  Start(12, 4, 30);
  m_service->RunUntil(At(12, 5));
  ExpectFault("serial number refused", "BRN-LOGIN-REFUSED", 2);
  m_service->RunUntil(At(12, 9));  // registered meanwhile
  ExpectHealed();
}

TEST_F(StatusTest, NamesAFileThatIsRefusedForEver) {
  std::vector<cloud::Behaviour> behaviours(5, cloud::Behaviour::Refuse());
  behaviours.push_back(cloud::Behaviour::Normal());
  behaviours.push_back(cloud::Behaviour::Refuse());
  m_cloud.Script(cloud::Endpoint::kRealData, behaviours);
  Start(12, 4, 30);
  m_service->RunUntil(At(12, 11, 40));
  ExpectFault("one file refused for ever", "BRN-FILE-REFUSED", 1);
  EXPECT_EQ(RunShell(m_remedy).all, "");
  m_service->RunUntil(At(12, 17));
  ExpectHealed();
  EXPECT_EQ(CountResults(0), 0);
}

TEST_F(StatusTest, NamesAClockThatWasSetBack) {
  StartAndRun();
  m_service->SetWallClock(At(11, 7));
  ExpectFault("clock set back", "BRN-CLOCK-BACK", 1);
  m_service->SetWallClock(At(12, 7, 30));
  ExpectHealed();
}

}  // namespace
}  // namespace test
