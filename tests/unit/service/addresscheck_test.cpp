// The address check, whose answer may redirect data traffic.
#include <gmock/gmock.h>

#include "cloudfixture.h"
#include "config/sysset.h"
#include "http/answercallback.h"
#include "service/cloudlink.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

namespace {

using test::AddressInUse;
using test::HttpAnswer;
using test::kUntouched;
using test::LogRecord;
using test::RawServer;

constexpr char kRedirect[] =
    R"({"status":5,"message":"ok","data":[{"realIpAddress":"10.1.2.3:8080"}]})";

class AddressCheck : public test::CloudTest {};

TEST_F(AddressCheck, PostsNothingToTheConfiguredAddressAlsoOnceRedirected) {
  GetCSysSetInstance().SetRealIPAddress("127.0.0.2");

  HTTP_POST_SKIP_ADDRESS_INFO();

  EXPECT_EQ(Request(), "/cloud/eqpapi/EqpSkipAddress ");
}

TEST_F(AddressCheck, LogsTheAnswer) {
  m_cloud.Answer(HttpAnswer(200, kRedirect));

  HTTP_POST_SKIP_ADDRESS_INFO();

  EXPECT_EQ(test::TextLog().front(),
            (LogRecord{"INFO", std::string("Skip Address Receive Response:\n") + kRedirect}));
}

struct Answer {
  const char* name;
  RawServer::Pieces pieces;
  int result;
  const char* address;  // in use afterwards
};

class AddressCheckAnswer : public AddressCheck, public ::testing::WithParamInterface<Answer> {};

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

class SkipAddressAnswer : public test::CloudTest {
 protected:
  std::size_t Judge(const std::string& answer) {
    return test::Judge(OnSkipAddressAnswer, answer, &m_flag);
  }

  std::int32_t m_flag = kUntouched;
};

TEST_F(SkipAddressAnswer, SetsTheFlagAndTheAddress) {
  EXPECT_EQ(Judge(kRedirect), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
  EXPECT_EQ(AddressInUse(), "10.1.2.3");
}

TEST_F(SkipAddressAnswer, LeavesTheFlagWhenItCannotBeParsed) {
  for (const char* answer : {"{}", "no JSON", ""}) {
    SCOPED_TRACE(answer);

    EXPECT_EQ(Judge(answer), kVerdictRejected);
    EXPECT_EQ(m_flag, kUntouched);
  }
}

TEST_F(SkipAddressAnswer, LeavesTheFlagWhenTheParserThrows) {
  EXPECT_EQ(Judge(R"({"status":"x","message":"","data":[]})"), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(HasSubstr(R"({"status":"x")")));
}

}  // namespace
