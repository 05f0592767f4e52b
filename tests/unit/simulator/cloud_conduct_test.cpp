// The cloud told to misbehave, and its end.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <thread>

#include "cloud/simulator.h"
#include "cloudclient.h"
#include "support/files.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using std::chrono::milliseconds;
using std::chrono::seconds;
using test::CloudRequest;
using test::RealUpload;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Clock = std::chrono::steady_clock;

constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";
constexpr char kRefused[] = R"({"status":1,"message":"refused"})";
constexpr seconds kLongEnough{10};

CloudRequest Login() {
  return CloudRequest::Json("/eqpapi/EqpAuthorize", R"({"sn":"S1","applyType":0})");
}

std::vector<std::string> Verdicts(const cloud::Simulator& simulator) {
  const std::vector<cloud::Exchange> exchanges = simulator.Exchanges();
  std::vector<std::string> verdicts(exchanges.size());
  std::transform(exchanges.begin(), exchanges.end(), verdicts.begin(),
                 [](const cloud::Exchange& exchange) { return exchange.verdict; });
  return verdicts;
}

TEST(CloudConduct, RefusesALoginTwiceAndGrantsItThen) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kAuthorize, {Behaviour::Refuse(), Behaviour::Refuse()});

  const std::string first = Ask(simulator.Port(), Login()).body;
  const std::string second = Ask(simulator.Port(), Login()).body;
  const std::string third = Ask(simulator.Port(), Login()).body;

  EXPECT_EQ(first, R"({"status":1,"message":"refused","data":[{"seqStatus":1}]})");
  EXPECT_EQ(second, first);
  EXPECT_EQ(third, R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})");
}

TEST(CloudConduct, LetsTheThirdOfFourUploadsFail) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kRealData,
                   {Behaviour::Normal(), Behaviour::Normal(), Behaviour::Refuse()});

  std::vector<std::string> answers(4);
  for (std::string& answer : answers) answer = Ask(simulator.Port(), RealUpload()).body;

  EXPECT_THAT(answers, ElementsAre(kAccepted, kAccepted, kRefused, kAccepted));
  EXPECT_THAT(simulator.AcceptedUploads(), SizeIs(3));
  EXPECT_THAT(Verdicts(simulator), ElementsAre("accepted", "accepted", "refused", "accepted"));
}

TEST(CloudConduct, FollowsTheScriptOfTheSettingsFromTheStart) {
  const cloud::Simulator simulator({.scripts = {{Endpoint::kRealData, {Behaviour::Refuse()}}}});

  EXPECT_EQ(Ask(simulator.Port(), RealUpload()).body, kRefused);
}

TEST(CloudConduct, CountsOnlyPostsToTheEndpointItself) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Refuse()});

  Ask(simulator.Port(), Login());
  Ask(simulator.Port(), RealUpload().Method("GET"));

  EXPECT_EQ(Ask(simulator.Port(), RealUpload()).body, kRefused);
}

TEST(CloudConduct, PutsRefusedUploadsAside) {
  const test::TemporaryFolder folder;
  cloud::Simulator simulator({.uploadFolder = folder.Path()});
  simulator.Script(Endpoint::kRealData, {Behaviour::Refuse()});

  Ask(simulator.Port(), RealUpload());

  EXPECT_THAT(test::List(folder.Path() + "/realdata"), IsEmpty());
  EXPECT_THAT(test::List(folder.Path() + "/refused/realdata"),
              ElementsAre("S20240301100000.tar.gz"));
}

TEST(CloudConduct, AnswersWithAnyHttpStatusAndBody) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Status(500, kAccepted)});

  const test::CloudAnswer answer = Ask(simulator.Port(), RealUpload());

  EXPECT_EQ(answer.StatusLine(), "HTTP/1.1 500 ");
  EXPECT_EQ(answer.body, kAccepted);
  EXPECT_THAT(simulator.AcceptedUploads(), IsEmpty());
  EXPECT_THAT(Verdicts(simulator), ElementsAre("answered HTTP 500"));
}

TEST(CloudConduct, AnswersWithAStatusAndNoBody) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kAuthorize, {Behaviour::Status(204), Behaviour::Status(404)});

  EXPECT_EQ(Ask(simulator.Port(), Login()).StatusLine(), "HTTP/1.1 204 ");
  const test::CloudAnswer second = Ask(simulator.Port(), Login());
  EXPECT_EQ(second.StatusLine(), "HTTP/1.1 404 Not Found");
  EXPECT_EQ(second.body, "");
}

