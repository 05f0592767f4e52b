// The JSON document of a recall-data file, byte for byte.
#include "packfile/recalldocument.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>

#include "historytap.h"
#include "packtest.h"
#include "support/faults.h"
#include "support/historydatabase.h"

using test::HistoryDatabase;
using ::testing::EndsWith;
using ::testing::HasSubstr;

namespace {

constexpr std::uint32_t kLevel = 0x0103004D;  // channel 1, device 3

// Written before the tests' zone is set: 2024-03-07 10:00:00 there.
constexpr std::uint32_t kTen = 1709776800;

constexpr ST_SINGLE_CALL_POINT Minutes(std::uint32_t pointId, std::uint32_t begin,
                                       std::uint32_t count) {
  return {.pointId = pointId, .beginTime = begin, .endTime = begin + (count - 1) * 60};
}

ST_CHECKCALL_ACK Order(std::int32_t id, std::vector<ST_SINGLE_CALL_DEV> devices) {
  return {.sn = "BR0042", .id = id, .devs = std::move(devices)};
}

std::string Document(const ST_CHECKCALL_ACK& order) {
  rapidjson::StringBuffer text;
  WriteRecallDocument("BR0042", order, text);
  return text.GetString();
}

// The document of one point of channel 1, device 3.
std::string OnePoint(const ST_SINGLE_CALL_POINT& point) {
  return Document(Order(7, {{.groupId = 1, .eqpId = 3, .points = {point}}}));
}

class RecallDocument : public test::PackTest {};

TEST_F(RecallDocument, HoldsTheValuesOfACompletePoint) {
  HistoryDatabase().Series(kLevel, kTen, kTen + 120);

  EXPECT_EQ(OnePoint(Minutes(0x4D, kTen, 3)),
            R"({"sn":"BR0042","id":7,"data":[)"
            R"({"groupId":1,"eqpId":3,"pointId":"004D","flag":1,"values":[)"
            R"({"timeMark":"2024-03-07 10:00:00","value":"0.000"},)"
            R"({"timeMark":"2024-03-07 10:01:00","value":"1.000"},)"
            R"({"timeMark":"2024-03-07 10:02:00","value":"2.000"}]}]})");
}

TEST_F(RecallDocument, HoldsNoValuesOfAPointWithAGap) {
  HistoryDatabase().Series(kLevel, kTen, kTen + 60);

  EXPECT_EQ(OnePoint(Minutes(0x4D, kTen, 3)),
            R"({"sn":"BR0042","id":7,"data":[)"
            R"({"groupId":1,"eqpId":3,"pointId":"004D","flag":0,"values":[]}]})");
}

TEST_F(RecallDocument, HoldsNoValuesWithoutAHistory) {
  EXPECT_EQ(OnePoint(Minutes(0x4D, kTen, 3)),
            R"({"sn":"BR0042","id":7,"data":[)"
            R"({"groupId":1,"eqpId":3,"pointId":"004D","flag":0,"values":[]}]})");
}

TEST_F(RecallDocument, TellsFlagZeroOfAHistoryThatCannotBeRead) {
  HistoryDatabase();  // without the device's table

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 3)), HasSubstr(R"("flag":0,"values":[])"));
}

TEST_F(RecallDocument, TellsFlagZeroOfAHistoryThatCannotBeOpened) {
  HistoryDatabase().Series(kLevel, kTen, kTen + 120);
  test::FailCalls(test::Call::kSqliteOpen);

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 3)), HasSubstr(R"("flag":0,"values":[])"));
}

TEST_F(RecallDocument, TellsFlagOneOfACompletePointWithoutReleasedValues) {
  HistoryDatabase().Add({.dataId = kLevel, .time = kTen, .upload = 0});

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 1)), HasSubstr(R"("flag":1,"values":[])"));
}

TEST_F(RecallDocument, TellsAnotherFlagAsItIsWithoutValues) {
  test::AnswerNextRecall(2, {{.UnixTime = kTen, .TriggerValue = 1}});

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 1)), HasSubstr(R"("flag":2,"values":[])"));
}

TEST_F(RecallDocument, TellsEveryNegativeFlagAsZero) {
  for (const std::int32_t flag : {-1, -2, std::numeric_limits<std::int32_t>::min()}) {
    test::AnswerNextRecall(flag, {{.UnixTime = kTen, .TriggerValue = 1}});

    EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 1)), HasSubstr(R"("flag":0,"values":[])"));
  }
}

TEST_F(RecallDocument, KeepsTheOrderOfValuesThatTheHistoryGives) {
  test::AnswerNextRecall(1, {{.UnixTime = kTen + 60, .TriggerValue = 2},
                             {.UnixTime = kTen, .TriggerValue = 1},
                             {.UnixTime = kTen + 30, .TriggerValue = 3}});

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 2)),
              EndsWith(R"("values":[{"timeMark":"2024-03-07 10:01:00","value":"2.000"},)"
                       R"({"timeMark":"2024-03-07 10:00:00","value":"1.000"},)"
                       R"({"timeMark":"2024-03-07 10:00:30","value":"3.000"}]}]})"));
}

