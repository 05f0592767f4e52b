// The stamps in the names of data files.
#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "collect/ledger.h"
#include "collect/ledgerstamp.h"
#include "support/gateway.h"

namespace {

struct StampCase {
  const char* name;
  const char* file;
  std::optional<std::string> local;  // as the clock of the gateway shows it
};

class Stamps : public test::GatewayTest, public ::testing::WithParamInterface<StampCase> {};

TEST_P(Stamps, AreRealLocalTimes) {
  const auto stamp = status::StampOf(GetParam().file);

  ASSERT_EQ(stamp.has_value(), GetParam().local.has_value());
  if (!stamp) return;
  char text[32];
  std::tm time{};
  std::strftime(text, sizeof(text), "%F %T", localtime_r(&*stamp, &time));
  EXPECT_EQ(text, *GetParam().local);
}

INSTANTIATE_TEST_SUITE_P(
    , Stamps,
    ::testing::Values(StampCase{"WithFolders", "realdata/7/S20240307120102.tar.gz",
                                "2024-03-07 12:01:02"},
                      StampCase{"Bare", "20240307120000.tar.gz", "2024-03-07 12:00:00"},
                      StampCase{"LeapDay", "S20240229235959.tar.gz", "2024-02-29 23:59:59"},
                      StampCase{"NoLeapDay", "S20230229000000.tar.gz", std::nullopt},
                      StampCase{"NoHour", "S20240307240000.tar.gz", std::nullopt},
                      StampCase{"NoMinute", "S20240307126000.tar.gz", std::nullopt},
                      StampCase{"NoSecond", "S20240307120060.tar.gz", std::nullopt},
                      StampCase{"NoMonth", "S20241307120000.tar.gz", std::nullopt},
                      StampCase{"NoDigits", "S2024030712000x.tar.gz", std::nullopt},
                      StampCase{"OtherEnd", "S20240307120000.tar.xz", std::nullopt},
                      StampCase{"TooShort", "0240307120000.tar.gz", std::nullopt}),
    [](const auto& parameter) { return parameter.param.name; });

class Stamp : public test::GatewayTest {};

TEST_F(Stamp, IsNoTimeThatTheClocksLeftOut) {
  setenv("TZ", "AAA-10BBB-10:30,M10.1.0/2:30,M4.1.0", 1);  // on that day 02:30 was 03:00
  EXPECT_TRUE(status::StampOf("S20241006022959.tar.gz"));
  EXPECT_FALSE(status::StampOf("S20241006024000.tar.gz"));
}

TEST_F(Stamp, FollowsTheClocksOnADayWhenTheyChange) {
  setenv("TZ", "AAA-10BBB-10:30,M10.1.0/2:30,M4.1.0", 1);
  status::StampReader reader;
  const auto before = reader.Of("S20241006022959.tar.gz");
  const auto after = reader.Of("S20241006030000.tar.gz");

  ASSERT_TRUE(before && after);
  EXPECT_EQ(*after - *before, 1);
}

}  // namespace
