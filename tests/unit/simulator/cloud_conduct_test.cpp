// The cloud does what it is told: misbehaves by a script, redirects, prints its lines, and stops.
#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "cloudclient.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using cloud::Simulator;
using std::chrono::milliseconds;
using std::chrono::seconds;
using test::AddressCheck;
using test::Ask;
using test::Login;
using test::RealUpload;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

using Clock = std::chrono::steady_clock;

constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";
constexpr char kFirstHalf[] = R"({"status":0,")";
constexpr char kSecondHalf[] = R"(message":"ok"})";
constexpr char kSecond[] = "127.0.0.2";

// A behaviour, as an item of the command line, and what it makes of the answer to an upload.
struct Conduct {
  const char* name;
  const char* item;
  Behaviour behaviour;
  const char* statusLine;
  const char* body;
  bool accepted;
};

void PrintTo(const Conduct& row, std::ostream* out) {
  *out << row.item;
}

class CloudBehaviour : public ::testing::TestWithParam<Conduct> {};

TEST_P(CloudBehaviour, ShapesTheAnswer) {
  const Conduct& row = GetParam();
  EXPECT_THAT(cloud::ParseBehaviours(row.item), ElementsAre(row.behaviour));
  Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {row.behaviour});

  const test::CloudAnswer answer = Ask(simulator.Port(), RealUpload());

  EXPECT_EQ(answer.StatusLine(), row.statusLine);
  EXPECT_EQ(answer.body, row.body);
  EXPECT_EQ(simulator.Exchanges().at(0).accepted, row.accepted);
}

constexpr char kOk[] = "HTTP/1.1 200 OK";

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudBehaviour,
    ::testing::Values(
        Conduct{"Ok", "ok", Behaviour::Normal(), kOk, kAccepted, true},
        Conduct{"Refuse", "refuse", Behaviour::Refuse(), kOk, R"({"status":1,"message":"refused"})",
                false},
        Conduct{"Status", "http:204", Behaviour::Status(204), "HTTP/1.1 204 ", "", false},
        Conduct{"StatusAndBody", R"(http:500:'{"status":0,"message":"ok"}')",
                Behaviour::Status(500, kAccepted), "HTTP/1.1 500 ", kAccepted, false},
        Conduct{"Nonsense", "nonsense:'a,b*2:c'", Behaviour::Nonsense("a,b*2:c"), kOk, "a,b*2:c",
                false},
        Conduct{"QuotesInAText", R"(nonsense:"it's ""so""")", Behaviour::Nonsense(R"(it's "so")"),
                kOk, R"(it's "so")", false},
        Conduct{"Stall", "stall:0.05", Behaviour::Stall(milliseconds(50)), kOk, kAccepted, true},
        Conduct{"Pieces", "pieces:0.05", Behaviour::Pieces(milliseconds(50)), kOk, kAccepted, true},
        Conduct{"Cut", "cut", Behaviour::Cut(), kOk, kFirstHalf, false},
        Conduct{"Close", "close", Behaviour::Close(), "", "", false}),
    [](const auto& row) { return row.param.name; });

TEST(CloudBehaviours, ReadsAListInOrderWithItsCounts) {
  EXPECT_THAT(cloud::ParseBehaviours("ok*2,refuse,close*2"),
              ElementsAre(Behaviour::Normal(), Behaviour::Normal(), Behaviour::Refuse(),
                          Behaviour::Close(), Behaviour::Close()));
  EXPECT_THAT(cloud::ParseBehaviours("ok*10000"), SizeIs(10000));
  EXPECT_EQ(cloud::ParseBehaviours("pieces").at(0).stall, milliseconds(200));
  EXPECT_NE(cloud::ParseBehaviours("nonsense").at(0).text, "");
}

TEST(CloudBehaviours, RefusesListsThatMakeNoSense) {
  for (const char* list :
       {"",         "ok,accept",     "ok,",         "ok*0",     "ok*,ok",
        "ok*10001", "ok*10000,ok",   "http",        "http:199", "http:600",
        "http:5x0", "http:500:busy", "nonsense:'a", "stall",    "stall:600.1",
        "stall:-1", "stall:nan",     "pieces:601",  "cut:1",    "nonsense:'a'b"}) {
    EXPECT_THROW(cloud::ParseBehaviours(list), std::invalid_argument) << list;
  }
}

TEST(CloudScript, IsUsedUpInOrderForEachEndpointAlone) {
  Simulator simulator({.scripts = {{Endpoint::kAuthorize, {Behaviour::Refuse()}}}});
  simulator.Script(Endpoint::kAuthorize, {Behaviour::Status(503)});
  simulator.Script(Endpoint::kRealData, {Behaviour::Close()});
  std::vector<std::string> answers;

  Ask(simulator.Port(), AddressCheck());
  Ask(simulator.Port(), test::Replaced(Login(), "POST", "GET"));
  for (int i = 0; i < 3; ++i) answers.push_back(Ask(simulator.Port(), Login()).body);

  EXPECT_THAT(answers, ElementsAre(R"({"status":1,"message":"refused","data":[{"seqStatus":1}]})",
                                   "", R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})"));
}

