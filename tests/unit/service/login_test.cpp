// The login.
#include <gmock/gmock.h>

#include "cloudfixture.h"
#include "config/sysset.h"
#include "http/answercallback.h"
#include "service/cloudlink.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

using test::HttpAnswer;
using test::kUntouched;
using test::LogRecord;

constexpr char kGranted[] = R"({"status":5,"message":"ok","data":[{"seqStatus":0}]})";
constexpr char kRefused[] = R"({"status":0,"message":"ok","data":[{"seqStatus":1}]})";

class Login : public test::CloudTest {};

TEST_F(Login, PostsTheSerialNumberToTheConfiguredAddressAlsoOnceRedirected) {
  GetCSysSetInstance().SetRealIPAddress("127.0.0.2");

  HTTP_POST_AUTHORIZE_INFO();

  EXPECT_EQ(Request(), R"(/cloud/eqpapi/EqpAuthorize {"sn":"S1","applyType":0})");
}

TEST_F(Login, LogsThatItWasGranted) {
  m_cloud.Answer(HttpAnswer(200, kGranted));

  EXPECT_EQ(PrePost(), 0);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", std::string("Auth Receive Response:\n") + kGranted},
                          LogRecord{"INFO", "Post Authorize Info Successfully\n"}));
}

TEST_F(Login, LogsThatItFailed) {
  m_cloud.Answer(HttpAnswer(200, kRefused));

  EXPECT_EQ(PrePost(), -1);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre("Post Authorize Info failed\n"));
}

TEST_F(Login, FailsBesideAnHttpErrorAlsoWhenGrantedAndWithoutAnAnswer) {
  m_cloud.Answer(HttpAnswer(500, kGranted)).Answer(HttpAnswer(200, ""));

  EXPECT_EQ(HTTP_POST_AUTHORIZE_INFO(), -1);
  EXPECT_EQ(HTTP_POST_AUTHORIZE_INFO(), -1);
}

TEST_F(Login, FailsWithAnAnswerInTwoPieces) {
  const std::string answer = kGranted;
  const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 52\r\n\r\n";
  m_cloud.Answer(test::RawServer::Pieces{head + answer.substr(0, 20), answer.substr(20)});

  EXPECT_EQ(HTTP_POST_AUTHORIZE_INFO(), -1);
}

class AuthorizeAnswer : public test::GatewayTest {
 protected:
  std::size_t Judge(const std::string& answer) {
    return test::Judge(OnAuthorizeAnswer, answer, &m_flag);
  }

  std::int32_t m_flag = kUntouched;
};

TEST_F(AuthorizeAnswer, SetsTheFlagWhenItsSeqStatusIsZero) {
  EXPECT_EQ(Judge(kGranted), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
}

TEST_F(AuthorizeAnswer, LeavesTheFlagWhenItDoesNotAuthorise) {
  for (const char* answer : {kRefused, R"({"status":0,"message":"","data":[{"seqStatus":-1}]})",
                             R"({"status":0,"message":"","data":[]})", "{}", "no JSON", ""}) {
    SCOPED_TRACE(answer);

    EXPECT_EQ(Judge(answer), kVerdictRejected);
    EXPECT_EQ(m_flag, kUntouched);
  }
}

TEST_F(AuthorizeAnswer, LeavesTheFlagWhenTheParserThrows) {
  EXPECT_EQ(Judge(R"({"status":"x","message":"","data":[{"seqStatus":0}]})"), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(HasSubstr(R"({"status":"x")")));
}

}  // namespace
