// The JSON document of a recall-data file, byte for byte, and its bounds.
#include "packfile/recalldocument.h"

#include <gmock/gmock.h>

#include <fstream>
#include <string>
#include <utility>

#include "datasource/demandhistory.h"
#include "packtest.h"
#include "support/faults.h"

using test::Texts;
using namespace testing;

namespace {

constexpr std::uint32_t kMorning = 1709776800;  // 2024-03-07 10:00:00
constexpr std::size_t kMaximum = kMostRecalledValues;

using Values = std::vector<ST_SINGLE_POINT_VALUE>;

// A history that answers every point with this flag and these values.
ReadHistory Answer(std::int32_t flag, Values values) {
  return
      [flag, values = std::move(values)](std::uint32_t, const ST_SINGLE_CALL_POINT&, Values& into) {
        into.insert(into.end(), values.begin(), values.end());
        return flag;
      };
}

ST_SINGLE_CALL_DEV Device(std::int32_t group, std::int32_t address,
                          const std::vector<std::uint32_t>& points) {
  ST_SINGLE_CALL_DEV device{.groupId = group, .eqpId = address, .points = {}};
  for (const auto point : points) {
    device.points.push_back({.pointId = point, .beginTime = kMorning, .endTime = kMorning + 60});
  }
  return device;
}

ST_CHECKCALL_ACK Order(std::vector<ST_SINGLE_CALL_DEV> devices) {
  return {.sn = "another", .id = -7, .devs = std::move(devices)};
}

std::string Document(const ST_CHECKCALL_ACK& order, const ReadHistory& history) {
  rapidjson::StringBuffer text;
  EXPECT_TRUE(WriteRecallDocument("BR0042", order, history, text));
  return text.GetString();
}

// The document of one ordered point.
std::string OnePoint(const ReadHistory& history) {
  return Document(Order({Device(1, 3, {0x4D})}), history);
}

class RecallDocument : public test::GatewayTest {};

TEST_F(RecallDocument, ListsTheValuesOfACompletePointInTheHistorysOrder) {
  EXPECT_EQ(OnePoint(Answer(1, {{.UnixTime = kMorning + 60, .TriggerValue = 12345678901.125},
                                {.UnixTime = kMorning, .TriggerValue = 1}})),
            R"({"sn":"BR0042","id":-7,"data":[)"
            R"({"groupId":1,"eqpId":3,"pointId":"004D","flag":1,"values":[)"
            R"({"timeMark":"2024-03-07 10:01:00","value":"12345678901.12"},)"
            R"({"timeMark":"2024-03-07 10:00:00","value":"1.000"}]}]})");
}

TEST_F(RecallDocument, ListsNoValuesUnderAnotherFlagAndWritesANegativeOneAsZero) {
  for (const auto& [flag, written] : {std::pair{0, "0"}, {2, "2"}, {-1, "0"}}) {
    EXPECT_THAT(OnePoint(Answer(flag, {{.UnixTime = kMorning, .TriggerValue = 1}})),
                HasSubstr(std::string("\"flag\":") + written + ",\"values\":[]}"));
  }
}

TEST_F(RecallDocument, ListsDevicesAndPointsInTheOrdersOrder) {
  const auto order = Order({Device(1, 3, {2, 9, 2}), Device(5, 6, {}), Device(1, 2, {1})});

  EXPECT_THAT(Texts(Document(order, Answer(0, {})), "pointId"),
              ElementsAre("0002", "0009", "0002", "0001"));
}

TEST_F(RecallDocument, WritesIdsAsOrderedAndLooksThemUpByTheirLowBits) {
  struct Row {
    std::int32_t groupId;
    std::int32_t eqpId;
    std::uint32_t pointId;
    std::uint32_t historyId;
    const char* text;
  };
  // The upper byte of a device's address overlaps the channel.
  for (const auto& [groupId, eqpId, pointId, historyId, text] :
       {Row{-1, 3, 0x1123, 0xFF031123, R"("groupId":-1,"eqpId":3,"pointId":"1123")"},
        Row{300, 3, 1, 0x2C030001, R"("groupId":300,"eqpId":3,"pointId":"0001")"},
        Row{1, 0x203, 1, 0x03030001, R"("groupId":1,"eqpId":515,"pointId":"0001")"},
        Row{0, -1, 1, 0xFFFF0001, R"("groupId":0,"eqpId":-1,"pointId":"0001")"},
        Row{1, 3, 0x0A0B1123, 0x01031123, R"("groupId":1,"eqpId":3,"pointId":"1123")"}}) {
    std::uint32_t lookedUp = 0;
    const std::string document =
        Document(Order({Device(groupId, eqpId, {pointId})}),
                 [&](std::uint32_t dataId, const ST_SINGLE_CALL_POINT&, Values&) {
                   lookedUp = dataId;
                   return 0;
                 });

    EXPECT_THAT(document, HasSubstr(text));
    EXPECT_EQ(lookedUp, historyId) << text;
  }
}

TEST_F(RecallDocument, TakesOverTheTimeOfTheValueBeforeWhenItsOwnCannotBeConverted) {
  constexpr std::uint32_t kAfter2038 = 0x80000028;
  test::FailCalls(test::Call::kLocaltime, 1, 1);

  const std::string document = OnePoint(Answer(1, {{.UnixTime = kMorning, .TriggerValue = 1},
                                                   {.UnixTime = kMorning + 60, .TriggerValue = 2},
                                                   {.UnixTime = kAfter2038, .TriggerValue = 3}}));

  EXPECT_THAT(Texts(document, "timeMark"),
              ElementsAre("2024-03-07 10:00:00", "2024-03-07 10:00:00", "2038-01-19 11:14:48"));
}

TEST_F(RecallDocument, TakesFourteenDaysOfAPointAndNoMore) {
  const ST_CHECKCALL_ACK order = Order({Device(1, 3, {1})});
  rapidjson::StringBuffer text;

  EXPECT_TRUE(WriteRecallDocument("S", order, Answer(1, Values(kMaximum)), text));
  EXPECT_FALSE(WriteRecallDocument("S", order, Answer(0, Values(kMaximum + 1)), text));
}

TEST_F(RecallDocument, PassesEachPointOnAndStopsReadingBeyondSixMebibytes) {
  ST_CHECKCALL_ACK order = Order({Device(1, 3, std::vector<std::uint32_t>(20))});
  std::uint32_t points = 0;
  for (auto& point : order.devs[0].points) point.beginTime = points++;
  points = 0;
  const auto history = [&](std::uint32_t, const ST_SINGLE_CALL_POINT& point, Values& values) {
    EXPECT_EQ(point.beginTime, points++);
    EXPECT_TRUE(values.empty());
    values.resize(kMaximum);
    return 1;
  };
  rapidjson::StringBuffer text;

  EXPECT_FALSE(WriteRecallDocument("S", order, history, text));

  EXPECT_EQ(points, 7);  // a value takes 50 bytes
  EXPECT_GT(text.GetSize(), 6291456U);
  EXPECT_LT(text.GetSize(), 6291456U + 1024U);
}

// So nothing is refused that the transport could have sent.
TEST_F(RecallDocument, OutgrowsTheTransportWithFourteenDaysOfOneValue) {
  Values values(kMaximum);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i].UnixTime = kMorning + static_cast<std::uint32_t>(i) * 60;
  }

  std::ofstream("/tmp/document") << OnePoint(Answer(1, values));

  EXPECT_GE(std::stoi(test::Shell("tar -zc -C /tmp document | wc -c")), 40960);
}

}  // namespace