TEST_F(RecallDocument, KeepsTheOrderOfDevicesAndPoints) {
  HistoryDatabase()
      .Add({.dataId = 0x01030002, .time = kTen, .value = 32})
      .Add({.dataId = 0x01030001, .time = kTen, .value = 31})
      .Add({.dataId = 0x01020001, .time = kTen, .value = 21});

  EXPECT_EQ(Document(Order(7, {{.groupId = 1,
                                .eqpId = 3,
                                .points = {Minutes(2, kTen, 1), Minutes(9, kTen, 1),
                                           Minutes(1, kTen, 1), Minutes(2, kTen, 1)}},
                               {.groupId = 5, .eqpId = 6, .points = {}},
                               {.groupId = 1, .eqpId = 2, .points = {Minutes(1, kTen, 1)}}})),
            R"({"sn":"BR0042","id":7,"data":[)"
            R"({"groupId":1,"eqpId":3,"pointId":"0002","flag":1,"values":[)"
            R"({"timeMark":"2024-03-07 10:00:00","value":"32.000"}]},)"
            R"({"groupId":1,"eqpId":3,"pointId":"0009","flag":0,"values":[]},)"
            R"({"groupId":1,"eqpId":3,"pointId":"0001","flag":1,"values":[)"
            R"({"timeMark":"2024-03-07 10:00:00","value":"31.000"}]},)"
            R"({"groupId":1,"eqpId":3,"pointId":"0002","flag":1,"values":[)"
            R"({"timeMark":"2024-03-07 10:00:00","value":"32.000"}]},)"
            R"({"groupId":1,"eqpId":2,"pointId":"0001","flag":1,"values":[)"
            R"({"timeMark":"2024-03-07 10:00:00","value":"21.000"}]}]})");
}

TEST_F(RecallDocument, OfAnOrderWithoutDevicesHoldsNoData) {
  EXPECT_EQ(Document(Order(7, {})), R"({"sn":"BR0042","id":7,"data":[]})");
}

TEST_F(RecallDocument, OfDevicesWithoutPointsHoldsNoData) {
  EXPECT_EQ(Document(Order(7, {{.groupId = 1, .eqpId = 3, .points = {}},
                               {.groupId = 1, .eqpId = 4, .points = {}}})),
            R"({"sn":"BR0042","id":7,"data":[]})");
}

TEST_F(RecallDocument, EchoesTheOrdersNumber) {
  EXPECT_THAT(Document(Order(std::numeric_limits<std::int32_t>::max(), {})),
              HasSubstr(R"("id":2147483647,)"));
  EXPECT_THAT(Document(Order(std::numeric_limits<std::int32_t>::min(), {})),
              HasSubstr(R"("id":-2147483648,)"));
}

TEST_F(RecallDocument, CarriesTheGatewaysSerialNumberNotTheOrders) {
  ST_CHECKCALL_ACK order{.sn = "another", .id = 1, .devs = {}};
  rapidjson::StringBuffer text;

  WriteRecallDocument("A\"B\\C", order, text);

  EXPECT_STREQ(text.GetString(), R"({"sn":"A\"B\\C","id":1,"data":[]})");
}

TEST_F(RecallDocument, ThrowsWithoutASerialNumber) {
  rapidjson::StringBuffer text;

  EXPECT_THAT([&] { WriteRecallDocument(nullptr, Order(1, {}), text); },
              ::testing::ThrowsMessage<std::logic_error>("rapidjson exception"));
}

struct Ids {
  const char* name;
  std::int32_t groupId;
  std::int32_t eqpId;
  std::uint32_t pointId;
  std::uint32_t historyId;
  const char* text;
};

void PrintTo(const Ids& ids, std::ostream* out) {
  *out << ids.text;
}

class RecalledIds : public RecallDocument, public ::testing::WithParamInterface<Ids> {};

TEST_P(RecalledIds, AreWrittenAsOrderedAndLookedUpByTheirLowBits) {
  const Ids& ids = GetParam();
  HistoryDatabase().Add({.dataId = ids.historyId, .time = kTen, .value = 1.5});

  EXPECT_EQ(Document(Order(7, {{.groupId = ids.groupId,
                                .eqpId = ids.eqpId,
                                .points = {Minutes(ids.pointId, kTen, 1)}}})),
            std::string(R"({"sn":"BR0042","id":7,"data":[)") + ids.text +
                R"(,"flag":1,"values":[)"
                R"({"timeMark":"2024-03-07 10:00:00","value":"1.500"}]}]})");
}

