// The login.
#include "service/cloudlink.h"

#include <gmock/gmock.h>

#include <vector>

#include "cloudfixture.h"
#include "config/sysset.h"
#include "service/answerguard.h"
#include "support/faults.h"
#include "support/logs.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using namespace std::string_literals;
using test::CloudAt;
using test::HttpAnswer;
using test::LogRecord;
using test::RawServer;

constexpr char kGranted[] = R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})";
constexpr char kRefused[] = R"({"status":0,"message":"ok","data":[{"seqStatus":1}]})";
constexpr std::int32_t kUntouched = 7;

class Login : public test::CloudTest {};

TEST_F(Login, PostsTheSerialNumberToTheAuthorizeEndpoint) {
  m_cloud.Answer(HttpAnswer(200, kGranted));

  EXPECT_EQ(HTTP_POST_AUTHORIZE_INFO(), 0);
  const auto requests = m_cloud.Requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].Line(), "POST /cloud/eqpapi/EqpAuthorize HTTP/1.1");
  EXPECT_THAT(requests[0].Headers(), Contains("Content-Length: 25"));
  EXPECT_EQ(requests[0].body, R"({"sn":"S1","applyType":0})");
}

TEST_F(Login, GoesToTheConfiguredAddressAlsoOnceRedirected) {
  GetCSysSetInstance().SetRealIPAddress("127.0.0.2");
  m_cloud.Answer(HttpAnswer(200, kGranted));

  EXPECT_EQ(HTTP_POST_AUTHORIZE_INFO(), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

TEST_F(Login, TellsTheAnswerAndThatItWasGranted) {
  m_cloud.Answer(HttpAnswer(200, kGranted));

  EXPECT_EQ(PrePost(), 0);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", std::string("Auth Receive Response:\n") + kGranted},
                          LogRecord{"INFO", "Post Authorize Info Successfully\n"}));
}

TEST_F(Login, TellsTheAnswerAndThatItWasRefused) {
  m_cloud.Answer(HttpAnswer(200, kRefused));

  EXPECT_EQ(PrePost(), -1);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", std::string("Auth Receive Response:\n") + kRefused},
                          LogRecord{"WARN", "Post Authorize Info failed\n"}));
}

TEST_F(Login, DoesNotPauseBetweenAskingAndReporting) {
  PrePost();

  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

struct Answer {
  const char* name;
  RawServer::Pieces pieces;
  int result;
};

void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.name;
}

class LoginAnswer : public Login, public ::testing::WithParamInterface<Answer> {};

TEST_P(LoginAnswer, Decides) {
  m_cloud.Answer(GetParam().pieces);

  const int result = PrePost();

  EXPECT_EQ(result, GetParam().result);
  EXPECT_EQ(test::TextLog().back(), result == 0
                                        ? (LogRecord{"INFO", "Post Authorize Info Successfully\n"})
                                        : (LogRecord{"WARN", "Post Authorize Info failed\n"}));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, LoginAnswer,
    ::testing::Values(
        Answer{"Status201", {HttpAnswer(201, kGranted)}, 0},
        Answer{"GrantedBeside500", {HttpAnswer(500, kGranted)}, -1},
        Answer{"GrantedBeside204", {"HTTP/1.1 204 No Content\r\n\r\n"}, -1},
        Answer{"GrantedBehindARedirect", {HttpAnswer(302, kGranted)}, -1},
        Answer{"NoAnswer", {}, -1}, Answer{"EmptyAnswer", {HttpAnswer(200, "")}, -1},
        Answer{"Garbage", {"garbage\r\n\r\n"}, -1},
        Answer{"Web", {HttpAnswer(200, "<html></html>")}, -1},
        Answer{"BrokenOffBehindTheDocument",
               {std::string("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n") + kGranted},
               0},
        Answer{"TwoPieces",
               {"HTTP/1.1 200 OK\r\nContent-Length: 52\r\n\r\n{\"status\":0,\"message\":\"ok\",",
                "\"data\":[{\"seqStatus\":0}]}"},
               -1},
        Answer{"DeeplyNested", {HttpAnswer(200, std::string(1000, '['))}, -1}),
    [](const auto& test) { return test.param.name; });

TEST_F(Login, WithAnAnswerNestedAHundredThousandTimesFails) {
  m_cloud.Answer(HttpAnswer(200, std::string(100000, '[')));

  EXPECT_EQ(PrePost(), -1);
  EXPECT_THAT(test::WholeTextLog(),
              ::testing::EndsWith("logType:WARN\n Post Authorize Info failed\n\n"));
}

TEST_F(Login, WithNobodyFails) {
  test::Load(CloudAt(RawServer().Port()));
  test::DiscardLogs();

  EXPECT_EQ(PrePost(), -1);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre("curl_easy_perform() failed when post: Couldn't connect to "
                          "server,httpcode =0",
                          "Post Authorize Info failed\n"));
}

TEST_F(Login, WithoutAHandleFails) {
  test::FailCalls(test::Call::kCurlEasyInit);

  EXPECT_EQ(PrePost(), -1);
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", "Post Authorize Info failed\n"}));
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
}

class AuthorizeAnswer : public test::GatewayTest {
 protected:
  // The handler's verdict on these bytes, which stand in memory of exactly their size.
  std::size_t Judge(const std::string& text) {
    std::vector<char> bytes(text.begin(), text.end());
    return OnAuthorizeAnswer(bytes.data(), 1, bytes.size(), &m_flag);
  }

