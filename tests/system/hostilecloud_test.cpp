// A cloud that answers nonsense, too much, in pieces, or not at all.
#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/answers.h"
#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using test::CloudServer;
using test::HttpAnswer;
using test::LedgerRow;

// The service starts at 11:59:30 with one pending row, which is up at 12:00:00 and, once it has
// failed, every minute.
class HostileCloud : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
    m_name = test::PackDataFile(At(10, 0));
    m_path = test::DataFilePath(m_name);
    test::WriteLedger({{m_name}});
  }

  std::string m_name;
  std::string m_path;
};

std::string Nested(std::size_t depth) {
  return R"({"message":"","status":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
}

struct HostileAnswer {
  const char* name;
  CloudServer::Pieces pieces;
  std::string warning;  // the first in the text log; "%s" stands for the file's path
};

class UploadAnswer : public HostileCloud, public ::testing::WithParamInterface<HostileAnswer> {};

TEST_P(UploadAnswer, LeavesTheRowPending) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(GetParam().pieces);
  test::SystemFile(server.Port()).Write();
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(test::ReadLedger(), std::vector<LedgerRow>{{m_name}});
  EXPECT_EQ(test::TextLogTimes("Send realdata " + m_path + " to " +
                               server.Url("/eqpapi/EqpUploadDataInfo") + " successfully"),
            std::vector<std::string>{});
}

TEST_P(UploadAnswer, IsReported) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(GetParam().pieces);
  test::SystemFile(server.Port()).Write();
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  std::string warning = GetParam().warning;
  if (const auto at = warning.find("%s"); at != std::string::npos) warning.replace(at, 2, m_path);
  EXPECT_EQ(test::TextLogTimes(warning), std::vector<std::string>{"12:00:00"});
}

TEST_P(UploadAnswer, HarmsNoLaterUpload) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(GetParam().pieces);
  server.Answer(HttpAnswer(200, test::kAccepted));
  test::SystemFile(server.Port()).Write();
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 1, 30));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{m_name, 2, 1}}));
}

constexpr char kNoFormat[] = "UPloadFile recv error format message:";
constexpr char kWrongType[] =
    "answer with a member missing or of the wrong type (rapidjson exception):";

INSTANTIATE_TEST_SUITE_P(
    HostileCloud, UploadAnswer,
    ::testing::Values(
        HostileAnswer{"Html", {HttpAnswer(200, "<html>status</html>")}, kNoFormat},
        HostileAnswer{"WithoutStatus", {HttpAnswer(200, R"({"message":"ok"})")}, kNoFormat},
        HostileAnswer{"OpenBrace", {HttpAnswer(200, R"({"status":0,"message":"ok")")}, kNoFormat},
        HostileAnswer{"BraceInText", {HttpAnswer(200, R"({"status":0,"message":"{"})")}, kNoFormat},
        HostileAnswer{"BalancedButNoJson", {HttpAnswer(200, "{status}")}, "Send realdata %s to "},
        HostileAnswer{"NoMessage", {HttpAnswer(200, R"({"status":0})")}, "Send realdata %s to "},
        HostileAnswer{
            "StatusAsText", {HttpAnswer(200, R"({"status":"0","message":"ok"})")}, kWrongType},
        HostileAnswer{"StatusTooLarge",
                      {HttpAnswer(200, R"({"status":4294967296,"message":"ok"})")},
                      kWrongType},
        HostileAnswer{
            "MessageAsNumber", {HttpAnswer(200, R"({"status":0,"message":7})")}, kWrongType},
        HostileAnswer{"AnArray", {HttpAnswer(200, R"([{"status":0,"message":"ok"}])")}, kWrongType},
        // In one piece, as deep as a piece can be; and beyond any piece.
        HostileAnswer{"NestedDeeply", {HttpAnswer(200, Nested(8000))}, kWrongType},
        HostileAnswer{"NestedVeryDeeply", {HttpAnswer(200, Nested(100000))}, kNoFormat},
        HostileAnswer{"OneMebibyte", {HttpAnswer(200, std::string(1048576, 'x'))}, kNoFormat},
        HostileAnswer{
            "OneMebibyteOfBraces", {HttpAnswer(200, std::string(1048576, '{'))}, kNoFormat},
        HostileAnswer{"Split",
                      {HttpAnswer(200, test::kAccepted).substr(0, 100),
                       HttpAnswer(200, test::kAccepted).substr(100)},
                      kNoFormat},
        HostileAnswer{"Empty", {HttpAnswer(200, "")}, "Send realdata %s to "},
        HostileAnswer{
            "NoContent", {HttpAnswer(204, "")}, "send file %s failed: No error,httpcode =204"},
        HostileAnswer{"Redirect",
                      {"HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:1/\r\n"
                       "Content-Length: 0\r\n\r\n"},
                      "send file %s failed: No error,httpcode =302"},
        HostileAnswer{
            "ServerError", {HttpAnswer(500, "")}, "send file %s failed: No error,httpcode =500"},
        HostileAnswer{"NoHttp",
                      {"SSH-2.0-OpenSSH_9.2\r\n"},
                      "send file %s failed: Unsupported protocol,httpcode =0"},
        HostileAnswer{"ConnectionClosed",
                      {},
                      "send file %s failed: Server returned nothing (no headers, no data),"
                      "httpcode =0"},
        HostileAnswer{"ClosedInTheMiddle",
                      {"HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{\"status\":0"},
                      kNoFormat},
        HostileAnswer{"HeadersWithoutEnd",
                      {"HTTP/1.1 200 OK\r\n" + std::string(400000, 'x')},
                      "Send realdata %s to "}),
    [](const auto& row) { return row.param.name; });

struct KindAnswer {
  const char* name;
  CloudServer::Pieces pieces;
};

class AcceptingAnswer : public HostileCloud, public ::testing::WithParamInterface<KindAnswer> {};

// The verdict is the answer's alone, whatever comes with it.
TEST_P(AcceptingAnswer, MarksTheRow) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(GetParam().pieces);
  test::SystemFile(server.Port()).Write();
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{m_name, 2, 1}}));
}

