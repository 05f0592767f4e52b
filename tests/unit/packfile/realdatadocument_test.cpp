// The JSON document of a real-data file, byte for byte, and the pauses while it is written.
#include "packfile/realdatadocument.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/clock.h"
#include "support/gateway.h"

using namespace testing;

namespace {

constexpr test::Pause kAfterADevice{100000};
constexpr test::Pause kAfterAChannel{500000};

// A catalogue of these points.
MAP_GROUP_ATTR Catalogue(const std::vector<std::uint32_t>& points) {
  MAP_GROUP_ATTR catalogue;
  for (const std::uint32_t dataId : points) {
    const auto channel = static_cast<std::uint8_t>(dataId >> 24);
    const auto device = static_cast<std::uint8_t>(dataId >> 16);
    catalogue[channel][device][dataId] = {};
  }
  return catalogue;
}

class RealDataDocument : public test::GatewayTest {
 protected:
  // The first point without a value, or nothing.
  std::optional<std::uint32_t> Write(const MAP_GROUP_ATTR& catalogue,
                                     const Real_Data_Struct& values) {
    m_text.Clear();
    return WriteRealDataDocument({.serial = "S", .timeMark = "T"}, catalogue, values, m_text);
  }

  rapidjson::StringBuffer m_text;
};

TEST_F(RealDataDocument, ListsChannelsDevicesAndPointsInRisingOrder) {
  const auto catalogue = Catalogue({0x0A020001, 0x01040203, 0x01040102, 0x01031123, 0x010300AB});

  EXPECT_FALSE(Write(catalogue, {{0x010300AB, 1},
                                 {0x01031123, 12345678901.125},
                                 {0x01040102, 2.25},
                                 {0x01040103, 9},  // of no configured point
                                 {0x01040203, 3},
                                 {0x0A020001, -4}}));
  EXPECT_STREQ(m_text.GetString(),
               R"({"sn":"S","data":[)"
               R"({"groupId":1,"eqpId":3,"timeMark":"T","values":[)"
               R"({"pointId":"00AB","value":"1.000"},)"
               R"({"pointId":"1123","value":"12345678901.12"}]},)"
               R"({"groupId":1,"eqpId":4,"timeMark":"T","values":[)"
               R"({"pointId":"0102","value":"2.250"},{"pointId":"0203","value":"3.000"}]},)"
               R"({"groupId":10,"eqpId":2,"timeMark":"T","values":[)"
               R"({"pointId":"0001","value":"-4.000"}]}]})");
}

TEST_F(RealDataDocument, LeavesOutChannel193AndPausesAfterEveryDeviceAndEveryChannel) {
  MAP_GROUP_ATTR catalogue;
  catalogue[192][1];
  catalogue[192][255];
  catalogue[193][1][0xC1010001];
  catalogue[194];

  EXPECT_FALSE(Write(catalogue, {}));
  EXPECT_STREQ(m_text.GetString(),
               R"({"sn":"S","data":[{"groupId":192,"eqpId":1,"timeMark":"T","values":[]},)"
               R"({"groupId":192,"eqpId":255,"timeMark":"T","values":[]}]})");
  EXPECT_THAT(test::Pauses(), ElementsAre(kAfterADevice, kAfterADevice, kAfterAChannel,
                                          kAfterAChannel, kAfterAChannel));
}

TEST_F(RealDataDocument, WritesThreeDecimalsUpToFourteenCharacters) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const auto& [value, text] : {std::pair{12.5, "12.500"},
                                    {-0.0004, "-0.000"},
                                    {1.2346, "1.235"},
                                    {1234567890.125, "1234567890.125"},
                                    {-1234567890.125, "-1234567890.12"},
                                    {1e299, "10000000000000"},
                                    {-kInfinity, "-inf"},
                                    {std::numeric_limits<double>::quiet_NaN(), "nan"}}) {
    EXPECT_FALSE(Write(Catalogue({1}), {{1, value}}));
    EXPECT_THAT(m_text.GetString(), HasSubstr(std::string(R"("value":")") + text + R"("})"));
  }
}

TEST_F(RealDataDocument, ThrowsWithoutASerialNumber) {
  EXPECT_THROW(WriteRealDataDocument({.serial = nullptr, .timeMark = "T"}, {}, {}, m_text),
               std::logic_error);
}

TEST_F(RealDataDocument, ReturnsTheFirstPointWithoutAValue) {
  constexpr std::uint32_t kFirst = 0x01030001;
  constexpr std::uint32_t kSecond = 0x01040001;
  constexpr std::uint32_t kThird = 0x02010001;
  const auto catalogue = Catalogue({kFirst, kSecond, kThird});

  EXPECT_EQ(Write(catalogue, {{kSecond, 1}, {kThird, 1}}), kFirst);
  EXPECT_THAT(test::Pauses(), IsEmpty());
  EXPECT_EQ(Write(catalogue, {{kFirst, 1}, {kThird, 1}}), kSecond);
  EXPECT_EQ(Write(catalogue, {{kFirst, 1}, {kSecond, 1}, {kThird + 1, 1}}), kThird);
}

}  // namespace