INSTANTIATE_TEST_SUITE_P(
    Ids, RecalledIds,
    ::testing::Values(
        Ids{"InRange", 1, 3, 0x1123, 0x01031123, R"({"groupId":1,"eqpId":3,"pointId":"1123")"},
        Ids{"Largest", 255, 255, 0xFFFF, 0xFFFFFFFF,
            R"({"groupId":255,"eqpId":255,"pointId":"FFFF")"},
        Ids{"Zero", 0, 0, 0, 0, R"({"groupId":0,"eqpId":0,"pointId":"0000")"},
        Ids{"Group300", 300, 3, 1, 0x2C030001, R"({"groupId":300,"eqpId":3,"pointId":"0001")"},
        Ids{"GroupMinus1", -1, 3, 1, 0xFF030001, R"({"groupId":-1,"eqpId":3,"pointId":"0001")"},
        // The device's upper byte runs into the channel's.
        Ids{"Device0x203", 1, 0x203, 1, 0x03030001, R"({"groupId":1,"eqpId":515,"pointId":"0001")"},
        Ids{"Device0x10003", 1, 0x10003, 1, 0x01030001,
            R"({"groupId":1,"eqpId":65539,"pointId":"0001")"},
        Ids{"DeviceMinus1", 0, -1, 1, 0xFFFF0001, R"({"groupId":0,"eqpId":-1,"pointId":"0001")"},
        Ids{"WholeIdentifierAsPoint", 1, 3, 0x0A0B1123, 0x01031123,
            R"({"groupId":1,"eqpId":3,"pointId":"1123")"}),
    [](const auto& test) { return test.param.name; });

struct Value {
  const char* name;
  double value;
  const char* text;
};

void PrintTo(const Value& value, std::ostream* out) {
  *out << value.text;
}

class RecalledValue : public RecallDocument, public ::testing::WithParamInterface<Value> {};

TEST_P(RecalledValue, HasThreeDecimalsAndFourteenCharactersAtTheMost) {
  test::AnswerNextRecall(1, {{.UnixTime = kTen, .TriggerValue = GetParam().value}});

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 1)),
              EndsWith(std::string(R"("value":")") + GetParam().text + R"("}]}]})"));
}

INSTANTIATE_TEST_SUITE_P(
    Values, RecalledValue,
    ::testing::Values(Value{"Half", 12.5, "12.500"}, Value{"RoundedToMinusZero", -0.0004, "-0.000"},
                      Value{"RoundedUp", 1.2346, "1.235"},
                      Value{"OfFourteenCharacters", 1234567890.125, "1234567890.125"},
                      Value{"OfFifteenCharacters", 12345678901.125, "12345678901.12"},
                      Value{"Huge", 1e300, "10000000000000"},
                      Value{"Infinite", std::numeric_limits<double>::infinity(), "inf"},
                      Value{"NotANumber", std::numeric_limits<double>::quiet_NaN(), "nan"}),
    [](const auto& test) { return test.param.name; });

TEST_F(RecallDocument, TellsTheTimeInTheGatewaysZone) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  test::AnswerNextRecall(1, {{.UnixTime = 1719835200, .TriggerValue = 1}});  // 12:00 UTC, July

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 1)), HasSubstr(R"("timeMark":"2024-07-01 14:00:00")"));
}

TEST_F(RecallDocument, TellsTimesBehind2038) {
  test::AnswerNextRecall(1, {{.UnixTime = 0x80000028, .TriggerValue = 1}});

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 1)), HasSubstr(R"("timeMark":"2038-01-19 11:14:48")"));
}

TEST_F(RecallDocument, KeepsTheTimeOfTheValueBeforeWhenItsOwnCannotBeConverted) {
  test::AnswerNextRecall(1, {{.UnixTime = kTen, .TriggerValue = 1},
                             {.UnixTime = kTen + 60, .TriggerValue = 2},
                             {.UnixTime = kTen + 120, .TriggerValue = 3}});
  test::FailCalls(test::Call::kLocaltime, 1, 1);

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 3)),
              EndsWith(R"("values":[{"timeMark":"2024-03-07 10:00:00","value":"1.000"},)"
                       R"({"timeMark":"2024-03-07 10:00:00","value":"2.000"},)"
                       R"({"timeMark":"2024-03-07 10:02:00","value":"3.000"}]}]})"));
}

TEST_F(RecallDocument, LeavesTheTimeEmptyBeforeTheFirstThatCanBeConverted) {
  test::AnswerNextRecall(1, {{.UnixTime = kTen, .TriggerValue = 1}});
  test::FailCalls(test::Call::kLocaltime);

  EXPECT_THAT(OnePoint(Minutes(0x4D, kTen, 1)), HasSubstr(R"([{"timeMark":"","value":"1.000"}])"));
}

TEST_F(RecallDocument, OfAWholeDayIsWhole) {
  HistoryDatabase().Series(kLevel, kTen, kTen + 1439 * 60);

  const std::string document = OnePoint(Minutes(0x4D, kTen, 1440));

  EXPECT_THAT(document, HasSubstr(R"("flag":1,)"));
  EXPECT_THAT(document, EndsWith(R"({"timeMark":"2024-03-08 09:59:00","value":"1439.000"}]}]})"));
}

}  // namespace
