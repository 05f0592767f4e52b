// The login, and the address check, whose answer may redirect data traffic.
#include <gmock/gmock.h>

#include "cloudfixture.h"
#include "config/sysset.h"
#include "http/answercallback.h"
#include "service/cloudlink.h"
#include "support/logs.h"

namespace {

using namespace test;
using namespace testing;

constexpr char kGranted[] = R"({"status":5,"message":"ok","data":[{"seqStatus":0}]})";
constexpr char kRefused[] = R"({"status":0,"message":"ok","data":[{"seqStatus":1}]})";

class Login : public CloudTest {};

TEST_F(Login, PostsTheSerialNumberToTheConfiguredAddressAlsoOnceRedirected) {
  GetCSysSetInstance().SetRealIPAddress("127.0.0.2");

  HTTP_POST_AUTHORIZE_INFO();

  EXPECT_EQ(Request(), R"(/cloud/eqpapi/EqpAuthorize {"sn":"S1","applyType":0})");
}

TEST_F(Login, LogsThatItWasGranted) {
  m_cloud.Answer(HttpAnswer(200, kGranted));

  EXPECT_EQ(PrePost(), 0);
  EXPECT_THAT(TextLog(),
              ElementsAre(LogRecord{"INFO", std::string("Auth Receive Response:\n") + kGranted},
                          LogRecord{"INFO", "Post Authorize Info Successfully\n"}));
}

TEST_F(Login, LogsThatItFailed) {
  m_cloud.Answer(HttpAnswer(200, kRefused));

  EXPECT_EQ(PrePost(), -1);
  EXPECT_THAT(TextLog("WARN"), ElementsAre("Post Authorize Info failed\n"));
}

TEST_F(Login, FailsBesideAnHttpErrorAlsoWhenGrantedAndWithoutAnAnswer) {
  m_cloud.Answer(HttpAnswer(500, kGranted)).Answer(HttpAnswer(200, ""));

  EXPECT_EQ(HTTP_POST_AUTHORIZE_INFO(), -1);
  EXPECT_EQ(HTTP_POST_AUTHORIZE_INFO(), -1);
}

TEST_F(Login, FailsWithAnAnswerInTwoPieces) {
  const std::string answer = kGranted;
  const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 52\r\n\r\n";
  m_cloud.Answer(RawServer::Pieces{head + answer.substr(0, 20), answer.substr(20)});

  EXPECT_EQ(HTTP_POST_AUTHORIZE_INFO(), -1);
}

using AuthorizeAnswer = AnswerTest<OnAuthorizeAnswer>;

TEST_F(AuthorizeAnswer, SetsTheFlagWhenItsSeqStatusIsZero) {
  EXPECT_EQ(Judge(kGranted), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
}

TEST_F(AuthorizeAnswer, LeavesTheFlagWhenItDoesNotAuthorise) {
  for (const char* answer : {kRefused, R"({"status":0,"message":"","data":[{"seqStatus":-1}]})",
                             R"({"status":0,"message":"","data":[]})", "{}", "no JSON", "",
                             R"({"status":"x","message":"","data":[{"seqStatus":0}]})"}) {
    SCOPED_TRACE(answer);

    EXPECT_EQ(Judge(answer), kVerdictRejected);
    EXPECT_EQ(m_flag, kUntouched);
  }
  EXPECT_THAT(TextLog("WARN"), Contains(HasSubstr(R"({"status":"x")")));
}

constexpr char kRedirect[] =
    R"({"status":5,"message":"ok","data":[{"realIpAddress":"10.1.2.3:8080"}]})";

class AddressCheck : public CloudTest {};

TEST_F(AddressCheck, PostsNothingToTheConfiguredAddressAlsoOnceRedirected) {
  GetCSysSetInstance().SetRealIPAddress("127.0.0.2");

  HTTP_POST_SKIP_ADDRESS_INFO();

  EXPECT_EQ(Request(), "/cloud/eqpapi/EqpSkipAddress ");
}

TEST_F(AddressCheck, LogsTheAnswer) {
  m_cloud.Answer(HttpAnswer(200, kRedirect));

  HTTP_POST_SKIP_ADDRESS_INFO();

  EXPECT_EQ(TextLog().front(),
            (LogRecord{"INFO", std::string("Skip Address Receive Response:\n") + kRedirect}));
}

struct Answer {
  const char* name;
  RawServer::Pieces pieces;
  int result;
  const char* address;  // in use afterwards
};

class AddressCheckAnswer : public AddressCheck, public WithParamInterface<Answer> {};

TEST_P(AddressCheckAnswer, GivesTheTransfersResult) {
  m_cloud.Answer(GetParam().pieces);

  EXPECT_EQ(HTTP_POST_SKIP_ADDRESS_INFO(), GetParam().result);
  EXPECT_EQ(AddressInUse(), GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, AddressCheckAnswer,
    ::testing::Values(Answer{"Status200", {HttpAnswer(200, kRedirect)}, 0, "10.1.2.3"},
                      // A redirect takes effect whatever the status.
                      Answer{"Status500", {HttpAnswer(500, kRedirect)}, -1, "10.1.2.3"},
                      Answer{"Silent", {}, -1, "127.0.0.1"},
                      // Only the server's status counts, not what it says.
                      Answer{"NoJson", {HttpAnswer(200, "<html></html>")}, 0, "127.0.0.1"}),
    [](const auto& test) { return test.param.name; });

TEST_F(AddressCheck, NeverFailsForTheHeartbeat) {
  EXPECT_EQ(SyncHeartBeat(), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

using SkipAddressAnswer = AnswerTest<OnSkipAddressAnswer>;

TEST_F(SkipAddressAnswer, SetsTheFlagAndTheAddress) {
  EXPECT_EQ(Judge(kRedirect), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
  EXPECT_EQ(AddressInUse(), "10.1.2.3");
}

TEST_F(SkipAddressAnswer, LeavesTheFlagWhenItCannotBeParsed) {
  for (const char* answer : {"{}", "no JSON", "", R"({"status":"x","message":"","data":[]})"}) {
    SCOPED_TRACE(answer);

    EXPECT_EQ(Judge(answer), kVerdictRejected);
    EXPECT_EQ(m_flag, kUntouched);
  }
  EXPECT_THAT(TextLog("WARN"), Contains(HasSubstr(R"({"status":"x")")));
}

}  // namespace
