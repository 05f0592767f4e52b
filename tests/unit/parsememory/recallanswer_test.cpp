// The cloud's answer to the recall check: which order is this gateway's, and what it may look like.
#include <gmock/gmock.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "recalltest.h"
#include "support/logs.h"

using test::ParsedRecall;
using test::ParseRecall;
using test::ParseRecallInto;
using test::RecallAnswer;
using test::RecallDevice;
using test::RecallOrder;
using test::RecallPoint;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::ThrowsMessage;

namespace {

constexpr char kException[] = "rapidjson exception";

// The devices' channel numbers and their points' numbers; the tests tell them by these.
std::vector<std::int32_t> GroupsOf(const ST_CHECKCALL_ACK& ack) {
  std::vector<std::int32_t> groups;
  for (const auto& device : ack.devs) groups.push_back(device.groupId);
  return groups;
}

std::vector<std::uint32_t> PointsOf(const ST_SINGLE_CALL_DEV& device) {
  std::vector<std::uint32_t> points;
  for (const auto& point : device.points) points.push_back(point.pointId);
  return points;
}

ST_CHECKCALL_ACK EarlierAck() {
  return {.sn = "earlier", .id = -7, .devs = {{.groupId = 9, .eqpId = 9, .points = {}}}};
}

bool IsUntouched(const ST_CHECKCALL_ACK& ack) {
  return std::string(ack.sn) == "earlier" && ack.id == -7 && GroupsOf(ack) == std::vector{9};
}

class RecallOrderAnswer : public test::RecallAnswerTest {};

TEST_F(RecallOrderAnswer, GivesSerialNumberNumberDevicesAndPoints) {
  const ParsedRecall parsed =
      ParseRecall(RecallAnswer(R"([{"sn":"S1","id":42,"devs":[{"groupId":"1","eqpId":"3","ids":[
        {"pointId":"1a2b","beginTime":"2024-03-01 10:00:00","endTime":"2024-03-01 11:30:00"}]}]}])"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_STREQ(parsed.ack.sn, "S1");
  EXPECT_EQ(parsed.ack.id, 42);
  ASSERT_THAT(parsed.ack.devs, SizeIs(1));
  EXPECT_EQ(parsed.ack.devs[0].groupId, 1);
  EXPECT_EQ(parsed.ack.devs[0].eqpId, 3);
  ASSERT_THAT(parsed.ack.devs[0].points, SizeIs(1));
  EXPECT_EQ(parsed.ack.devs[0].points[0].pointId, 0x1A2BU);
  EXPECT_EQ(parsed.ack.devs[0].points[0].beginTime, 1709258400U);
  EXPECT_EQ(parsed.ack.devs[0].points[0].endTime, 1709263800U);
}

TEST_F(RecallOrderAnswer, KeepsDevicesAndPointsInTheirOrder) {
  const ParsedRecall parsed = ParseRecall(RecallOrder(
      RecallDevice(RecallPoint("0003") + "," + RecallPoint("0001") + "," + RecallPoint("0003"),
                   "2") +
      "," + RecallDevice(RecallPoint("0002"), "1") + "," + RecallDevice(RecallPoint("0004"), "2")));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_THAT(GroupsOf(parsed.ack), ElementsAre(2, 1, 2));
  EXPECT_THAT(PointsOf(parsed.ack.devs[0]), ElementsAre(3, 1, 3));
  EXPECT_THAT(PointsOf(parsed.ack.devs[1]), ElementsAre(2));
  EXPECT_THAT(PointsOf(parsed.ack.devs[2]), ElementsAre(4));
}

TEST_F(RecallOrderAnswer, AppendsItsDevicesToThoseThatAreThere) {
  ST_CHECKCALL_ACK ack = EarlierAck();

  ParseRecallInto(ack, RecallOrder(RecallDevice("", "1")));

  EXPECT_STREQ(ack.sn, "S1");
  EXPECT_EQ(ack.id, 5);
  EXPECT_THAT(GroupsOf(ack), ElementsAre(9, 1));
}

