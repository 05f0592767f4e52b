// The JSON document of a real-data file, byte for byte, and the pauses while it is written.
#include "packfile/realdatadocument.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/clock.h"
#include "support/gateway.h"

using ::testing::ElementsAre;

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

std::string Document(const MAP_GROUP_ATTR& catalogue, const Real_Data_Struct& values) {
  rapidjson::StringBuffer text;
  EXPECT_FALSE(WriteRealDataDocument({.serial = "S", .timeMark = "T"}, catalogue, values, text));
  return text.GetString();
}

class RealDataDocument : public test::GatewayTest {};

TEST_F(RealDataDocument, ListsChannelsDevicesAndPointsInRisingOrder) {
  const auto catalogue = Catalogue({0x0A020001, 0x01040203, 0x01040102, 0x01031123, 0x010300AB});

  EXPECT_EQ(Document(catalogue, {{0x010300AB, 1},
                                 {0x01031123, 12345678901.125},
                                 {0x01040102, 2.25},
                                 {0x01040203, 3},
                                 {0x0A020001, -4}}),
            R"({"sn":"S","data":[)"
            R"({"groupId":1,"eqpId":3,"timeMark":"T","values":[)"
            R"({"pointId":"00AB","value":"1.000"},{"pointId":"1123","value":"12345678901.12"}]},)"
            R"({"groupId":1,"eqpId":4,"timeMark":"T","values":[)"
            R"({"pointId":"0102","value":"2.250"},{"pointId":"0203","value":"3.000"}]},)"
            R"({"groupId":10,"eqpId":2,"timeMark":"T","values":[)"
            R"({"pointId":"0001","value":"-4.000"}]}]})");
}

TEST_F(RealDataDocument, LeavesOutChannel193Only) {
  const auto catalogue = Catalogue({0xC0000000, 0xC1010001, 0xC2000000});

  EXPECT_EQ(Document(catalogue, {{0xC0000000, 1}, {0xC2000000, 3}}),
            R"({"sn":"S","data":[)"
            R"({"groupId":192,"eqpId":0,"timeMark":"T","values":[)"
            R"({"pointId":"0000","value":"1.000"}]},)"
            R"({"groupId":194,"eqpId":0,"timeMark":"T","values":[)"
            R"({"pointId":"0000","value":"3.000"}]}]})");
}

TEST_F(RealDataDocument, ListsADeviceWithoutPointsButNoChannelWithoutDevices) {
  MAP_GROUP_ATTR catalogue;
  catalogue[0][255];
  catalogue[2];

  EXPECT_EQ(Document(catalogue, {}),
            R"({"sn":"S","data":[{"groupId":0,"eqpId":255,"timeMark":"T","values":[]}]})");
}

TEST_F(RealDataDocument, PassesOverValuesOfOtherIdentifiers) {
  const auto catalogue = Catalogue({0x01030002, 0x02030002});

  EXPECT_EQ(Document(catalogue, {{0, 9},
                                 {0x00030002, 9},
                                 {0x01030001, 9},
                                 {0x01030002, 1},
                                 {0x01130002, 9},
                                 {0x02030002, 2},
                                 {0xFFFFFFFF, 9}}),
            R"({"sn":"S","data":[)"
            R"({"groupId":1,"eqpId":3,"timeMark":"T","values":[)"
            R"({"pointId":"0002","value":"1.000"}]},)"
            R"({"groupId":2,"eqpId":3,"timeMark":"T","values":[)"
            R"({"pointId":"0002","value":"2.000"}]}]})");
}

TEST_F(RealDataDocument, ReturnsTheFirstPointWithoutAValue) {
  constexpr std::uint32_t kFirst = 0x01030001;
  constexpr std::uint32_t kSecond = 0x01040001;
  constexpr std::uint32_t kThird = 0x02010001;
  struct Row {
    Real_Data_Struct values;
    std::uint32_t missing;
  };
  for (const auto& [values, missing] :
       {Row{{}, kFirst}, Row{{{kSecond, 1}, {kThird, 1}}, kFirst},
        Row{{{kFirst, 1}, {kThird, 1}}, kSecond}, Row{{{kFirst, 1}, {kSecond, 1}}, kThird},
        Row{{{kFirst, 1}, {kSecond, 1}, {kThird + 1, 1}}, kThird}}) {
    rapidjson::StringBuffer text;

    EXPECT_EQ(WriteRealDataDocument({.serial = "S", .timeMark = "T"},
                                    Catalogue({kFirst, kSecond, kThird}), values, text),
              missing);
  }
}

TEST_F(RealDataDocument, PausesAfterEveryDeviceAndEveryChannel) {
  MAP_GROUP_ATTR catalogue;
  for (const int device : {1, 2}) {
    catalogue[1][static_cast<std::uint8_t>(device)];
    catalogue[193][static_cast<std::uint8_t>(device)];
  }
  catalogue[2];

  Document(catalogue, {});

  EXPECT_THAT(test::Pauses(), ElementsAre(kAfterADevice, kAfterADevice, kAfterAChannel,
                                          kAfterAChannel, kAfterAChannel));
}

TEST_F(RealDataDocument, EndsWithoutAPauseAtAPointWithoutAValue) {
  rapidjson::StringBuffer text;

  WriteRealDataDocument({.serial = "S", .timeMark = "T"}, Catalogue({1}), {}, text);

  EXPECT_THAT(test::Pauses(), ElementsAre());
}

}  // namespace
