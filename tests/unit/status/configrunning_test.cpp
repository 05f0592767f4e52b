// The check against the running service and the published points.
#include "unit/status/configchecking.h"

namespace status {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr std::time_t kStart = 1700000000;

TEST_F(CheckingConfiguration, ComparesWithTheRunningService) {
  LogFacts running;
  running.started = Evidence{kStart, "Brennik Start running", "Cloudlog.db, Pid 1"};
  running.isOn = true;
  running.intervals = Interval_Info{60, 30, 600, 60, -1};
  for (const char* file : {paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate}) {
    std::filesystem::last_write_time(file, std::filesystem::file_time_type{});
  }
  std::filesystem::last_write_time(kPump, std::filesystem::file_time_type::clock::now());
  std::filesystem::last_write_time(
      paths::kIdentityFile,
      std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(kStart)));
  std::filesystem::last_write_time(
      paths::kSystemFile,
      std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(kStart - 1)));
  std::filesystem::last_write_time(
      paths::kChannelTemplate,
      std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(kStart - 1)));

  const ConfigCheck check = Check(&running);

  EXPECT_THAT(
      Told(check),
      ElementsAre("BRN-CONFIG-RESTART pump.xml:0 changed after the service's start: restart needed",
                  "BRN-CONFIG-RESTART sys.xml:0 RealDataInv is 60 in the running service and 300 "
                  "here: restart needed"));
}

TEST_F(CheckingConfiguration, TellsThatTheRunningServiceIsSwitchedOff) {
  LogFacts running;
  running.isOn = false;
  running.intervals = Interval_Info{-1, -1, -1, -1, -1};

  EXPECT_THAT(Told(Check(&running)),
              ElementsAre("BRN-CONFIG-RESTART sys.xml:0 the running service is switched off: "
                          "restart needed"));
}

TEST_F(CheckingConfiguration, NamesPointsThatAreNotPublished) {
  const ConfigCheck check = CheckWith({{0x01030001, 12.5}});

  EXPECT_THAT(Told(check),
              ElementsAre("BRN-SEGMENT-UNPUBLISHED Channel-template.xml:0 1 configured point is "
                          "not published and stops every snapshot: 01030102 (Point)"));
  EXPECT_EQ(check.level, Level::kCritical);
}

TEST_F(CheckingConfiguration, NeedsNoPublishedPointsOfTheChannelThatIsLeftOut) {
  test::ChannelTemplate().Channel(193).Device(3, kPump).Channel(1).Device(3, kPump).Write();

  EXPECT_THAT(Told(CheckWith({{0x01030001, 12.5}, {0x01030102, 1}})),
              ElementsAre(HasSubstr("BRN-CONFIG-LEFTOUT")));
}

}  // namespace
}  // namespace status
