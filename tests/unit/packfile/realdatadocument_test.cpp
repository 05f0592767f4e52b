// The JSON document of a real-data file, byte for byte.
#include "packfile/realdatadocument.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>

#include "config/channelset.h"
#include "packtest.h"

using test::Catalogue;
using test::Packed;
using test::Unpack;

namespace {

constexpr std::uint32_t kPoint = 0x01031123;  // channel 1, device 3, DI, node 0x123

class RealDataDocument : public test::PackTest {};

TEST_F(RealDataDocument, HoldsChannelsDevicesAndPointsInRisingOrder) {
  Catalogue()
      .Point(0x0A020001)
      .Point(0x01040203)
      .Point(0x01040102)
      .Point(0x01031123)
      .Point(0x010300AB);

  Pack({{0x010300AB, 1}, {0x01031123, 0}, {0x01040102, 2.25}, {0x01040203, 3}, {0x0A020001, -4}});

  EXPECT_EQ(Unpack(test::kArchive),
            R"({"sn":"BR0042","data":[)"
            R"({"groupId":1,"eqpId":3,"timeMark":"2024-03-07 12:00:00","values":[)"
            R"({"pointId":"00AB","value":"1.000"},{"pointId":"1123","value":"0.000"}]},)"
            R"({"groupId":1,"eqpId":4,"timeMark":"2024-03-07 12:00:00","values":[)"
            R"({"pointId":"0102","value":"2.250"},{"pointId":"0203","value":"3.000"}]},)"
            R"({"groupId":10,"eqpId":2,"timeMark":"2024-03-07 12:00:00","values":[)"
            R"({"pointId":"0001","value":"-4.000"}]}]})");
}

TEST_F(RealDataDocument, OfAnEmptyCatalogueHoldsNoData) {
  Pack({{kPoint, 1}});

  EXPECT_EQ(Unpack(test::kArchive), R"({"sn":"BR0042","data":[]})");
}

TEST_F(RealDataDocument, LeavesChannel193OutWithAllItsPoints) {
  Catalogue().Point(0xC1010001).Point(0xC1020001);

  const Packed packed = Pack({{0xC1010001, 1}});

  EXPECT_EQ(packed.result, 0);
  EXPECT_EQ(Unpack(test::kArchive), R"({"sn":"BR0042","data":[]})");
}

TEST_F(RealDataDocument, HoldsTheNeighboursOfChannel193) {
  Catalogue().Point(0xC0000000).Point(0xC1010001).Point(0xC2000000);

  Pack({{0xC0000000, 1}, {0xC1010001, 2}, {0xC2000000, 3}});

  EXPECT_EQ(Unpack(test::kArchive),
            R"({"sn":"BR0042","data":[)"
            R"({"groupId":192,"eqpId":0,"timeMark":"2024-03-07 12:00:00","values":[)"
            R"({"pointId":"0000","value":"1.000"}]},)"
            R"({"groupId":194,"eqpId":0,"timeMark":"2024-03-07 12:00:00","values":[)"
            R"({"pointId":"0000","value":"3.000"}]}]})");
}

TEST_F(RealDataDocument, HoldsADeviceWithoutPointsAndNothingOfAChannelWithoutDevices) {
  Catalogue().Device(0, 255).Channel(2).Device(255, 0);

  Pack({});

  EXPECT_EQ(Unpack(test::kArchive),
            R"({"sn":"BR0042","data":[)"
            R"({"groupId":0,"eqpId":255,"timeMark":"2024-03-07 12:00:00","values":[]},)"
            R"({"groupId":255,"eqpId":0,"timeMark":"2024-03-07 12:00:00","values":[]}]})");
}

TEST_F(RealDataDocument, PassesOverValuesThatTheCatalogueDoesNotHold) {
  Catalogue().Point(0x01030002).Point(0x01030004);

  Pack({{0, 9},
        {0x01030001, 9},
        {0x01030002, 2},
        {0x01030003, 9},
        {0x01030004, 4},
        {0x01030005, 9},
        {0xFFFFFFFF, 9}});

  EXPECT_EQ(Unpack(test::kArchive),
            R"({"sn":"BR0042","data":[)"
            R"({"groupId":1,"eqpId":3,"timeMark":"2024-03-07 12:00:00","values":[)"
            R"({"pointId":"0002","value":"2.000"},{"pointId":"0004","value":"4.000"}]}]})");
}

TEST_F(RealDataDocument, MatchesThePointByAll32BitsOfItsIdentifier) {
  Catalogue().Point(0x01030001).Point(0x02030001);

  Pack({{0x00030001, 9}, {0x01030001, 1}, {0x01130001, 9}, {0x02030001, 2}});

  EXPECT_EQ(Unpack(test::kArchive),
            R"({"sn":"BR0042","data":[)"
            R"({"groupId":1,"eqpId":3,"timeMark":"2024-03-07 12:00:00","values":[)"
            R"({"pointId":"0001","value":"1.000"}]},)"
            R"({"groupId":2,"eqpId":3,"timeMark":"2024-03-07 12:00:00","values":[)"
            R"({"pointId":"0001","value":"2.000"}]}]})");
}

TEST_F(RealDataDocument, CarriesTheTimeOfTheSnapshotInTheGatewaysZone) {
  Catalogue().Device(1, 3);
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();

  const Packed packed = Pack({}, 1719835201);  // 2024-07-01 12:00:01 UTC

  ASSERT_EQ(packed.files.size(), 1U);
  EXPECT_EQ(packed.files[0], "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240701140001.tar.gz");
  EXPECT_EQ(Unpack(packed.files[0]),
            R"({"sn":"BR0042","data":[)"
            R"({"groupId":1,"eqpId":3,"timeMark":"2024-07-01 14:00:01","values":[]}]})");
}

TEST_F(RealDataDocument, EscapesTheSerialNumber) {
  test::LoadSerial("A\"B\\C");

  Pack({});

  EXPECT_EQ(Unpack(test::kArchive), R"({"sn":"A\"B\\C","data":[]})");
}

