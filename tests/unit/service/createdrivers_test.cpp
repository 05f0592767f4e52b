// The drivers that pack data files: they hand everything to the packer and return its result.
#include <gmock/gmock.h>

#include <array>
#include <filesystem>

#include "cloudfixture.h"
#include "config/channelset.h"
#include "service/uploaddrivers.h"
#include "support/clock.h"
#include "support/faults.h"
#include "util/paths.h"

using ::testing::ElementsAre;

namespace {

constexpr char kDirectory[] = "/media/mmcblk0p1/files";

class CreateDriver : public test::CloudTest {
 protected:
  void SetUp() override {
    CloudTest::SetUp();
    std::filesystem::create_directories(kDirectory);
  }

  std::vector<std::string> m_files{"already there"};
};

TEST_F(CreateDriver, PacksLiveValuesUnderTheirStamp) {
  test::DeviceFile pump("pump");
  pump.Node("AI", 77).Write();
  test::ChannelTemplate().Channel(9).Device(8, pump.Path()).Write();
  GetCChannelSetInstance().Open(paths::kChannelTemplate);
  GetCChannelSetInstance().Close();
  Real_Data_Struct values{{0x0908004D, 1.5}};
  const std::time_t stamp = test::LocalTimeOf(2024, 3, 7, 12, 5);

  EXPECT_EQ(CreateRealDataFile(&values, kDirectory, &m_files, stamp), 0);
  EXPECT_THAT(m_files,
              ElementsAre("already there", "/media/mmcblk0p1/files/S20240307120500.tar.gz"));
  test::FailCalls(test::Call::kPopen, 3);
  EXPECT_EQ(CreateRealDataFile(&values, kDirectory, &m_files, stamp), -1);
}

TEST_F(CreateDriver, PacksAlarmEvents) {
  const Alarm_Data_Struct events(1);

  EXPECT_EQ(CreateAlarmDataFile(&events, kDirectory, &m_files), 0);
  EXPECT_THAT(m_files,
              ElementsAre("already there", "/media/mmcblk0p1/files/T20240307120000.tar.gz"));
}

TEST_F(CreateDriver, PacksARecall) {
  const ST_CHECKCALL_ACK order{.sn = "S1", .id = 7, .devs = {}};
  std::string file;

  EXPECT_EQ(CreateRecallDataFile(&order, kDirectory, &file), 0);
  EXPECT_EQ(file, "/media/mmcblk0p1/files/R20240307120000.tar.gz");
  test::FailCalls(test::Call::kPopen, 3);
  EXPECT_EQ(CreateRecallDataFile(&order, kDirectory, &file), -1);
}

TEST(LastName, FollowsTheLastSlash) {
  for (const auto& [path, name] : {std::pair{"/media/S1.tar.gz", "S1.tar.gz"},
                                   std::pair{"S1.tar.gz", "S1.tar.gz"}, std::pair{"/media/", ""}}) {
    std::array<char, 64> out{};
    out.fill('#');

    EXPECT_EQ(getlastname(path, out.data()), out.data());
    EXPECT_STREQ(out.data(), name);
  }
}

}  // namespace
