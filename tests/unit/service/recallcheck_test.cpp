// The recall check: whether the cloud orders history.
#include <gmock/gmock.h>

#include <vector>

#include "cloudfixture.h"
#include "config/sysset.h"
#include "service/cloudlink.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logs.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using namespace std::string_literals;
using test::CloudAt;
using test::HttpAnswer;
using test::LogRecord;
using test::RawServer;

constexpr std::size_t kLimit = 512U << 10;
constexpr int kLoggedPieces = 64;

// An order for one point of channel 1, device 3, from 10:00:00 to 10:02:00.
constexpr char kOrder[] =
    R"({"status":0,"message":"ok","data":[{"sn":"S1","id":7,"devs":[{"groupId":"1","eqpId":"3",)"
    R"("ids":[{"pointId":"004D","beginTime":"2024-03-07 10:00:00",)"
    R"("endTime":"2024-03-07 10:02:00"}]}]}]})";
constexpr char kNoOrder[] = R"({"status":0,"message":"ok","data":[]})";

std::string Head(std::size_t length) {
  return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
}

class RecallCheck : public test::CloudTest {
 protected:
  int Check() { return CheckDemandRecall(&m_order); }

  ST_CHECKCALL_ACK m_order{};
};

TEST_F(RecallCheck, PostsTheSerialNumberToItsEndpoint) {
  m_cloud.Answer(HttpAnswer(200, kNoOrder));

  EXPECT_EQ(Check(), 0);
  const auto requests = m_cloud.Requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].Line(), "POST /cloud/eqpapi/EqpDataIfRecall HTTP/1.1");
  EXPECT_THAT(requests[0].Headers(), Contains("Content-Length: 11"));
  EXPECT_EQ(requests[0].body, R"({"sn":"S1"})");
}

TEST_F(RecallCheck, FillsInTheOrder) {
  m_cloud.Answer(HttpAnswer(200, kOrder));

  EXPECT_EQ(Check(), 0);
  EXPECT_EQ(m_order.id, 7);
  EXPECT_STREQ(m_order.sn, "S1");
  ASSERT_THAT(m_order.devs, SizeIs(1));
  EXPECT_EQ(m_order.devs[0].groupId, 1);
  EXPECT_EQ(m_order.devs[0].eqpId, 3);
  ASSERT_THAT(m_order.devs[0].points, SizeIs(1));
  EXPECT_EQ(m_order.devs[0].points[0].pointId, 0x4DU);
  EXPECT_EQ(m_order.devs[0].points[0].beginTime, test::LocalTimeOf(2024, 3, 7, 10));
  EXPECT_EQ(m_order.devs[0].points[0].endTime, test::LocalTimeOf(2024, 3, 7, 10, 2));
}

TEST_F(RecallCheck, GoesToTheAddressInUse) {
  test::Load(
      test::SysXml().Cloud("cloudip", "127.0.0.2").Cloud("port", std::to_string(m_cloud.Port())));
  GetCSysSetInstance().SetRealIPAddress("127.0.0.1");
  m_cloud.Answer(HttpAnswer(200, kNoOrder));

  EXPECT_EQ(Check(), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

TEST_F(RecallCheck, DoesNotGoToTheConfiguredAddressOnceRedirected) {
  GetCSysSetInstance().SetRealIPAddress("127.0.0.2");

  EXPECT_EQ(Check(), -1);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
}

TEST_F(RecallCheck, TellsTheAnswer) {
  m_cloud.Answer(HttpAnswer(200, kOrder));

  Check();

  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", std::string("Recall Receive Response:\n") + kOrder}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(RecallCheck, JoinsAnAnswerInTwoPieces) {
  const std::string order = kOrder;
  m_cloud.Answer(RawServer::Pieces{Head(order.size()) + order.substr(0, 60), order.substr(60)});

  EXPECT_EQ(Check(), 0);
  EXPECT_EQ(m_order.id, 7);
  EXPECT_THAT(m_order.devs, SizeIs(1));
  EXPECT_THAT(test::TextLog("INFO"), ElementsAre("Recall Receive Response:\n" + order.substr(0, 60),
                                                 "Recall Receive Response:\n" + order.substr(60)));
}

TEST_F(RecallCheck, JoinsAnAnswerOf400Kilobytes) {
  std::string order = kOrder;
  order.insert(1, R"("padding":")" + std::string(400'000, 'p') + "\",");
  m_cloud.Answer(HttpAnswer(200, order));

  EXPECT_EQ(Check(), 0);
  EXPECT_EQ(m_order.id, 7);
}

TEST_F(RecallCheck, TakesNothingOverFromTheCheckBefore) {
  const std::string order = kOrder;
  m_cloud.Answer(HttpAnswer(200, order.substr(0, 60)));
  m_cloud.Answer(HttpAnswer(200, order.substr(60)));

  EXPECT_EQ(Check(), -1);
  EXPECT_EQ(Check(), -1);
}

TEST_F(RecallCheck, DoesNotPause) {
  m_cloud.Answer(HttpAnswer(200, kOrder));

  Check();

  EXPECT_THAT(test::Pauses(), IsEmpty());
}

struct Answer {
  const char* name;
  RawServer::Pieces pieces;
};

void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.name;
}

