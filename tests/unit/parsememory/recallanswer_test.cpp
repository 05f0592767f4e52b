// The cloud's answer to the recall check: which order is this gateway's, and what it may look like.
#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "answertest.h"

using namespace test;
using namespace testing;

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

void ExpectUntouched(const std::string& text, int result) {
  ST_CHECKCALL_ACK ack = EarlierAck();

  EXPECT_EQ(ParseRecallInto(ack, text), result) << text;
  EXPECT_STREQ(ack.sn, "earlier") << text;
  EXPECT_EQ(ack.id, -7) << text;
  EXPECT_THAT(GroupsOf(ack), ElementsAre(9)) << text;
}

class RecallAnswer : public GatewayTest {};

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
  EXPECT_THAT(TextLog(), IsEmpty());
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

TEST_F(RecallAnswer, LeavesTheRecordAloneWithoutAnOrder) {
  for (const auto* data : {"[]", R"([{"sn":"S2","id":"x","devs":7},{"sn":"S3"}])",
                           R"([{"sn":"S11","id":5,"devs":[]},{"sn":"S","id":5,"devs":[]}])",
                           R"([{"sn":"s1","id":5,"devs":[]}])"}) {
    ExpectUntouched(AnswerWithData(data), 0);
  }
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, FailsWithAnotherStatusBeforeTheDataIsRead) {
  for (const auto* text : {R"({"status":1,"data":[{"sn":"S1","id":5,"devs":[]}]})",
                           R"({"status":-1})", R"({"status":500,"data":"none"})"}) {
    ExpectUntouched(text, -1);
  }
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, ThrowsAtAWrongType) {
  for (const auto& text :
       Texts{"[]", R"({"message":"ok","data":[]})", R"({"status":"0","data":[]})",
             R"({"status":0,"message":"ok"})", AnswerWithData("null"), AnswerWithData("[1]"),
             AnswerWithData(R"([{"id":5,"devs":[]}])"),
             AnswerWithData(R"([{"sn":"S2"},{"sn":1,"id":5,"devs":[]}])"),
             AnswerWithData(R"([{"sn":"S1","devs":[]}])"),
             AnswerWithData(R"([{"sn":"S1","id":2147483648,"devs":[]}])"),
             AnswerWithData(R"([{"sn":"S1","id":5,"devs":{}}])"), RecallOrder("1"),
             RecallOrder(R"({"groupId":1,"eqpId":"3","ids":[]})"),
             RecallOrder(R"({"groupId":"1","eqpId":3,"ids":[]})"),
             RecallOrder(R"({"groupId":"1","eqpId":"3","ids":{}})"),
             RecallOrder(RecallDevice("\"0001\"")),
             RecallOrder(RecallDevice(R"({"pointId":1,"beginTime":"","endTime":""})")),
             RecallOrder(RecallDevice(R"({"pointId":"1","beginTime":0,"endTime":""})")),
             RecallOrder(RecallDevice(R"({"pointId":"1","beginTime":"","endTime":null})"))}) {
    EXPECT_THROW(ParseRecall(text), std::logic_error) << text;
  }
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
  const ParsedRecall parsed = ParseRecall(RecallOrder(
      R"({"eqpId":"3","ids":[]},)" + RecallDevice("", "1") +
      R"(,{"groupId":"7","ids":[]},{"groupId":7,"eqpId":"3"},)" + RecallDevice("", "2")));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_THAT(GroupsOf(parsed.ack), ElementsAre(1, 2));
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, LeavesOutIncompletePoints) {
  const ParsedRecall parsed = ParseRecall(RecallOrder(RecallDevice(
      R"({"beginTime":"","endTime":""},)" + RecallPoint("0001") +
      R"(,{"pointId":"9","endTime":""},{"pointId":9,"beginTime":""},)" + RecallPoint("0002"))));

  ASSERT_THAT(parsed.ack.devs, SizeIs(1));
  EXPECT_THAT(PointsOf(parsed.ack.devs[0]), ElementsAre(1, 2));
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(RecallAnswer, LeavesInTheRecordWhatStandsBeforeAFault) {
  ST_CHECKCALL_ACK ack{};

  EXPECT_THROW(ParseRecallInto(ack, RecallOrder(RecallDevice("", "1") + "," +
                                                RecallDevice(RecallPoint("0002") + ",7", "2"))),
               std::logic_error);

  EXPECT_STREQ(ack.sn, "S1");
  EXPECT_EQ(ack.id, 5);
  EXPECT_THAT(GroupsOf(ack), ElementsAre(1));
}

}  // namespace
