// The cloud does what it is told: misbehaves by a script, and prints its lines.
#include <gmock/gmock.h>

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "cloudclient.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using cloud::Simulator;
using std::chrono::milliseconds;
using namespace test;
using ::testing::ElementsAre;

constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";
constexpr char kSecond[] = "127.0.0.2";

// A behaviour, as an item of the command line, and what it makes of the answer to an upload.
struct Conduct {
  const char* item;
  Behaviour behaviour;
  const char* statusLine;
  const char* body;
  bool accepted;
};

TEST(CloudBehaviours, ShapeTheAnswer) {
  constexpr char kOk[] = "HTTP/1.1 200 OK";
  const std::vector<Conduct> rows = {
      {"ok", Behaviour::Normal(), kOk, kAccepted, true},
      {"refuse", Behaviour::Refuse(), kOk, R"({"status":1,"message":"refused"})", false},
      {"http:204", Behaviour::Status(204), "HTTP/1.1 204 ", "", false},
      {"http:500:'busy'", Behaviour::Status(500, "busy"), "HTTP/1.1 500 ", "busy", false},
      {"nonsense:'a,b*2:c'", Behaviour::Nonsense("a,b*2:c"), kOk, "a,b*2:c", false},
      {"stall:0.05", Behaviour::Stall(milliseconds(50)), kOk, kAccepted, true},
      {"pieces:0.05", Behaviour::Pieces(milliseconds(50)), kOk, kAccepted, true},
      {"cut", Behaviour::Cut(), kOk, R"({"status":0,")", false},
      {"close", Behaviour::Close(), "", "", false},
      {"reset", Behaviour::Reset(), "", "", false},
      {"drip:0.001", Behaviour::Drip(milliseconds(1)), kOk, kAccepted, true}};

  for (const Conduct& row : rows) {
    SCOPED_TRACE(row.item);
    EXPECT_THAT(cloud::ParseBehaviours(row.item), ElementsAre(row.behaviour));
    EXPECT_THAT(cloud::ParseBehaviours(cloud::ToText(row.behaviour)), ElementsAre(row.behaviour));
    Simulator simulator({});
    simulator.Script(Endpoint::kRealData, {row.behaviour});
    const auto start = std::chrono::steady_clock::now();

    const CloudAnswer answer = Ask(simulator.Port(), RealUpload());

    EXPECT_GE(std::chrono::steady_clock::now() - start, row.behaviour.stall);
    EXPECT_EQ(answer.StatusLine(), row.statusLine);
    EXPECT_EQ(answer.body, row.body);
    EXPECT_EQ(simulator.Exchanges().at(0).accepted, row.accepted);
  }
}

TEST(CloudBehaviours, ReadsAListInOrderWithItsCounts) {
  EXPECT_THAT(cloud::ParseBehaviours("ok*2,refuse,close"),
              ElementsAre(Behaviour::Normal(), Behaviour::Normal(), Behaviour::Refuse(),
                          Behaviour::Close()));
}

TEST(CloudScript, IsUsedUpInOrderForEachEndpointAlone) {
  Simulator simulator({.scripts = {{Endpoint::kAuthorize, {Behaviour::Refuse()}}}});
  simulator.Script(Endpoint::kAuthorize, {Behaviour::Status(503)});
  simulator.Script(Endpoint::kRealData, {Behaviour::Close()});
  std::vector<std::string> answers;

  Ask(simulator.Port(), AddressCheck());
  Ask(simulator.Port(), Replaced(Login(), "POST", "GET"));
  for (int i = 0; i < 3; ++i) answers.push_back(Ask(simulator.Port(), Login()).body);

  EXPECT_THAT(answers, ElementsAre(R"({"status":1,"message":"refused","data":[{"seqStatus":1}]})",
                                   "", R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})"));
}

TEST(CloudScript, IsFollowedByWhatStandsUntilToldOtherwise) {
  Simulator simulator({});
  simulator.Stand(Endpoint::kAuthorize, Behaviour::Nonsense("no"));
  simulator.Script(Endpoint::kAuthorize, {Behaviour::Nonsense("first")});
  std::vector<std::string> answers;

  for (int i = 0; i < 3; ++i) answers.push_back(Ask(simulator.Port(), Login()).body);
  simulator.Script(Endpoint::kAuthorize, {Behaviour::Nonsense("left over")});
  simulator.AnswerNormally(Endpoint::kAuthorize);
  answers.push_back(Ask(simulator.Port(), Login()).body);

  EXPECT_THAT(answers, ElementsAre("first", "no", "no",
                                   R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})"));
}

TEST(CloudBehaviours, ResetTheConnectionInsteadOfEndingIt) {
  Simulator simulator({});
  simulator.Script(Endpoint::kAuthorize, {Behaviour::Reset()});

  EXPECT_EQ(Ask(simulator.Port(), Login()).lastError, ECONNRESET);
}

TEST(CloudBehaviours, SendTrailersFarBeyondWhatAGatewayKeeps) {
  Simulator simulator({});
  simulator.Script(Endpoint::kRealData, {Behaviour::Trailers()});

  const CloudAnswer answer = Ask(simulator.Port(), RealUpload());

  EXPECT_THAT(answer.head, ::testing::HasSubstr("Transfer-Encoding: chunked"));
  EXPECT_THAT(answer.body,
              ::testing::StartsWith(std::string("1b\r\n") + kAccepted + "\r\n0\r\nX-Note: "));
  EXPECT_GT(answer.body.size(), std::size_t{1} << 20);
}

// Scripts read these lines.
TEST(CloudSimulator, PrintsALineForEachExchange) {
  std::ostringstream printed;
  Simulator simulator({.secondAddress = kSecond, .lines = &printed, .orders = {{.id = 7}}});

  Ask(simulator.Port(), RecallCheck("\\u001bS1"), kSecond);
  Ask(simulator.Port(), RealUpload());
  Ask(simulator.Port(), RecallUpload());
  Ask(simulator.Port(), "GET /other HTTP/1.1\r\n\r\n");
  simulator.Stop();

  const std::string port = std::to_string(simulator.Port());
  EXPECT_THAT(
      printed.str(),
      ::testing::MatchesRegex(
          "listening on 127\\.0\\.0\\.1:" + port + "\nlistening on 127\\.0\\.0\\.2:" + port + "\n" +
          "..:..:.. at 127\\.0\\.0\\.2 recall-check sn \\?S1: accepted, ordered 7\n"
          "..:..:.. realdata S20240301100000\\.tar\\.gz [0-9]+ bytes, 2 devices, "
          "2 points: accepted\n"
          "..:..:.. calldata R20240301100000\\.tar\\.gz [0-9]+ bytes, 2 devices, "
          "2 points, order 7: faulty: .*\n"
          "..:..:.. GET /other: HTTP 404, there is no such path\n"));
  EXPECT_EQ(simulator.Exchanges().at(0).address, kSecond);
}

}  // namespace