TEST(CloudSimulator, HoldsAStalledAnswerBackAndServesOthersMeanwhile) {
  Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Stall(milliseconds(300))});
  const test::CloudClient stalled(simulator.Port());
  const Clock::time_point start = Clock::now();
  stalled.Send(RealUpload());
  ASSERT_TRUE(simulator.AwaitExchanges(1, seconds(10)));

  EXPECT_EQ(Ask(simulator.Port(), RealUpload()).body, kAccepted);
  EXPECT_EQ(stalled.Receive().body, kAccepted);
  EXPECT_GE(Clock::now() - start, milliseconds(300));
}

TEST(CloudSimulator, SendsTheSecondPieceLater) {
  Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Pieces(milliseconds(300))});
  const test::CloudClient client(simulator.Port());
  client.Send(RealUpload());

  const std::string first = client.ReceiveSome();
  const Clock::time_point between = Clock::now();
  const std::string second = client.Receive().head;

  EXPECT_TRUE(first.ends_with(kFirstHalf)) << first;
  EXPECT_EQ(second, kSecondHalf);
  EXPECT_GE(Clock::now() - between, milliseconds(200));
}

TEST(CloudSimulator, StopsAtOnceDuringAStallAndAnUnfinishedRequest) {
  Simulator simulator({});
  const int port = simulator.Port();
  simulator.Script(Endpoint::kRealData, {Behaviour::Stall(seconds(600))});
  const test::CloudClient stalled(port);
  stalled.Send(RealUpload());
  const test::CloudClient unfinished(port);
  unfinished.Send("POST /eqp");
  ASSERT_TRUE(simulator.AwaitExchanges(1, seconds(10)));
  const Clock::time_point start = Clock::now();

  simulator.Stop();
  simulator.Stop();

  EXPECT_LT(Clock::now() - start, seconds(5));
  EXPECT_EQ(stalled.Receive().head, "");
  EXPECT_THAT(simulator.AcceptedUploads(), SizeIs(1));
}

TEST(CloudSimulator, RedirectsAtTheAddressCheckFromNowOn) {
  Simulator simulator({.redirect = "127.0.0.2:8080"});
  const std::string redirected = Ask(simulator.Port(), AddressCheck()).body;
  const std::string other = Ask(simulator.Port(), test::RecallCheck()).body;
  const std::string faulty =
      Ask(simulator.Port(), test::JsonRequest("/eqpapi/EqpSkipAddress", "x")).body;

  simulator.Redirect("");

  EXPECT_EQ(redirected,
            R"({"status":0,"message":"ok","data":[{"realIpAddress":"127.0.0.2:8080"}]})");
  EXPECT_EQ(simulator.Exchanges().at(0).redirect, "127.0.0.2:8080");
  EXPECT_EQ(other, R"({"status":0,"message":"ok","data":[]})");
  EXPECT_THAT(faulty, HasSubstr(R"("data":[])"));
  EXPECT_EQ(Ask(simulator.Port(), AddressCheck()).body, other);
}

TEST(CloudSimulator, ServesItsSecondAddressOnTheSamePort) {
  const Simulator simulator({.secondAddress = kSecond});

  Ask(simulator.Port(), RealUpload());
  EXPECT_EQ(Ask(simulator.Port(), RealUpload(), kSecond).body, kAccepted);

  const auto exchanges = simulator.Exchanges();
  ASSERT_THAT(exchanges, SizeIs(2));
  EXPECT_EQ(exchanges[0].address, "127.0.0.1");
  EXPECT_EQ(exchanges[1].address, kSecond);
}

// Scripts read these lines.
TEST(CloudSimulator, PrintsALineForEachExchange) {
  std::ostringstream printed;
  Simulator simulator(
      {.secondAddress = kSecond, .lines = &printed, .redirect = kSecond, .orders = {{.id = 7}}});
  simulator.Script(Endpoint::kAuthorize, {Behaviour::Status(500)});

  Ask(simulator.Port(), Login());
  Ask(simulator.Port(), AddressCheck());
  Ask(simulator.Port(), test::RecallCheck("\\u001bS1"), kSecond);
  Ask(simulator.Port(), RealUpload());
  Ask(simulator.Port(), test::RecallUpload());
  Ask(simulator.Port(), "GET /other HTTP/1.1\r\n\r\n");
  simulator.Stop();

  const std::string port = std::to_string(simulator.Port());
  EXPECT_THAT(
      printed.str(),
      ::testing::MatchesRegex(
          "listening on 127\\.0\\.0\\.1:" + port + "\nlistening on 127\\.0\\.0\\.2:" + port + "\n" +
          "..:..:.. authorize sn S1: answered HTTP 500\n"
          "..:..:.. skip-address: accepted, redirected to 127\\.0\\.0\\.2\n"
          "..:..:.. at 127\\.0\\.0\\.2 recall-check sn .S1: accepted, ordered 7\n"
          "..:..:.. realdata S20240301100000\\.tar\\.gz [0-9]+ bytes, 2 devices, "
          "2 points: accepted\n"
          "..:..:.. calldata R20240301100000\\.tar\\.gz [0-9]+ bytes, 2 devices, "
          "2 points, order 7: faulty: .*\n"
          "..:..:.. GET /other: HTTP 404, there is no such path\n"));
  EXPECT_EQ(printed.str().find('\x1b'), std::string::npos);
}

}  // namespace