TEST(CloudConduct, AnswersNonsense) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kSkipAddress, {Behaviour::Nonsense("{{{")});

  const test::CloudAnswer answer =
      Ask(simulator.Port(), CloudRequest::Json("/eqpapi/EqpSkipAddress", ""));

  EXPECT_EQ(answer.StatusLine(), "HTTP/1.1 200 OK");
  EXPECT_EQ(answer.body, "{{{");
  EXPECT_THAT(Verdicts(simulator), ElementsAre("answered nonsense"));
}

TEST(CloudConduct, ClosesWithoutAnAnswer) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Close()});

  const test::CloudAnswer answer = Ask(simulator.Port(), RealUpload());

  EXPECT_EQ(answer, test::CloudAnswer());
  EXPECT_THAT(Verdicts(simulator), ElementsAre("closed without an answer"));
}

TEST(CloudConduct, CutsTheBodyOfAnAnswerInHalfAndAcceptsNothing) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Cut()});

  const test::CloudAnswer answer = Ask(simulator.Port(), RealUpload());

  EXPECT_NE(answer.head.find("Content-Length: " + std::to_string(std::strlen(kAccepted))),
            std::string::npos);
  EXPECT_EQ(answer.body, std::string(kAccepted).substr(0, std::strlen(kAccepted) / 2));
  EXPECT_THAT(simulator.AcceptedUploads(), IsEmpty());
  EXPECT_THAT(Verdicts(simulator), ElementsAre("cut short"));
}

TEST(CloudConduct, SendsTheSecondHalfOfABodyLater) {
  constexpr milliseconds kPause{300};
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Pieces(kPause)});
  const test::CloudClient client(simulator.Port());
  const Clock::time_point start = Clock::now();
  client.Send(RealUpload().Bytes());

  const std::string first = client.ReceiveSome();
  const Clock::time_point between = Clock::now();
  const std::string second = client.Receive().head;

  EXPECT_LT(between - start, kPause);
  EXPECT_GE(Clock::now() - start, kPause);
  EXPECT_TRUE(first.ends_with(std::string(kAccepted).substr(0, std::strlen(kAccepted) / 2)));
  EXPECT_EQ(second, std::string(kAccepted).substr(std::strlen(kAccepted) / 2));
  EXPECT_THAT(simulator.AcceptedUploads(), SizeIs(1));
  EXPECT_THAT(Verdicts(simulator), ElementsAre("accepted in two pieces, 0.3 s apart"));
}

// What it is for: an endpoint and a sound request to it.
struct SoundRequest {
  Endpoint endpoint;
  CloudRequest request;
};

void PrintTo(const SoundRequest& row, std::ostream* out) {
  *out << cloud::Facts(row.endpoint).name;
}

class CloudEndpoints : public ::testing::TestWithParam<SoundRequest> {};

TEST_P(CloudEndpoints, AreRefusedAndFailedSeparately) {
  const auto& [endpoint, request] = GetParam();
  cloud::Simulator simulator({});
  simulator.Script(endpoint, {Behaviour::Refuse(), Behaviour::Status(503), Behaviour::Close(),
                              Behaviour::Nonsense("?"), Behaviour::Cut(), Behaviour::Normal()});
  for (const cloud::EndpointFacts& other : cloud::kEndpointFacts) {
    if (other.endpoint != endpoint) simulator.Script(other.endpoint, {Behaviour::Status(418)});
  }

  for (int i = 0; i < 6; ++i) Ask(simulator.Port(), request);

  EXPECT_THAT(Verdicts(simulator),
              ElementsAre("refused", "answered HTTP 503", "closed without an answer",
                          "answered nonsense", "cut short", "accepted"));
}

CloudRequest UploadOf(const char* path, const std::string& stem, const std::string& document) {
  return CloudRequest::Upload(path, stem + ".tar.gz", test::TarGz({{stem + ".dat", document}}));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudEndpoints,
    ::testing::Values(SoundRequest{Endpoint::kAuthorize, Login()},
                      SoundRequest{Endpoint::kSkipAddress, test::AddressCheck()},
                      SoundRequest{Endpoint::kRecallCheck, test::RecallCheck()},
                      SoundRequest{Endpoint::kRealData, RealUpload()},
                      SoundRequest{Endpoint::kAlarmData,
                                   UploadOf("/eqpapi/EqpUploadAlarmDataInfo", "T20240301100000",
                                            test::AlarmDocument())},
                      SoundRequest{Endpoint::kCallData, test::RecallUpload()}));