class NoOrder : public RecallCheck, public ::testing::WithParamInterface<Answer> {};

TEST_P(NoOrder, IsNoFailureAndFillsInNothing) {
  m_cloud.Answer(GetParam().pieces);

  EXPECT_EQ(Check(), 0);
  EXPECT_EQ(m_order.id, 0);
  EXPECT_STREQ(m_order.sn, "");
  EXPECT_THAT(m_order.devs, IsEmpty());
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, NoOrder,
    ::testing::Values(Answer{"Empty", {HttpAnswer(200, kNoOrder)}},
                      Answer{"Status201", {HttpAnswer(201, kNoOrder)}},
                      Answer{"ForOthers",
                             {HttpAnswer(200, R"({"status":0,"data":[{"sn":"S2","id":7,"devs":[]},)"
                                              R"({"sn":"S","id":8},{"sn":"S10"}]})")}}),
    [](const auto& test) { return test.param.name; });

class UnusableRecallAnswer : public RecallCheck, public ::testing::WithParamInterface<Answer> {};

TEST_P(UnusableRecallAnswer, FailsTheCheck) {
  m_cloud.Answer(GetParam().pieces);

  EXPECT_EQ(Check(), -1);
  EXPECT_EQ(m_order.id, 0);
  EXPECT_THAT(m_order.devs, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, UnusableRecallAnswer,
    ::testing::Values(
        Answer{"Status500", {HttpAnswer(500, kOrder)}},
        Answer{"Status302", {HttpAnswer(302, kOrder)}},
        Answer{"Status204", {"HTTP/1.1 204 No Content\r\n\r\n"}}, Answer{"Silent", {}},
        Answer{"Garbage", {"garbage\r\n\r\n"}}, Answer{"Nothing", {HttpAnswer(200, "")}},
        Answer{"Web", {HttpAnswer(200, "<html></html>")}},
        Answer{"BrokenOff", {Head(1000) + R"({"status":0,"data":[)"}},
        Answer{"StatusOfFailure", {HttpAnswer(200, R"({"status":1,"data":[{"sn":"S1","id":7}]})")}},
        Answer{"ZeroWithin", {HttpAnswer(200, "{\"status\":0,\0\"data\":[]}"s)}},
        Answer{"NestedAHundredThousandTimes", {HttpAnswer(200, std::string(100000, '['))}}),
    [](const auto& test) { return test.param.name; });

struct Text {
  const char* name;
  std::string text;
};

void PrintTo(const Text& text, std::ostream* out) {
  *out << text.text;
}

class FaultyRecallAnswer : public RecallCheck, public ::testing::WithParamInterface<Text> {};

TEST_P(FaultyRecallAnswer, FailsTheCheckAndIsComplainedOf) {
  m_cloud.Answer(HttpAnswer(200, GetParam().text));

  EXPECT_EQ(Check(), -1);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", "Recall Receive Response:\n" + GetParam().text},
                          LogRecord{"WARN",
                                    "answer with a member missing or of the wrong type (rapidjson "
                                    "exception):" +
                                        GetParam().text}));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, FaultyRecallAnswer,
    ::testing::Values(
        Text{"NoStatus", R"({"data":[]})"}, Text{"NoData", R"({"status":0})"},
        Text{"StatusText", R"({"status":"0","data":[]})"},
        Text{"StatusNull", R"({"status":null,"data":[]})"},
        Text{"DataObject", R"({"status":0,"data":{}})"},
        Text{"DataNull", R"({"status":0,"data":null})"},
        Text{"DataOfNumbers", R"({"status":0,"data":[1]})"},
        Text{"NoSn", R"({"status":0,"data":[{}]})"},
        Text{"SnNumber", R"({"status":0,"data":[{"sn":1}]})"},
        Text{"NoId", R"({"status":0,"data":[{"sn":"S1","devs":[]}]})"},
        Text{"IdText", R"({"status":0,"data":[{"sn":"S1","id":"7","devs":[]}]})"},
        Text{"NoDevs", R"({"status":0,"data":[{"sn":"S1","id":7}]})"},
        Text{"DevsNumber", R"({"status":0,"data":[{"sn":"S1","id":7,"devs":5}]})"},
        Text{"DevsOfNumbers", R"({"status":0,"data":[{"sn":"S1","id":7,"devs":[5]}]})"},
        Text{"GroupNumber", R"({"status":0,"data":[{"sn":"S1","id":7,"devs":[)"
                            R"({"groupId":1,"eqpId":"3","ids":[]}]}]})"},
        Text{"IdsObject", R"({"status":0,"data":[{"sn":"S1","id":7,"devs":[)"
                          R"({"groupId":"1","eqpId":"3","ids":{}}]}]})"},
        Text{
            "PointNumber",
            R"({"status":0,"data":[{"sn":"S1","id":7,"devs":[)"
            R"({"groupId":"1","eqpId":"3","ids":[{"pointId":1,"beginTime":"","endTime":""}]}]}]})"},
        Text{"TopLevelArray", "[]"}, Text{"TopLevelNumber", "1"},
        Text{"PercentSigns", R"("%s%n")"}),
    [](const auto& test) { return test.param.name; });