INSTANTIATE_TEST_SUITE_P(
    HostileCloud, AcceptingAnswer,
    ::testing::Values(
        KindAnswer{"ServerError", {HttpAnswer(500, test::kAccepted)}},
        KindAnswer{"NotFound", {HttpAnswer(404, test::kAccepted)}},
        KindAnswer{"MoreMembers",
                   {HttpAnswer(200, R"({"x":[{}],"status":0,"data":null,"message":"成功"})")}},
        KindAnswer{
            "ALongMessage",
            {HttpAnswer(200, R"({"status":0,"message":")" + std::string(10000, 'm') + R"("})")}},
        KindAnswer{
            "TheBodyApartFromTheHead",
            {HttpAnswer(200, test::kAccepted).substr(0, HttpAnswer(200, test::kAccepted).find("{")),
             test::kAccepted}},
        KindAnswer{"WithoutALength", {std::string("HTTP/1.0 200 OK\r\n\r\n") + test::kAccepted}}),
    [](const auto& row) { return row.param.name; });

TEST_F(HostileCloud, ReportsAServerErrorEvenBesideAnAcceptedFile) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(HttpAnswer(500, test::kAccepted));
  test::SystemFile(server.Port()).Write();
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "WARN"),
            std::vector<std::string>{"send file " + m_path +
                                     " failed: Failed writing received data to disk/application,"
                                     "httpcode =500"});
  EXPECT_THAT(test::OfLevel(test::ReadTextLog(), "INFO"),
              ::testing::Contains("Send realdata " + m_path + " to " +
                                  server.Url("/eqpapi/EqpUploadDataInfo") + " successfully\n"));
}

TEST_F(HostileCloud, ThatStallsHoldsNobodyElseUp) {
  cloud::Simulator cloud({});
  cloud.Script(Endpoint::kRealData, {Behaviour::Stall(cloud::kStallLimit)});
  test::SystemFile(cloud.Port()).Write();
  test::ServiceProcess service(At(11, 59, 30));

  service.LetRunUntil(At(12, 0, 30));
  // Login, address check, upload.
  const bool uploadBegun = cloud.AwaitExchanges(3, std::chrono::seconds(30));
  const auto rowsMeanwhile = test::ReadLedger();
  cloud.Stop();  // ends the stall without an answer
  service.AwaitRest();

  EXPECT_TRUE(uploadBegun);
  EXPECT_EQ(rowsMeanwhile, std::vector<LedgerRow>{{m_name}});
  EXPECT_EQ(test::ReadLedger(), std::vector<LedgerRow>{{m_name}});
  EXPECT_EQ(
      test::OfLevel(test::ReadTextLog(), "WARN").front(),
      "send file " + m_path + " failed: Server returned nothing (no headers, no data),httpcode =0");
}

TEST_F(HostileCloud, ThatIsGoneLeavesTheRowPending) {
  auto cloud = std::make_unique<cloud::Simulator>(cloud::Settings{});
  const int port = cloud->Port();
  test::SystemFile(port).Write();
  test::ServiceProcess service(At(11, 59, 30));
  cloud.reset();
  service.RunUntil(At(12, 0, 30));
  const auto rows = test::ReadLedger();
  cloud = std::make_unique<cloud::Simulator>(cloud::Settings{.port = port});

  service.RunUntil(At(12, 1, 30));

  EXPECT_EQ(rows, std::vector<LedgerRow>{{m_name}});
  EXPECT_THAT(test::OfLevel(test::ReadTextLog(), "WARN"),
              ::testing::Contains("send file " + m_path +
                                  " failed: Couldn't connect to server,httpcode =0"));
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{m_name, 2, 1}}));
}

}  // namespace
