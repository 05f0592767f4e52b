// The address check, whose answer may redirect data traffic.
#include <gmock/gmock.h>

#include <vector>

#include "cloudfixture.h"
#include "config/sysset.h"
#include "service/answerguard.h"
#include "service/cloudlink.h"
#include "service/uploaddrivers.h"
#include "support/clock.h"
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

constexpr std::int32_t kUntouched = 7;
constexpr char kUploadRealData[] = "/eqpapi/EqpUploadDataInfo";
constexpr char kRealFile[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz";

// The answer that sends data traffic to these addresses, one after the other.
std::string Redirect(const std::vector<std::string>& addresses) {
  std::string elements;
  for (const auto& address : addresses) {
    elements += (elements.empty() ? "" : ",") + R"({"realIpAddress":")"s + address + "\"}";
  }
  return R"({"status":0,"message":"ok","data":[)" + elements + "]}";
}

std::string AddressInUse() {
  return GetCSysSetInstance().GetRealIpAddress();
}

class AddressCheck : public test::CloudTest {};

TEST_F(AddressCheck, PostsNothingToTheSkipAddressEndpoint) {
  m_cloud.Answer(HttpAnswer(200, Redirect({})));

  EXPECT_EQ(HTTP_POST_SKIP_ADDRESS_INFO(), 0);
  const auto requests = m_cloud.Requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].Line(), "POST /cloud/eqpapi/EqpSkipAddress HTTP/1.1");
  EXPECT_THAT(requests[0].Headers(), Contains("Content-Length: 0"));
  EXPECT_EQ(requests[0].body, "");
}

TEST_F(AddressCheck, RedirectsDataTraffic) {
  m_cloud.Answer(HttpAnswer(200, Redirect({"10.1.2.3:8080"})));

  EXPECT_EQ(HTTP_POST_SKIP_ADDRESS_INFO(), 0);
  EXPECT_EQ(AddressInUse(), "10.1.2.3");
}

TEST_F(AddressCheck, TellsTheAnswer) {
  const std::string answer = Redirect({"10.1.2.3:8080"});
  m_cloud.Answer(HttpAnswer(200, answer));

  HTTP_POST_SKIP_ADDRESS_INFO();

  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", "Skip Address Receive Response:\n" + answer},
                          LogRecord{"INFO", "real IP has become 10.1.2.3"}));
}

TEST_F(AddressCheck, GoesToTheConfiguredAddressAlsoOnceRedirected) {
  m_cloud.Answer(HttpAnswer(200, Redirect({"127.0.0.2"})));
  m_cloud.Answer(HttpAnswer(200, Redirect({"127.0.0.3"})));
  HTTP_POST_SKIP_ADDRESS_INFO();

  EXPECT_EQ(HTTP_POST_SKIP_ADDRESS_INFO(), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(2));
  EXPECT_EQ(AddressInUse(), "127.0.0.3");
}

TEST_F(AddressCheck, LeavesTheLoginAtTheConfiguredAddress) {
  m_cloud.Answer(HttpAnswer(200, Redirect({"127.0.0.2"})));
  m_cloud.Answer(HttpAnswer(200, R"({"status":0,"message":"","data":[{"seqStatus":0}]})"));
  HTTP_POST_SKIP_ADDRESS_INFO();

  EXPECT_EQ(PrePost(), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(2));
}

// Without its file nothing is sent, but the start is told all the same.
TEST_F(AddressCheck, MovesUploadsToTheHostWithTheConfiguredPortAndPrefix) {
  test::Load(CloudAt(m_cloud.Port()));
  m_cloud.Answer(HttpAnswer(200, Redirect({"10.1.2.3:8080"})));
  HTTP_POST_SKIP_ADDRESS_INFO();
  test::DiscardLogs();

  UploadRealDataFile(kRealFile);

  EXPECT_EQ(test::TextLog("INFO").front(),
            std::string("start Send realdata ") + kRealFile + " to http://10.1.2.3:" +
                std::to_string(m_cloud.Port()) + "/cloud" + kUploadRealData + " \n");
}

TEST_F(AddressCheck, MovesRecallChecksAsWell) {
  m_cloud.Answer(HttpAnswer(200, Redirect({"127.0.0.2"})));  // where nobody listens
  HTTP_POST_SKIP_ADDRESS_INFO();
  ST_CHECKCALL_ACK order{};

  EXPECT_EQ(CheckDemandRecall(&order), -1);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

TEST_F(AddressCheck, BringsDataTrafficBackToo) {
  m_cloud.Answer(HttpAnswer(200, Redirect({"127.0.0.2"})));
  m_cloud.Answer(HttpAnswer(200, Redirect({"127.0.0.1"})));
  m_cloud.Answer(HttpAnswer(200, R"({"status":0,"data":[]})"));
  HTTP_POST_SKIP_ADDRESS_INFO();
  HTTP_POST_SKIP_ADDRESS_INFO();
  ST_CHECKCALL_ACK order{};

  EXPECT_EQ(CheckDemandRecall(&order), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(3));
}

struct Answer {
  const char* name;
  RawServer::Pieces pieces;
  int result;
  const char* address;  // in use afterwards
};

void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.name;
}

