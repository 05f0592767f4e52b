// The text in which an order of history is given on a command line.
#include <gmock/gmock.h>

#include <stdexcept>

#include "cloud/orderoption.h"

namespace {

using cloud::ParseOrder;
using cloud::RecallOrder;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

TEST(CloudOrderOption, IsOnePointOfOneDevice) {
  const RecallOrder order = ParseOrder("7:1/3:1123@2024-03-01 10:00:00..2024-03-01 10:30:00");

  EXPECT_EQ(order, (RecallOrder{.id = 7,
                                .devices = {{.groupId = 1,
                                             .eqpId = 3,
                                             .points = {{.pointId = 0x1123,
                                                         .beginTime = "2024-03-01 10:00:00",
                                                         .endTime = "2024-03-01 10:30:00"}}}}}));
}

TEST(CloudOrderOption, NamesSeveralPointsOfOneSpan) {
  const RecallOrder order = ParseOrder("7:1/3:ab,1,00Ff@2024-03-01 10:00:00..2024-03-01 10:30:00");

  ASSERT_EQ(order.devices.size(), 1U);
  const std::vector<cloud::RecallPoint>& points = order.devices[0].points;
  ASSERT_EQ(points.size(), 3U);
  EXPECT_EQ(points[0].pointId, 0xAB);
  EXPECT_EQ(points[1].pointId, 1);
  EXPECT_EQ(points[2].pointId, 0xFF);
  EXPECT_EQ(points[2].beginTime, "2024-03-01 10:00:00");
  EXPECT_EQ(points[2].endTime, "2024-03-01 10:30:00");
}

TEST(CloudOrderOption, NamesSeveralDevicesWithSpansOfTheirOwn) {
  const RecallOrder order = ParseOrder(
      "7:1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00;300/-2:2@2024-03-01 11:00:00..2024-03-01 "
      "11:30:00");

  ASSERT_EQ(order.devices.size(), 2U);
  EXPECT_EQ(order.devices[1].groupId, 300);
  EXPECT_EQ(order.devices[1].eqpId, -2);
  EXPECT_EQ(order.devices[1].points[0].beginTime, "2024-03-01 11:00:00");
}

TEST(CloudOrderOption, NamesTheGatewayAndTheRepeats) {
  const RecallOrder order = ParseOrder("TS1#-8:1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00*5");

  EXPECT_EQ(order.serialNumber, "TS1");
  EXPECT_EQ(order.id, -8);
  EXPECT_EQ(order.repeats, 5);
  EXPECT_EQ(order.checksBefore, 0);
}

TEST(CloudOrderOption, LetsChecksPassFirst) {
  constexpr char kOrder[] = "7:1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00";

  EXPECT_EQ(ParseOrder(std::string(kOrder) + "+2").checksBefore, 2);
  EXPECT_EQ(ParseOrder(std::string(kOrder) + "*5+2").checksBefore, 2);
  EXPECT_EQ(ParseOrder(std::string(kOrder) + "*5+2").repeats, 5);
}

// What it is for: a text that is no order, and the words for it.
struct BadOrder {
  const char* name;
  const char* text;
  const char* complaint;
};

void PrintTo(const BadOrder& row, std::ostream* out) {
  *out << row.text;
}

class CloudOrderOptionFaults : public ::testing::TestWithParam<BadOrder> {};

TEST_P(CloudOrderOptionFaults, AreSaidInWords) {
  EXPECT_THAT([] { ParseOrder(GetParam().text); },
              ThrowsMessage<std::invalid_argument>(HasSubstr(GetParam().complaint)));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudOrderOptionFaults,
    ::testing::Values(
        BadOrder{"Empty", "", "has no ':' behind its number"},
        BadOrder{"NoNumber", "x:1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00",
                 "has 'x' as a number"},
        BadOrder{"NumberTooLarge", "2147483648:1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00",
                 "has '2147483648' as a number"},
        BadOrder{"NoDevice", "7:", "names no device"},
        BadOrder{"EmptyDevice", "7:;1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00",
                 "has a device without '/'"},
        BadOrder{"NoSlash", "7:13:1@2024-03-01 10:00:00..2024-03-01 10:30:00",
                 "has a device without '/'"},
        BadOrder{"NoPoints", "7:1/3", "has a device without ':'"},
        BadOrder{"NoSpan", "7:1/3:1", "has a device without '@'"},
        BadOrder{"HalfASpan", "7:1/3:1@2024-03-01 10:00:00", "has a span without '..'"},
        BadOrder{"GroupIsNoNumber", "7:0x1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00",
                 "has '0x1' as a group"},
        BadOrder{"DeviceIsNoNumber", "7:1/c:1@2024-03-01 10:00:00..2024-03-01 10:30:00",
                 "has 'c' as a device"},
        BadOrder{"PointIsNotHexadecimal", "7:1/3:0xA@2024-03-01 10:00:00..2024-03-01 10:30:00",
                 "has '0xA' as a point"},
        BadOrder{"PointTooLong", "7:1/3:00001@2024-03-01 10:00:00..2024-03-01 10:30:00",
                 "has '00001' as a point"},
        BadOrder{"PointMissing", "7:1/3:1,,2@2024-03-01 10:00:00..2024-03-01 10:30:00",
                 "has '' as a point"},
        BadOrder{"NoSuchBegin", "7:1/3:1@2024-03-01 10:60:00..2024-03-01 10:30:00",
                 "has '2024-03-01 10:60:00' as a time"},
        BadOrder{"NoSuchEnd", "7:1/3:1@2024-03-01 10:00:00..10:30:00", "has '10:30:00' as a time"},
        BadOrder{"CountOfZero", "7:1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00*0",
                 "has '0' as a count"},
        BadOrder{"NoChecksBefore", "7:1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00*5+",
                 "has '' as a count after '+'"},
        BadOrder{"CountTooHigh", "7:1/3:1@2024-03-01 10:00:00..2024-03-01 10:30:00*10001",
                 "has '10001' as a count"}),
    [](const auto& row) { return row.param.name; });

}  // namespace