TEST_F(RecallCheck, WithNobodyFails) {
  test::Load(CloudAt(RawServer().Port()));
  test::DiscardLogs();

  EXPECT_EQ(Check(), -1);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN",
                                    "curl_easy_perform() failed when post: Couldn't connect to "
                                    "server,httpcode =0"}));
}

TEST_F(RecallCheck, WithoutAHandleFails) {
  test::FailCalls(test::Call::kCurlEasyInit);

  EXPECT_EQ(Check(), -1);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

// The document of an order, complete by itself, with blanks behind it up to this length.
std::string PaddedOrder(std::size_t length) {
  std::string order = kOrder;
  order.resize(length, ' ');
  return order;
}

TEST_F(RecallCheck, TakesAnAnswerOf512Kibibytes) {
  m_cloud.Answer(HttpAnswer(200, PaddedOrder(kLimit)));

  EXPECT_EQ(Check(), 0);
  EXPECT_EQ(m_order.id, 7);
}

TEST_F(RecallCheck, JoinsAnAnswerInCountlessPieces) {
  std::string chunks;
  for (const char character : PaddedOrder(20'000)) chunks += "1\r\n"s + character + "\r\n";
  m_cloud.Answer("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + chunks + "0\r\n\r\n");

  EXPECT_EQ(Check(), 0);
  EXPECT_EQ(m_order.id, 7);
}

TEST_F(RecallCheck, RefusesALargerAnswer) {
  m_cloud.Answer(HttpAnswer(200, PaddedOrder(kLimit + 1)));

  EXPECT_EQ(Check(), -1);
  EXPECT_EQ(m_order.id, 0);
  EXPECT_THAT(test::WholeTextLog(),
              HasSubstr("logType:WARN\n Recall answer of more than 524288 bytes refused"));
}

class RecallAnswer : public test::GatewayTest {
 protected:
  std::size_t Receive(std::string piece, std::size_t size = 1) {
    return OnRecallCheckAnswer(piece.data(), size, piece.size() / size, &m_answer);
  }

  CollectedAnswer m_answer;
};

TEST_F(RecallAnswer, IsAppendedPieceByPiece) {
  EXPECT_EQ(Receive("{\"status\""), 9U);
  EXPECT_EQ(Receive(":0}"), 3U);
  EXPECT_EQ(m_answer.text, "{\"status\":0}");
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", "Recall Receive Response:\n{\"status\""},
                          LogRecord{"INFO", "Recall Receive Response:\n:0}"}));
}

TEST_F(RecallAnswer, IsAsLongAsSizeTimesCount) {
  EXPECT_EQ(Receive("123456789", 2), 8U);
  EXPECT_EQ(m_answer.text, "12345678");
}

TEST_F(RecallAnswer, KeepsAZeroInIt) {
  EXPECT_EQ(Receive("a\0b"s), 3U);
  EXPECT_EQ(m_answer.text, "a\0b"s);
}

TEST_F(RecallAnswer, MayBeEmpty) {
  EXPECT_EQ(Receive(""), 0U);
  EXPECT_EQ(m_answer.text, "");
}

TEST_F(RecallAnswer, WithPercentSignsIsToldAsItIs) {
  Receive("%s%n%d");

  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"INFO", "Recall Receive Response:\n%s%n%d"}));
}

TEST_F(RecallAnswer, MayFill512Kibibytes) {
  m_answer.text.assign(kLimit - 1, ' ');

  EXPECT_EQ(Receive("}"), 1U);
  EXPECT_EQ(m_answer.text.size(), kLimit);
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

// None of it is to be used: what has come so far might be a whole document.
TEST_F(RecallAnswer, IsGivenUpBehind512Kibibytes) {
  m_answer.text.assign(kLimit, ' ');

  EXPECT_EQ(Receive("}"), 0U);
  EXPECT_TRUE(m_answer.text.empty());
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre("Recall answer of more than 524288 bytes refused"));
}

TEST_F(RecallAnswer, IsToldUpToIts64thPiece) {
  for (int i = 0; i < kLoggedPieces; ++i) Receive("a");

  EXPECT_EQ(Receive("b"), 1U);
  EXPECT_EQ(m_answer.text, std::string(kLoggedPieces, 'a') + "b");
  EXPECT_THAT(test::TextLog("INFO"), SizeIs(kLoggedPieces));
}

}  // namespace