class AddressCheckAnswer : public AddressCheck, public ::testing::WithParamInterface<Answer> {};

TEST_P(AddressCheckAnswer, GivesTheTransfersResult) {
  m_cloud.Answer(GetParam().pieces);

  EXPECT_EQ(HTTP_POST_SKIP_ADDRESS_INFO(), GetParam().result);
  EXPECT_EQ(AddressInUse(), GetParam().address);
}

TEST_P(AddressCheckAnswer, IsNoFailureOfTheHeartbeat) {
  m_cloud.Answer(GetParam().pieces);

  EXPECT_EQ(SyncHeartBeat(), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
  EXPECT_EQ(AddressInUse(), GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, AddressCheckAnswer,
    ::testing::Values(
        Answer{"Status200", {HttpAnswer(200, Redirect({"10.1.2.3"}))}, 0, "10.1.2.3"},
        Answer{"Status201", {HttpAnswer(201, Redirect({"10.1.2.3"}))}, 0, "10.1.2.3"},
        // The answer takes effect whatever the status.
        Answer{"Status500", {HttpAnswer(500, Redirect({"10.1.2.3"}))}, -1, "10.1.2.3"},
        Answer{"Status302", {HttpAnswer(302, Redirect({"10.1.2.3"}))}, -1, "10.1.2.3"},
        Answer{"Silent", {}, -1, "127.0.0.1"},
        Answer{"Garbage", {"garbage\r\n\r\n"}, -1, "127.0.0.1"},
        // Only the server's status counts, not what it says.
        Answer{"EmptyAnswer", {HttpAnswer(200, "")}, 0, "127.0.0.1"},
        Answer{"NoJson", {HttpAnswer(200, "<html></html>")}, 0, "127.0.0.1"},
        Answer{"NoData", {HttpAnswer(200, R"({"status":0,"message":""})")}, 0, "127.0.0.1"},
        Answer{"WrongType",
               {HttpAnswer(200, R"({"status":0,"message":"","data":5})")},
               0,
               "127.0.0.1"},
        Answer{
            "NestedTenThousandTimes", {HttpAnswer(200, std::string(10000, '['))}, 0, "127.0.0.1"},
        Answer{"InTwoPieces",
               {"HTTP/1.1 200 OK\r\nContent-Length: 65\r\n\r\n{\"status\":0,\"message\":\"ok\",",
                "\"data\":[{\"realIpAddress\":\"10.1.2.3\"}]}"},
               0,
               "127.0.0.1"}),
    [](const auto& test) { return test.param.name; });

TEST_F(AddressCheck, WithNobodyFailsAndLeavesTheAddress) {
  test::Load(CloudAt(RawServer().Port()));
  test::DiscardLogs();

  EXPECT_EQ(HTTP_POST_SKIP_ADDRESS_INFO(), -1);
  EXPECT_EQ(AddressInUse(), "127.0.0.1");
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN",
                                    "curl_easy_perform() failed when post: Couldn't connect to "
                                    "server,httpcode =0"}));
}

TEST_F(AddressCheck, WithoutAHandleFails) {
  test::FailCalls(test::Call::kCurlEasyInit);

  EXPECT_EQ(HTTP_POST_SKIP_ADDRESS_INFO(), -1);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
}

TEST_F(AddressCheck, DoesNotPause) {
  m_cloud.Answer(HttpAnswer(200, Redirect({"10.1.2.3"})));

  SyncHeartBeat();

  EXPECT_THAT(test::Pauses(), IsEmpty());
}

TEST_F(AddressCheck, OfTheHeartbeatNeverFails) {
  test::FailCalls(test::Call::kCurlEasyInit);

  EXPECT_EQ(SyncHeartBeat(), 0);
}

class SkipAddressAnswer : public test::CloudTest {
 protected:
  // The handler's verdict on these bytes, which stand in memory of exactly their size.
  std::size_t Judge(const std::string& text) {
    std::vector<char> bytes(text.begin(), text.end());
    return OnSkipAddressAnswer(bytes.data(), 1, bytes.size(), &m_flag);
  }

  std::int32_t m_flag = kUntouched;
};

struct Text {
  const char* name;
  std::string text;
  std::string address;  // in use afterwards
};

void PrintTo(const Text& text, std::ostream* out) {
  *out << text.text.substr(0, 100);
}

class UsableSkipAddressAnswer : public SkipAddressAnswer,
                                public ::testing::WithParamInterface<Text> {};