TEST_F(RealDataDocument, OfTenThousandPointsIsWhole) {
  Catalogue catalogue;
  Real_Data_Struct values;
  std::string expected = R"({"sn":"BR0042","data":[)";
  for (std::uint32_t device = 1; device <= 50; ++device) {
    expected += std::string(device == 1 ? "" : ",") + R"({"groupId":1,"eqpId":)" +
                std::to_string(device) + R"(,"timeMark":"2024-03-07 12:00:00","values":[)";
    for (std::uint32_t node = 1; node <= 200; ++node) {
      const std::uint32_t dataId = 0x01000000 + (device << 16) + node;
      catalogue.Point(dataId);
      values[dataId] = node;
      char pointId[5];
      std::snprintf(pointId, sizeof(pointId), "%04X", node);
      expected += std::string(node == 1 ? "" : ",") + R"({"pointId":")" + pointId +
                  R"(","value":")" + std::to_string(node) + R"(.000"})";
    }
    expected += "]}";
  }
  expected += "]}";

  const Packed packed = Pack(values);

  EXPECT_EQ(packed.result, 0);
  EXPECT_TRUE(Unpack(test::kArchive) == expected);
}

struct Value {
  const char* name;
  double value;
  const char* text;
};

void PrintTo(const Value& value, std::ostream* out) {
  *out << value.text;
}

class ValueText : public RealDataDocument, public ::testing::WithParamInterface<Value> {};

TEST_P(ValueText, HasThreeDecimalsAndFourteenCharactersAtTheMost) {
  Catalogue().Point(kPoint);

  Pack({{kPoint, GetParam().value}});

  EXPECT_EQ(Unpack(test::kArchive),
            R"({"sn":"BR0042","data":[)"
            R"({"groupId":1,"eqpId":3,"timeMark":"2024-03-07 12:00:00","values":[)"
            R"({"pointId":"1123","value":")" +
                std::string(GetParam().text) + R"("}]}]})");
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Values, ValueText,
    ::testing::Values(
        Value{"Half", 12.5, "12.500"}, Value{"Zero", 0, "0.000"},
        Value{"MinusZero", -0.0, "-0.000"}, Value{"RoundedToMinusZero", -0.0004, "-0.000"},
        Value{"RoundedDown", 1.2344, "1.234"}, Value{"RoundedUp", 1.2346, "1.235"},
        Value{"Minus", -7.125, "-7.125"},
        Value{"OfFourteenCharacters", 1234567890.125, "1234567890.125"},
        Value{"OfFifteenCharacters", 12345678901.125, "12345678901.12"},
        Value{"MinusOfFifteenCharacters", -1234567890.125, "-1234567890.12"},
        Value{"CutAtThePoint", 1234567890123.5, "1234567890123."},
        Value{"CutBeforeThePoint", 12345678901234.5, "12345678901234"},
        Value{"CutWithinTheNumber", 123456789012345.0, "12345678901234"},
        Value{"Huge", 1e300, "10000000000000"}, Value{"MinusHuge", -1e300, "-1000000000000"},
        Value{"Tiny", 1e-300, "0.000"}, Value{"Infinite", kInfinity, "inf"},
        Value{"MinusInfinite", -kInfinity, "-inf"}, Value{"NotANumber", kNotANumber, "nan"},
        Value{"MinusNotANumber", -kNotANumber, "-nan"}),
    [](const auto& test) { return test.param.name; });

struct Missing {
  const char* name;
  Real_Data_Struct values;
  std::uint32_t firstMissing;
};

class IncompleteValues : public RealDataDocument, public ::testing::WithParamInterface<Missing> {};

TEST_P(IncompleteValues, EndTheDocumentAtTheFirstPointWithoutOne) {
  Catalogue().Point(0x01030001).Point(0x01040001).Point(0x02010001);
  MAP_GROUP_ATTR* catalogue = nullptr;
  GetCChannelSetInstance().GetAttr(&catalogue);
  rapidjson::StringBuffer text;

  const auto missing =
      WriteRealDataDocument({.serial = "S", .timeMark = "T"}, *catalogue, GetParam().values, text);

  EXPECT_EQ(missing, GetParam().firstMissing);
}

INSTANTIATE_TEST_SUITE_P(
    Snapshots, IncompleteValues,
    ::testing::Values(Missing{"OfNothing", {}, 0x01030001},
                      Missing{"WithoutTheFirst", {{0x01040001, 1}, {0x02010001, 1}}, 0x01030001},
                      // The cursor has run past all values in the search for the second point.
                      Missing{"WithoutTheSecond", {{0x01030001, 1}, {0x02010001, 1}}, 0x01040001},
                      Missing{"WithoutTheLast", {{0x01030001, 1}, {0x01040001, 1}}, 0x02010001},
                      Missing{"WithALaterPointInThePlaceOfTheLast",
                              {{0x01030001, 1}, {0x01040001, 1}, {0x02010002, 1}},
                              0x02010001}),
    [](const auto& test) { return test.param.name; });

TEST_F(RealDataDocument, ThrowsWithoutASerialNumber) {
  rapidjson::StringBuffer text;
  const MAP_GROUP_ATTR catalogue;
  const Real_Data_Struct values;

  EXPECT_THAT(
      [&] { WriteRealDataDocument({.serial = nullptr, .timeMark = "T"}, catalogue, values, text); },
      ::testing::ThrowsMessage<std::logic_error>("rapidjson exception"));
}

}  // namespace