  std::int32_t m_flag = kUntouched;
};

TEST_F(AuthorizeAnswer, IsAsLongAsSizeTimesCount) {
  std::string text = kGranted;
  ASSERT_EQ(text.size(), 52U);
  text += "}}}";

  EXPECT_EQ(OnAuthorizeAnswer(text.data(), 4, 13, &m_flag), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
}

TEST_F(AuthorizeAnswer, WithPercentSignsIsToldAsItIs) {
  Judge("%s%n%d");

  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"INFO", "Auth Receive Response:\n%s%n%d"}));
}

TEST_F(AuthorizeAnswer, MayBeEmpty) {
  EXPECT_EQ(Judge(""), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"INFO", "Auth Receive Response:\n"}));
}

struct Text {
  const char* name;
  std::string text;
};

void PrintTo(const Text& text, std::ostream* out) {
  *out << text.text.substr(0, 100);
}

class GrantingAnswer : public AuthorizeAnswer, public ::testing::WithParamInterface<Text> {};

TEST_P(GrantingAnswer, SetsTheFlag) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, GrantingAnswer,
    ::testing::Values(
        Text{"Plain", kGranted},
        Text{"StatusIsNotConsulted", R"({"status":5,"message":"no","data":[{"seqStatus":0}]})"},
        Text{"LastElementCounts",
             R"({"status":0,"message":"","data":[{"seqStatus":1},{"seqStatus":0}]})"},
        Text{"MoreMembers", R"({"data":[{"a":[],"seqStatus":0}],"x":{},"status":0,"message":""})"},
        Text{"RubbishBehindAZero", kGranted + "\0rubbish"s}),
    [](const auto& test) { return test.param.name; });

class RefusingAnswer : public AuthorizeAnswer, public ::testing::WithParamInterface<Text> {};

TEST_P(RefusingAnswer, LeavesTheFlag) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(test::TextLog(), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, RefusingAnswer,
    ::testing::Values(
        Text{"One", kRefused},
        Text{"Negative", R"({"status":0,"message":"","data":[{"seqStatus":-1}]})"},
        Text{"Largest", R"({"status":0,"message":"","data":[{"seqStatus":2147483647}]})"},
        Text{"LastElementCounts",
             R"({"status":0,"message":"","data":[{"seqStatus":0},{"seqStatus":1}]})"},
        Text{"EmptyData", R"({"status":0,"message":"","data":[]})"}, Text{"NoJson", "{seqStatus}"},
        Text{"FirstPiece", R"({"status":0,"message":"","data":[)"},
        Text{"TextBehind", kGranted + " and more"s},
        Text{"ZeroWithin", "{\"status\":0,\0\"message\":\"\",\"data\":[{\"seqStatus\":0}]}"s}),
    [](const auto& test) { return test.param.name; });

struct Complaint {
  const char* name;
  std::string text;
  std::string words;
};

void PrintTo(const Complaint& complaint, std::ostream* out) {
  *out << complaint.text.substr(0, 100);
}

class FaultyAnswer : public AuthorizeAnswer, public ::testing::WithParamInterface<Complaint> {};

TEST_P(FaultyAnswer, LeavesTheFlagAndIsComplainedOf) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(GetParam().words));
}

Complaint Missing(const char* name, const std::string& text) {
  return {name, text, "Authorize recv:" + text + " ,missing Member"};
}

Complaint WronglyTyped(const char* name, const std::string& text) {
  return {name, text,
          "answer with a member missing or of the wrong type (rapidjson exception):" + text};
}

INSTANTIATE_TEST_SUITE_P(
    Answers, FaultyAnswer,
    ::testing::Values(
        Missing("NoData", R"({"status":0,"message":"ok"})"),
        Missing("NoStatus", R"({"message":"ok","data":[{"seqStatus":0}]})"),
        Missing("NoMessage", R"({"status":0,"data":[{"seqStatus":0}]})"), Missing("Nothing", "{}"),
        Complaint{"NoSeqStatus", R"({"status":0,"message":"","data":[{}]})",
                  "Authorize missing seqStatus Member"},
        Complaint{"NoSeqStatusInTheLast",
                  R"({"status":0,"message":"","data":[{"seqStatus":0},{}]})",
                  "Authorize missing seqStatus Member"},
        WronglyTyped("DataObject", R"({"status":0,"message":"","data":{"seqStatus":0}})"),
        WronglyTyped("DataText", R"({"status":0,"message":"","data":"x"})"),
        WronglyTyped("DataNull", R"({"status":0,"message":"","data":null})"),
        WronglyTyped("DataOfNumbers", R"({"status":0,"message":"","data":[0]})"),
        WronglyTyped("SeqStatusText", R"({"status":0,"message":"","data":[{"seqStatus":"0"}]})"),
        WronglyTyped("SeqStatusNull", R"({"status":0,"message":"","data":[{"seqStatus":null}]})"),
        WronglyTyped("SeqStatusFraction",
                     R"({"status":0,"message":"","data":[{"seqStatus":0.5}]})"),
        WronglyTyped("StatusText", R"({"status":"x","message":"","data":[{"seqStatus":0}]})"),
        WronglyTyped("MessageNumber", R"({"status":0,"message":1,"data":[{"seqStatus":0}]})"),
        WronglyTyped("TopLevelArray", R"([{"status":0,"message":"","data":[{"seqStatus":0}]}])"),
        WronglyTyped("TopLevelNumber", "1")),
    [](const auto& test) { return test.param.name; });

}  // namespace