TEST_P(UsableSkipAddressAnswer, SetsTheFlagAndTheAddress) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
  EXPECT_EQ(AddressInUse(), GetParam().address);
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, UsableSkipAddressAnswer,
    ::testing::Values(
        Text{"WithPort", Redirect({"192.0.2.7:8080"}), "192.0.2.7"},
        Text{"WithoutPort", Redirect({"192.0.2.7"}), "192.0.2.7"},
        Text{"OfTwo", Redirect({"192.0.2.7", "192.0.2.8:1"}), "192.0.2.8"},
        Text{"OfNone", Redirect({}), "127.0.0.1"},
        Text{"WithoutHost", Redirect({":8080"}), "127.0.0.1"},
        Text{"Empty", Redirect({""}), "127.0.0.1"},
        // Its status is not consulted.
        Text{"Status5", R"({"status":5,"message":"no","data":[{"realIpAddress":"192.0.2.7"}]})",
             "192.0.2.7"},
        Text{"RubbishBehindAZero", Redirect({"192.0.2.7"}) + "\0rubbish"s, "192.0.2.7"}),
    [](const auto& test) { return test.param.name; });

class UnusableSkipAddressAnswer : public SkipAddressAnswer,
                                  public ::testing::WithParamInterface<Text> {};

TEST_P(UnusableSkipAddressAnswer, LeavesTheFlag) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_EQ(AddressInUse(), GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, UnusableSkipAddressAnswer,
    ::testing::Values(Text{"Nothing", "", "127.0.0.1"},
                      Text{"NoJson", "{realIpAddress}", "127.0.0.1"},
                      Text{"FirstPiece", R"({"status":0,"message":"","data":[)", "127.0.0.1"},
                      // The element before the faulty one has taken effect.
                      Text{"SecondWithoutAddress",
                           R"({"status":0,"message":"","data":[{"realIpAddress":"192.0.2.7"},{}]})",
                           "192.0.2.7"},
                      Text{"SecondOfTheWrongType",
                           R"({"status":0,"message":"","data":[{"realIpAddress":"192.0.2.7"},)"
                           R"({"realIpAddress":8}]})",
                           "192.0.2.7"}),
    [](const auto& test) { return test.param.name; });

struct Complaint {
  const char* name;
  std::string text;
  std::string words;
};

void PrintTo(const Complaint& complaint, std::ostream* out) {
  *out << complaint.text.substr(0, 100);
}

class FaultySkipAddressAnswer : public SkipAddressAnswer,
                                public ::testing::WithParamInterface<Complaint> {};

TEST_P(FaultySkipAddressAnswer, IsComplainedOf) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_EQ(AddressInUse(), "127.0.0.1");
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(GetParam().words));
}

Complaint Missing(const char* name, const std::string& text) {
  return {name, text, "SkipAddress recv:" + text + " ,missing Member"};
}

Complaint WronglyTyped(const char* name, const std::string& text) {
  return {name, text,
          "answer with a member missing or of the wrong type (rapidjson exception):" + text};
}

INSTANTIATE_TEST_SUITE_P(
    Answers, FaultySkipAddressAnswer,
    ::testing::Values(
        Missing("NoData", R"({"status":0,"message":"ok"})"),
        Missing("NoStatus", R"({"message":"ok","data":[]})"),
        Missing("NoMessage", R"({"status":0,"data":[]})"), Missing("Empty", "{}"),
        Complaint{"NoAddress", R"({"status":0,"message":"","data":[{}]})",
                  "SkipAddress missing realIpAddress Member"},
        WronglyTyped("DataObject", R"({"status":0,"message":"","data":{}})"),
        WronglyTyped("DataOfNumbers", R"({"status":0,"message":"","data":[0]})"),
        WronglyTyped("AddressNumber", R"({"status":0,"message":"","data":[{"realIpAddress":1}]})"),
        WronglyTyped("AddressNull", R"({"status":0,"message":"","data":[{"realIpAddress":null}]})"),
        WronglyTyped("StatusText", R"({"status":"0","message":"","data":[]})"),
        WronglyTyped("MessageNumber", R"({"status":0,"message":1,"data":[]})"),
        WronglyTyped("TopLevelArray", "[]"), WronglyTyped("TopLevelNumber", "1")),
    [](const auto& test) { return test.param.name; });

TEST_F(SkipAddressAnswer, IsAsLongAsSizeTimesCount) {
  std::string text = Redirect({"192.0.2.7"});
  ASSERT_EQ(text.size() % 3, 0U) << text.size();
  const std::size_t length = text.size();
  text += "}}}";

  EXPECT_EQ(OnSkipAddressAnswer(text.data(), 3, length / 3, &m_flag), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
}

TEST_F(SkipAddressAnswer, WithPercentSignsIsToldAsItIs) {
  Judge("%s%n%d");

  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", "Skip Address Receive Response:\n%s%n%d"}));
}

}  // namespace
