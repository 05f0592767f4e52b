// The JSON document of an alarm-data file, byte for byte, what an event takes over from the one
// before it, and the alarm type codes.
#include "packfile/alarmdocument.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

#include "packtest.h"
#include "support/faults.h"

using namespace test;
using ::testing::ElementsAre;

namespace {

constexpr std::uint32_t kLevel = 0x0103004D;    // AI
constexpr std::uint32_t kDoor = 0x0C030105;     // DI
constexpr std::uint32_t kOddDoor = 0x0C030100;  // DI whose node has a zero low byte; no name

constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();
constexpr auto kGreatest = std::numeric_limits<std::int32_t>::max();

std::optional<std::string> FindName(std::uint32_t dataId) {
  if (dataId == kLevel) return "Level %n\"";
  if (dataId == kDoor) return "Door";
  return std::nullopt;
}

class AlarmDocument : public GatewayTest {
 protected:
  std::string Document(const std::vector<Alarm_Data_Para>& events) {
    rapidjson::StringBuffer text;
    m_documents.Write(events, text);
    return text.GetString();
  }

 private:
  AlarmDocumentWriter m_documents{"BR0042", FindName};
};

TEST_F(AlarmDocument, ListsTheEventsInTheGivenOrder) {
  const std::time_t noon = LocalTimeOf(2024, 3, 7, 12);

  EXPECT_EQ(Document({AlarmEvent{.dataId = kLevel,
                                 .time = noon - 1,
                                 .threshold = 30,
                                 .value = 31.25,
                                 .grade = 10,
                                 .upFlag = 256},
                      AlarmEvent{.dataId = kDoor,
                                 .time = noon - 3600,
                                 .threshold = -0.5,
                                 .value = 123456789012345,
                                 .type = 3,
                                 .grade = -1}}),
            R"({"sn":"BR0042","alarmDataType":0,"data":[)"
            R"({"groupId":1,"eqpId":3,"alarmTime":"2024-03-07 11:59:59","alarmType":"10000",)"
            R"j("alarmGrade":"000A","flag":256,"alarmDes":"Level %n\"(阀值:30.000)",)j"
            R"("alarmValues":[{"pointId":"004D",)"
            R"("values":[{"timeMark":"2024-03-07 11:59:59","value":"31.250"}]}]},)"
            R"({"groupId":12,"eqpId":3,"alarmTime":"2024-03-07 11:00:00","alarmType":"10200",)"
            R"j("alarmGrade":"FFFFFFFF","flag":0,"alarmDes":"Door(阀值:-0.500)",)j"
            R"("alarmValues":[{"pointId":"0105",)"
            R"("values":[{"timeMark":"2024-03-07 11:00:00","value":"123456789012345.000"}]}]}]})");
}

TEST_F(AlarmDocument, CutsDescriptionAndValueAt254Bytes) {
  const std::string document = Document({AlarmEvent{.threshold = 1e299, .value = 1e299}});

  EXPECT_EQ(Texts(document, "alarmDes").at(0).size(), 254U);
  EXPECT_EQ(Texts(document, "value").at(0).size(), 254U);
}

TEST_F(AlarmDocument, TakesOverTimeCodeAndNameOfTheEventBefore) {
  FailCalls(Call::kLocaltime, 1, 1);

  const std::string document = Document({AlarmEvent{.dataId = kOddDoor, .type = 2},
                                         AlarmEvent{.dataId = kDoor, .time = 1, .upFlag = 1},
                                         AlarmEvent{.dataId = kOddDoor, .time = 0, .type = 257}});

  EXPECT_THAT(Texts(document, "alarmTime"),
              ElementsAre("2024-03-07 11:59:30", "2024-03-07 11:59:30", "1970-01-01 08:00:00"));
  EXPECT_EQ(Texts(document, "timeMark"), Texts(document, "alarmTime"));
  EXPECT_THAT(Texts(document, "alarmType"), ElementsAre("", "10201", "10201"));
  EXPECT_THAT(Texts(document, "alarmDes"),
              ElementsAre("(阀值:0.000)", "Door(阀值:0.000)", "Door(阀值:0.000)"));
}

TEST(AlarmCode, FollowsPointEventTypeAndFlag) {
  struct Row {
    std::uint32_t dataId;  // node bits 15-12, point type bits 11-8, node bits 7-0
    std::int32_t eventType;
    const char* flagSet;
    const char* flagClear;
  };
  for (const auto& [dataId, eventType, flagSet, flagClear] : {
           // Not DI, whatever the node.
           Row{0x0C030005, 0, "10000", "10001"},
           {0x0C03F400, 0, "10000", "10001"},
           {0x0C030901, 1, "10100", "10101"},
           {0x0C030005, 2, "", ""},
           {0x0C030200, 256, "", ""},
           // DI whose node has a low byte other than 0, whatever the event type.
           {0x0C030105, 0, "10201", "10200"},
           {0x0C03F180, -1, "10201", "10200"},
           // DI whose node has a low byte of 0.
           {0x0C030100, 0, "10301", "10300"},
           {0x0C03F100, 1, "10300", "10301"},
           {0x0C030100, 257, "", ""},
       }) {
    SCOPED_TRACE(std::to_string(dataId) + " with event type " + std::to_string(eventType));
    EXPECT_STREQ(AlarmCode(dataId, eventType, true), flagSet);
    EXPECT_STREQ(AlarmCode(dataId, eventType, false), flagClear);
  }
}

TEST_F(AlarmDocument, WritesLocalTimesAlsoAfter2038) {
  SetTime(LocalTimeOf(2038, 1, 20, 12));

  const std::string document = Document({AlarmEvent{.time = LocalTimeOf(2038, 1, 20, 11)}});

  EXPECT_THAT(Texts(document, "alarmTime"), ElementsAre("2038-01-20 11:00:00"));
}

TEST(EventTime, IsTheNearestToNowThatTheFieldCanStandFor) {
  constexpr std::time_t kWrap = 0x80000000;         // 2038-01-19
  constexpr std::time_t kFullTurn = kWrap + kWrap;  // 2106-02-07
  struct Row {
    std::int32_t field;
    std::time_t now;
    std::time_t time;
  };
  for (const auto& [field, now, time] : {Row{1709784060, 1709784000, 1709784060},
                                         {-1, 1709784000, -1},
                                         {kGreatest, kWrap + 60, kWrap - 1},
                                         {kLeast, kWrap - 60, kWrap},
                                         {kLeast + 100, kWrap + 200, kWrap + 100},
                                         {5, kFullTurn + 60, kFullTurn + 5},
                                         {-5, kFullTurn, kFullTurn - 5}}) {
    EXPECT_EQ(EventTime(field, now), time);
  }
}

}  // namespace
