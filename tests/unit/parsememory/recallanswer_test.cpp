// The cloud's answer to the recall check: which order is this gateway's, and what it may look like.
#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "answertest.h"

using test::AnswerWithData;
using test::ParsedRecall;
using test::ParseRecall;
using test::ParseRecallInto;
using test::RecallDevice;
using test::RecallOrder;
using test::RecallPoint;
using test::Texts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

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

class RecallAnswer : public test::AnswerTest {};

TEST_F(RecallAnswer, GivesSerialNumberNumberDevicesAndPoints) {
  const ParsedRecall parsed =
      ParseRecall(R"({"data":[{"devs":[{"groupId":"1","eqpId":"3","ids":[{"pointId":"1a2b",)"
                  R"("beginTime":"2024-03-01 10:00:00","endTime":"2024-03-01 11:30:00"}]}],)"
                  R"("id":-2147483648,"sn":"S1"}],"status":0})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_STREQ(parsed.ack.sn, "S1");
  EXPECT_EQ(parsed.ack.id, -2147483647 - 1);
  ASSERT_THAT(parsed.ack.devs, SizeIs(1));
  EXPECT_EQ(parsed.ack.devs[0].groupId, 1);
  EXPECT_EQ(parsed.ack.devs[0].eqpId, 3);
  ASSERT_THAT(parsed.ack.devs[0].points, SizeIs(1));
  EXPECT_EQ(parsed.ack.devs[0].points[0].pointId, 0x1A2BU);
  EXPECT_EQ(parsed.ack.devs[0].points[0].beginTime, 1709258400U);
  EXPECT_EQ(parsed.ack.devs[0].points[0].endTime, 1709263800U);
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, KeepsDevicesAndPointsInTheirOrder) {
  const ParsedRecall parsed = ParseRecall(RecallOrder(
      RecallDevice(RecallPoint("0003") + "," + RecallPoint("0001") + "," + RecallPoint("0003"),
                   "2") +
      "," + RecallDevice("", "1") + "," + RecallDevice(RecallPoint("0004"), "2")));

  ASSERT_THAT(GroupsOf(parsed.ack), ElementsAre(2, 1, 2));
  EXPECT_THAT(PointsOf(parsed.ack.devs[0]), ElementsAre(3, 1, 3));
  EXPECT_THAT(parsed.ack.devs[1].points, IsEmpty());
  EXPECT_THAT(PointsOf(parsed.ack.devs[2]), ElementsAre(4));
}

TEST_F(RecallAnswer, AppendsItsDevicesToThoseOfTheRecord) {
  ST_CHECKCALL_ACK ack = EarlierAck();

  ParseRecallInto(ack, RecallOrder(RecallDevice("", "1")));

  EXPECT_STREQ(ack.sn, "S1");
  EXPECT_EQ(ack.id, 5);
  EXPECT_THAT(GroupsOf(ack), ElementsAre(9, 1));
}

TEST_F(RecallAnswer, EndsAtATerminatorWithinTheText) {
  EXPECT_EQ(ParseRecall(RecallOrder("") + std::string(1, '\0') + "garbage").ack.id, 5);
}

TEST_F(RecallAnswer, LeavesTheRecordAloneWithoutAnOrder) {
  for (const auto& text :
       Texts{AnswerWithData("[]"), AnswerWithData(R"([{"sn":"S2"},{"sn":"S3"}])"),
             AnswerWithData(R"([{"sn":"S11","id":5,"devs":[]}])"),
             AnswerWithData(R"([{"sn":"S","id":5,"devs":[]}])"),
             AnswerWithData(R"([{"sn":"s1","id":5,"devs":[]}])"),
             AnswerWithData(R"([{"sn":"S2","id":"x","devs":7}])")}) {
    SCOPED_TRACE(text);
    ST_CHECKCALL_ACK ack = EarlierAck();

    EXPECT_EQ(ParseRecallInto(ack, text), 0);

    EXPECT_TRUE(IsUntouched(ack));
  }
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, FailsWithAnotherStatusBeforeTheDataIsRead) {
  for (const auto* text : {R"({"status":1,"data":[{"sn":"S1","id":5,"devs":[]}]})",
                           R"({"status":-1})", R"({"status":500,"data":"none"})"}) {
    ST_CHECKCALL_ACK ack = EarlierAck();

    EXPECT_EQ(ParseRecallInto(ack, text), -1) << text;
    EXPECT_TRUE(IsUntouched(ack)) << text;
  }
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, ThrowsAtAWrongType) {
  for (const auto& text :
       Texts{"[]",
             R"({"message":"ok","data":[]})",
             R"({"status":"0","data":[]})",
             R"({"status":4294967296,"data":[]})",
             R"({"status":0,"message":"ok"})",
             AnswerWithData(R"({"sn":"S1","id":5,"devs":[]})"),
             AnswerWithData("null"),
             AnswerWithData("[1]"),
             AnswerWithData("[[]]"),
             AnswerWithData(R"([{"id":5,"devs":[]}])"),
             AnswerWithData(R"([{"sn":1,"id":5,"devs":[]}])"),
             AnswerWithData(R"([{"sn":"S2"},{"id":5}])"),
             AnswerWithData(R"([{"sn":"S1","devs":[]}])"),
             AnswerWithData(R"([{"sn":"S1","id":"5","devs":[]}])"),
             AnswerWithData(R"([{"sn":"S1","id":2147483648,"devs":[]}])"),
             AnswerWithData(R"([{"sn":"S1","id":5}])"),
             AnswerWithData(R"([{"sn":"S1","id":5,"devs":{}}])"),
             RecallOrder("1"),
             RecallOrder(R"({"groupId":1,"eqpId":"3","ids":[]})"),
             RecallOrder(R"({"groupId":"1","eqpId":3,"ids":[]})"),
             RecallOrder(R"({"groupId":"1","eqpId":"3","ids":{}})"),
             RecallOrder(RecallDevice("\"0001\"")),
             RecallOrder(RecallDevice(R"({"pointId":1,"beginTime":"","endTime":""})")),
             RecallOrder(RecallDevice(R"({"pointId":"1","beginTime":0,"endTime":""})")),
             RecallOrder(RecallDevice(R"({"pointId":"1","beginTime":"","endTime":null})"))}) {
    SCOPED_TRACE(text);
    EXPECT_THROW(ParseRecall(text), std::logic_error);
  }
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, GivesTheFirstOrderOfThisGatewayAndReadsNoFurther) {
  const ParsedRecall parsed =
      ParseRecall(AnswerWithData(R"([{"sn":"S2","id":1,"devs":[]},{"sn":"S1","id":2,"devs":[]},)"
                                 R"({"sn":"S1","id":3,"devs":[]},7])"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.id, 2);
}

TEST_F(RecallAnswer, KeepsSixtyThreeCharactersOfItsSerialNumber) {
  const std::string serial(64, 's');

  const ParsedRecall parsed =
      ParseRecall(AnswerWithData(R"([{"sn":")" + serial + R"(","id":5,"devs":[]}])"), serial);

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.sn, serial.substr(0, 63));
}

TEST_F(RecallAnswer, LeavesOutIncompleteDevices) {
  for (const auto* device : {R"({"eqpId":"3","ids":[]})", R"({"groupId":"7","ids":[]})",
                             R"({"groupId":"7","eqpId":"3"})", R"({"groupId":7,"ids":8})"}) {
    const ParsedRecall parsed = ParseRecall(
        RecallOrder(RecallDevice("", "1") + "," + device + "," + RecallDevice("", "2")));

    EXPECT_EQ(parsed.result, 0) << device;
    EXPECT_THAT(GroupsOf(parsed.ack), ElementsAre(1, 2)) << device;
  }
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, LeavesOutIncompletePoints) {
  for (const auto* point : {R"({"beginTime":"","endTime":""})", R"({"pointId":"9","endTime":""})",
                            R"({"pointId":"9","beginTime":""})", R"({"pointId":9})"}) {
    const ParsedRecall parsed = ParseRecall(
        RecallOrder(RecallDevice(RecallPoint("0001") + "," + point + "," + RecallPoint("0002"))));

    ASSERT_THAT(parsed.ack.devs, SizeIs(1)) << point;
    EXPECT_THAT(PointsOf(parsed.ack.devs[0]), ElementsAre(1, 2)) << point;
  }
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, LeavesInTheRecordWhatStandsBeforeAFault) {
  ST_CHECKCALL_ACK withoutNumber = EarlierAck();
  ST_CHECKCALL_ACK withADevice{};

  EXPECT_THROW(
      ParseRecallInto(withoutNumber, AnswerWithData(R"([{"sn":"S1","id":"5","devs":[]}])")),
      std::logic_error);
  EXPECT_THROW(
      ParseRecallInto(withADevice, RecallOrder(RecallDevice("", "1") + "," +
                                               RecallDevice(RecallPoint("0002") + ",7", "2"))),
      std::logic_error);

  EXPECT_STREQ(withoutNumber.sn, "S1");
  EXPECT_EQ(withoutNumber.id, -7);
  EXPECT_EQ(withADevice.id, 5);
  EXPECT_THAT(GroupsOf(withADevice), ElementsAre(1));
}

}  // namespace