TEST(CloudConduct, StallsAndThenAnswersAsNormal) {
  constexpr milliseconds kStall{300};
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Stall(kStall)});
  const Clock::time_point start = Clock::now();

  const std::string answer = Ask(simulator.Port(), RealUpload()).body;

  EXPECT_EQ(answer, kAccepted);
  EXPECT_GE(Clock::now() - start, kStall);
  EXPECT_THAT(Verdicts(simulator), ElementsAre("accepted after 0.3 s"));
}

TEST(CloudConduct, ServesOthersWhileOneIsStalled) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Stall(seconds(600))});
  const test::CloudClient stalled(simulator.Port());
  stalled.Send(RealUpload().Bytes());
  ASSERT_TRUE(simulator.AwaitExchanges(1, kLongEnough));

  EXPECT_EQ(Ask(simulator.Port(), RealUpload()).body, kAccepted);
}

TEST(CloudConduct, EndsAStallWithoutAnAnswerWhenItStops) {
  cloud::Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Stall(seconds(600))});
  const test::CloudClient client(simulator.Port());
  client.Send(RealUpload().Bytes());
  ASSERT_TRUE(simulator.AwaitExchanges(1, kLongEnough));
  const Clock::time_point start = Clock::now();

  simulator.Stop();

  EXPECT_LT(Clock::now() - start, seconds(2));
  EXPECT_EQ(client.Receive(), test::CloudAnswer());
}

TEST(CloudEnd, DoesNotWaitForAnUnfinishedRequest) {
  cloud::Simulator simulator({});
  const test::CloudClient client(simulator.Port());
  client.Send("POST /eqpapi/EqpAuthorize HTTP/1.1\r\n");
  const Clock::time_point start = Clock::now();

  simulator.Stop();

  EXPECT_LT(Clock::now() - start, seconds(2));
}

TEST(CloudEnd, LeavesTheRecordsAndNoListener) {
  cloud::Simulator simulator({});
  Ask(simulator.Port(), RealUpload());
  const int port = simulator.Port();

  simulator.Stop();
  simulator.Stop();

  EXPECT_THAT(simulator.AcceptedUploads(), SizeIs(1));
  EXPECT_EQ(simulator.Port(), port);
}

TEST(CloudEnd, FreesThePort) {
  int port = 0;
  {
    const cloud::Simulator first({});
    port = first.Port();
    Ask(port, RealUpload());
  }

  const cloud::Simulator second({.port = port});

  EXPECT_EQ(second.Port(), port);
  EXPECT_EQ(Ask(port, RealUpload()).body, kAccepted);
}

TEST(CloudStart, FailsOnAPortInUse) {
  const cloud::Simulator first({});

  EXPECT_THAT([&] { const cloud::Simulator second({.port = first.Port()}); },
              ::testing::ThrowsMessage<std::system_error>(
                  "cannot listen on 127.0.0.1:" + std::to_string(first.Port()) +
                  ": Address already in use"));
}

TEST(CloudStart, ServesOnOtherLoopbackAddressesToo) {
  const cloud::Simulator first({});

  EXPECT_NO_THROW(const cloud::Simulator second({.address = "127.0.0.2", .port = first.Port()}));
}

class CloudAddresses : public ::testing::TestWithParam<const char*> {};

TEST_P(CloudAddresses, OutsideTheLoopbackAreRefused) {
  EXPECT_THROW(const cloud::Simulator simulator({.address = GetParam()}), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(Rows, CloudAddresses,
                         ::testing::Values("0.0.0.0", "192.168.1.100", "128.0.0.1", "::1",
                                           "localhost", "127.0.0.1x", ""));

TEST(CloudStart, FailsWithoutAFolderForUploads) {
  EXPECT_THROW(const cloud::Simulator simulator({.uploadFolder = "/dev/null/uploads"}),
               std::filesystem::filesystem_error);
}

TEST(CloudConcurrency, EightGatewaysUploadAtOnce) {
  constexpr int kGateways = 8;
  constexpr int kUploads = 10;
  const test::TemporaryFolder folder;
  const cloud::Simulator simulator({.uploadFolder = folder.Path()});
  std::vector<std::thread> gateways;
  gateways.reserve(kGateways);

  for (int gateway = 0; gateway < kGateways; ++gateway) {
    gateways.emplace_back([&simulator, gateway] {
      for (int i = 0; i < kUploads; ++i) {
        Ask(simulator.Port(),
            RealUpload("202403011000" + std::to_string(gateway) + std::to_string(i)));
      }
    });
  }
  for (std::thread& gateway : gateways) gateway.join();

  EXPECT_THAT(simulator.AcceptedUploads(), SizeIs(kGateways * kUploads));
  EXPECT_THAT(test::List(folder.Path() + "/realdata"), SizeIs(kGateways * kUploads));
}

}  // namespace