TEST_F(RecallOrderAnswer, NeedsNoMessage) {
  const ParsedRecall parsed = ParseRecall(R"({"data":[{"devs":[],"id":6,"sn":"S1"}],"status":0})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.id, 6);
}

TEST_F(RecallOrderAnswer, IsNotReported) {
  ParseRecall(RecallOrder(RecallDevice(RecallPoint("0001"))));

  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(RecallOrderAnswer, EndsAtATerminatorWithinTheText) {
  const ParsedRecall parsed = ParseRecall(RecallOrder("") + std::string(1, '\0') + "garbage");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.id, 5);
}

// Answers that order nothing of this gateway, and what the call returns.
struct Text {
  const char* name;
  std::string text;
};

void PrintTo(const Text& row, std::ostream* out) {
  *out << row.name;
}

std::string NameOf(const ::testing::TestParamInfo<Text>& test) {
  return test.param.name;
}

class NoOrder : public RecallOrderAnswer, public ::testing::WithParamInterface<Text> {};

TEST_P(NoOrder, IsASuccessThatLeavesTheRecordAlone) {
  ST_CHECKCALL_ACK ack = EarlierAck();

  const int result = ParseRecallInto(ack, GetParam().text);

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(IsUntouched(ack));
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, NoOrder,
    ::testing::Values(Text{"EmptyData", RecallAnswer("[]")},
                      Text{"ForeignSerial", RecallAnswer(R"([{"sn":"S2","id":5,"devs":[]}])")},
                      Text{"TwoForeignSerials", RecallAnswer(R"([{"sn":"S2"},{"sn":"S3"}])")},
                      Text{"LongerSerial", RecallAnswer(R"([{"sn":"S11","id":5,"devs":[]}])")},
                      Text{"ShorterSerial", RecallAnswer(R"([{"sn":"S","id":5,"devs":[]}])")},
                      Text{"OtherCase", RecallAnswer(R"([{"sn":"s1","id":5,"devs":[]}])")},
                      Text{"EmptySerial", RecallAnswer(R"([{"sn":"","id":5,"devs":[]}])")},
                      // Nothing but the serial number of a foreign order is looked at.
                      Text{"ForeignNonsense", RecallAnswer(R"([{"sn":"S2","id":"x","devs":7}])")}),
    NameOf);

class RefusedAnswer : public RecallOrderAnswer, public ::testing::WithParamInterface<Text> {};

TEST_P(RefusedAnswer, FailsSilentlyAndLeavesTheRecordAlone) {
  ST_CHECKCALL_ACK ack = EarlierAck();

  const int result = ParseRecallInto(ack, GetParam().text);

  EXPECT_EQ(result, -1);
  EXPECT_TRUE(IsUntouched(ack));
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, RefusedAnswer,
    ::testing::Values(
        Text{"Status1", R"({"status":1,"data":[{"sn":"S1","id":5,"devs":[]}]})"},
        Text{"StatusMinus1", R"({"status":-1,"data":[{"sn":"S1","id":5,"devs":[]}]})"},
        Text{"StatusWithoutData", R"({"status":1})"},  // the data is not asked for any more
        Text{"StatusWithOtherData", R"({"status":500,"data":"none"})"}, Text{"Empty", ""},
        Text{"Nonsense", "nonsense"}, Text{"Page", "<html>status</html>"},
        Text{"CutOff", R"({"status":0,"data":[{"sn":"S1","id":5,"devs":[)"},
        Text{"TwoAnswers", RecallOrder("") + RecallOrder("")},
        Text{"NeverClosed", std::string(1000000, '[')}),
    NameOf);

class WronglyTypedRecallAnswer : public RecallOrderAnswer,
                                 public ::testing::WithParamInterface<Text> {};

TEST_P(WronglyTypedRecallAnswer, Throws) {
  EXPECT_THAT([] { ParseRecall(GetParam().text); }, ThrowsMessage<std::logic_error>(kException));

  EXPECT_THAT(test::TextLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Envelopes, WronglyTypedRecallAnswer,
    ::testing::Values(Text{"RootArray", "[]"}, Text{"RootNull", "null"}, Text{"Nothing", "{}"},
                      Text{"WithoutStatus", R"({"message":"ok","data":[]})"},
                      Text{"StatusText", R"({"status":"0","data":[]})"},
                      Text{"StatusFraction", R"({"status":0.0,"data":[]})"},
                      Text{"StatusAbove32Bits", R"({"status":4294967296,"data":[]})"},
                      Text{"WithoutData", R"({"status":0,"message":"ok"})"},
                      Text{"DataObject", RecallAnswer(R"({"sn":"S1","id":5,"devs":[]})")},
                      Text{"DataNull", RecallAnswer("null")},
                      Text{"DataText", RecallAnswer("\"\"")},
                      Text{"ElementNumber", RecallAnswer("[1]")},
                      Text{"ElementArray", RecallAnswer("[[]]")}),
    NameOf);
INSTANTIATE_TEST_SUITE_P(
    Orders, WronglyTypedRecallAnswer,
    ::testing::Values(Text{"WithoutSerial", RecallAnswer(R"([{"id":5,"devs":[]}])")},
                      Text{"SerialNumber", RecallAnswer(R"([{"sn":1,"id":5,"devs":[]}])")},
                      Text{"SerialNull", RecallAnswer(R"([{"sn":null,"id":5,"devs":[]}])")},
                      Text{"SecondWithoutSerial", RecallAnswer(R"([{"sn":"S2"},{"id":5}])")},
                      Text{"WithoutNumber", RecallAnswer(R"([{"sn":"S1","devs":[]}])")},
                      Text{"NumberText", RecallAnswer(R"([{"sn":"S1","id":"5","devs":[]}])")},
                      Text{"NumberAbove32Bits",
                           RecallAnswer(R"([{"sn":"S1","id":2147483648,"devs":[]}])")},
                      Text{"NumberFraction", RecallAnswer(R"([{"sn":"S1","id":5.5,"devs":[]}])")},
                      Text{"WithoutDevices", RecallAnswer(R"([{"sn":"S1","id":5}])")},
                      Text{"DevicesObject", RecallAnswer(R"([{"sn":"S1","id":5,"devs":{}}])")},
                      Text{"DevicesNull", RecallAnswer(R"([{"sn":"S1","id":5,"devs":null}])")}),
    NameOf);
INSTANTIATE_TEST_SUITE_P(
    Devices, WronglyTypedRecallAnswer,
    ::testing::Values(
        Text{"Number", RecallOrder("1")}, Text{"Null", RecallOrder("null")},
        Text{"GroupNumber", RecallOrder(R"({"groupId":1,"eqpId":"3","ids":[]})")},
        Text{"AddressNumber", RecallOrder(R"({"groupId":"1","eqpId":3,"ids":[]})")},
        Text{"PointsObject", RecallOrder(R"({"groupId":"1","eqpId":"3","ids":{}})")},
        Text{"PointsText", RecallOrder(R"({"groupId":"1","eqpId":"3","ids":"0001"})")},
        Text{"PointText", RecallOrder(RecallDevice("\"0001\""))},
        Text{
            "PointNumber",
            RecallOrder(RecallDevice(
                R"({"pointId":1,"beginTime":"2024-03-01 10:00:00","endTime":"2024-03-01 11:00:00"})"))},
        Text{"BeginNumber",
             RecallOrder(RecallDevice(
                 R"({"pointId":"0001","beginTime":0,"endTime":"2024-03-01 11:00:00"})"))},
        Text{"EndNull",
             RecallOrder(RecallDevice(
                 R"({"pointId":"0001","beginTime":"2024-03-01 10:00:00","endTime":null})"))}),
    NameOf);

TEST_F(RecallOrderAnswer, OfSeveralIsTheFirstOfThisGateway) {
  const ParsedRecall parsed = ParseRecall(RecallAnswer(
      R"([{"sn":"S2","id":1,"devs":[]},{"sn":"S1","id":2,"devs":[]},{"sn":"S1","id":3,"devs":[]}])"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.id, 2);
}

TEST_F(RecallOrderAnswer, IsTakenWithoutALookAtWhatFollowsIt) {
  const ParsedRecall parsed = ParseRecall(RecallAnswer(R"([{"sn":"S1","id":2,"devs":[]},7,{}])"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.id, 2);
}

TEST_F(RecallOrderAnswer, KeepsSixtyThreeCharactersOfItsSerialNumber) {
  const std::string serial(64, 's');

  const ParsedRecall parsed =
      ParseRecall(RecallAnswer(R"([{"sn":")" + serial + R"(","id":5,"devs":[]}])"), serial);

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.sn, serial.substr(0, 63));
}

class OrderNumber : public RecallOrderAnswer, public ::testing::WithParamInterface<std::int32_t> {};

TEST_P(OrderNumber, IsTakenOverWithItsSign) {
  const ParsedRecall parsed = ParseRecall(
      RecallAnswer(R"([{"sn":"S1","id":)" + std::to_string(GetParam()) + R"(,"devs":[]}])"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.id, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Numbers, OrderNumber,
                         ::testing::Values(0, 1, -1, 2147483647, -2147483647 - 1));

TEST_F(RecallOrderAnswer, WithoutDevicesStillGivesItsNumber) {
  const ParsedRecall parsed = ParseRecall(RecallOrder(""));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_STREQ(parsed.ack.sn, "S1");
  EXPECT_EQ(parsed.ack.id, 5);
  EXPECT_THAT(parsed.ack.devs, IsEmpty());
}

TEST_F(RecallOrderAnswer, KeepsADeviceWithoutPoints) {
  const ParsedRecall parsed = ParseRecall(RecallOrder(RecallDevice("")));

  EXPECT_THAT(GroupsOf(parsed.ack), ElementsAre(1));
  EXPECT_THAT(parsed.ack.devs[0].points, IsEmpty());
}

class IncompleteDevice : public RecallOrderAnswer, public ::testing::WithParamInterface<Text> {};

TEST_P(IncompleteDevice, IsLeftOutSilently) {
  const ParsedRecall parsed = ParseRecall(
      RecallOrder(RecallDevice("", "1") + "," + GetParam().text + "," + RecallDevice("", "2")));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_THAT(GroupsOf(parsed.ack), ElementsAre(1, 2));
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Devices, IncompleteDevice,
                         ::testing::Values(Text{"WithoutGroup", R"({"eqpId":"3","ids":[]})"},
                                           Text{"WithoutAddress", R"({"groupId":"7","ids":[]})"},
                                           Text{"WithoutPoints", R"({"groupId":"7","eqpId":"3"})"},
                                           Text{"WithOtherTypes", R"({"groupId":7,"ids":8})"},
                                           Text{"Empty", "{}"}),
                         NameOf);

class IncompletePoint : public RecallOrderAnswer, public ::testing::WithParamInterface<Text> {};

TEST_P(IncompletePoint, IsLeftOutSilently) {
  const ParsedRecall parsed = ParseRecall(RecallOrder(
      RecallDevice(RecallPoint("0001") + "," + GetParam().text + "," + RecallPoint("0002"))));

  EXPECT_EQ(parsed.result, 0);
  ASSERT_THAT(parsed.ack.devs, SizeIs(1));
  EXPECT_THAT(PointsOf(parsed.ack.devs[0]), ElementsAre(1, 2));
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Points, IncompletePoint,
    ::testing::Values(
        Text{"WithoutNumber",
             R"({"beginTime":"2024-03-01 10:00:00","endTime":"2024-03-01 11:00:00"})"},
        Text{"WithoutBegin", R"({"pointId":"0009","endTime":"2024-03-01 11:00:00"})"},
        Text{"WithoutEnd", R"({"pointId":"0009","beginTime":"2024-03-01 10:00:00"})"},
        Text{"WithOtherTypes", R"({"pointId":9,"beginTime":0})"}, Text{"Empty", "{}"}),
    NameOf);

TEST_F(RecallOrderAnswer, LeavesInTheRecordTheDevicesBeforeAFaultyOne) {
  ST_CHECKCALL_ACK ack{};

  EXPECT_THROW(ParseRecallInto(ack, RecallOrder(RecallDevice(RecallPoint("0001"), "1") + "," +
                                                RecallDevice(RecallPoint("0002") + ",7", "2") +
                                                "," + RecallDevice("", "3"))),
               std::logic_error);

  EXPECT_STREQ(ack.sn, "S1");
  EXPECT_EQ(ack.id, 5);
  EXPECT_THAT(GroupsOf(ack), ElementsAre(1));
}

TEST_F(RecallOrderAnswer, LeavesItsSerialNumberInTheRecordWhenItsNumberIsFaulty) {
  ST_CHECKCALL_ACK ack = EarlierAck();

  EXPECT_THROW(ParseRecallInto(ack, RecallAnswer(R"([{"sn":"S1","id":"5","devs":[]}])")),
               std::logic_error);

  EXPECT_STREQ(ack.sn, "S1");
  EXPECT_EQ(ack.id, -7);
}

}  // namespace
