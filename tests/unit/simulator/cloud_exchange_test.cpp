// Sound exchanges: what the cloud answers, records, keeps and prints.
#include <gmock/gmock.h>

#include <sstream>

#include "cloud/simulator.h"
#include "cloudclient.h"
#include "support/files.h"

namespace {

using cloud::Endpoint;
using cloud::Exchange;
using std::chrono::seconds;
using test::CloudRequest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr seconds kLongEnough{10};

TEST(CloudExchange, GrantsALogin) {
  const cloud::Simulator simulator({});

  const test::CloudAnswer answer = Ask(
      simulator.Port(), CloudRequest::Json("/eqpapi/EqpAuthorize", R"({"sn":"S1","applyType":0})"));

  EXPECT_EQ(answer.StatusLine(), "HTTP/1.1 200 OK");
  EXPECT_EQ(answer.body, R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})");
}

TEST(CloudExchange, RedirectsNobodyAtTheAddressCheck) {
  const cloud::Simulator simulator({});

  EXPECT_EQ(Ask(simulator.Port(), CloudRequest::Json("/eqpapi/EqpSkipAddress", "")).body,
            R"({"status":0,"message":"ok","data":[]})");
}

TEST(CloudExchange, OrdersNothingAtTheRecallCheck) {
  const cloud::Simulator simulator({});

  EXPECT_EQ(
      Ask(simulator.Port(), CloudRequest::Json("/eqpapi/EqpDataIfRecall", R"({"sn":"S1"})")).body,
      R"({"status":0,"message":"ok","data":[]})");
}

// What it is for: an upload that a sound gateway makes.
struct SoundUpload {
  Endpoint endpoint;
  const char* path;
  const char* stem;
  std::string document;
};

void PrintTo(const SoundUpload& row, std::ostream* out) {
  *out << row.path;
}

class CloudUploads : public ::testing::TestWithParam<SoundUpload> {};

TEST_P(CloudUploads, AreAcceptedRecordedAndKept) {
  const SoundUpload& row = GetParam();
  const test::TemporaryFolder folder;
  const cloud::Simulator simulator({.uploadFolder = folder.Path()});
  const std::string stem = row.stem;
  const std::string archive = test::TarGz({{stem + ".dat", row.document}});

  const test::CloudAnswer answer =
      Ask(simulator.Port(), CloudRequest::Upload(row.path, stem + ".tar.gz", archive));

  EXPECT_EQ(answer.StatusLine(), "HTTP/1.1 200 OK");
  EXPECT_EQ(answer.body, R"({"status":0,"message":"ok"})");
  ASSERT_THAT(simulator.AcceptedUploads(), SizeIs(1));
  const Exchange exchange = simulator.AcceptedUploads()[0];
  EXPECT_EQ(exchange.endpoint, row.endpoint);
  EXPECT_EQ(exchange.fileName, stem + ".tar.gz");
  EXPECT_EQ(exchange.archive, archive);
  EXPECT_EQ(exchange.memberName, stem + ".dat");
  EXPECT_EQ(exchange.document, row.document);
  EXPECT_EQ(exchange.serialNumber, "S1");
  EXPECT_EQ(exchange.fault, "");
  EXPECT_EQ(exchange.verdict, "accepted");
  EXPECT_EQ(test::ReadFile(exchange.keptAs), archive);
  EXPECT_EQ(exchange.keptAs,
            folder.Path() + "/" + cloud::Facts(row.endpoint).name + "/" + stem + ".tar.gz");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudUploads,
    ::testing::Values(SoundUpload{Endpoint::kRealData, "/eqpapi/EqpUploadDataInfo",
                                  "S20240301100000", test::RealDocument()},
                      SoundUpload{Endpoint::kAlarmData, "/eqpapi/EqpUploadAlarmDataInfo",
                                  "T20240301100000", test::AlarmDocument()},
                      SoundUpload{Endpoint::kCallData, "/eqpapi/EqpDataRecall", "R20240301100000",
                                  test::RecallDocument()}),
    [](const auto& row) { return std::string(cloud::Facts(row.param.endpoint).name); });

TEST(CloudExchange, RecordsTheRequestToTheByte) {
  const cloud::Simulator simulator({.prefix = "/plant"});
  const CloudRequest request =
      CloudRequest::Json("/plant/eqpapi/EqpDataIfRecall", R"({"sn":"S1"})");

  Ask(simulator.Port(), request);

  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  const cloud::Request recorded = simulator.Exchanges()[0].request;
  EXPECT_EQ(recorded.body, request.Body());
  EXPECT_EQ(recorded.method, "POST");
  EXPECT_EQ(recorded.target, "/plant/eqpapi/EqpDataIfRecall");
  EXPECT_EQ(recorded.version, "HTTP/1.1");
}

TEST(CloudExchange, RecordsTheHeadersInOrderOfArrival) {
  const cloud::Simulator simulator({});

  Ask(simulator.Port(), CloudRequest::Json("/eqpapi/EqpSkipAddress", ""));

  const std::vector<Exchange> exchanges = simulator.Exchanges();
  ASSERT_THAT(exchanges, SizeIs(1));
  std::vector<std::string> names;
  for (const cloud::Header& header : exchanges[0].request.headers) names.push_back(header.name);
  EXPECT_THAT(names, ElementsAre("Host", "Connection", "Accept", "Accept-Encoding",
                                 "Accept-Language", "Content-Type", "Content-Length"));
}

TEST(CloudExchange, RecordsAnUploadsBodyToTheByte) {
  const cloud::Simulator simulator({});
  const CloudRequest request = test::RealUpload();

  Ask(simulator.Port(), request);

  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  EXPECT_EQ(simulator.Exchanges()[0].request.body, request.Body());
}

TEST(CloudExchange, TakesARequestThatArrivesInPieces) {
  const cloud::Simulator simulator({});
  const std::string bytes = test::RealUpload().Bytes();
  const test::CloudClient client(simulator.Port());

  for (std::size_t at = 0; at < bytes.size(); at += 7) client.Send(bytes.substr(at, 7));

  EXPECT_EQ(client.Receive().body, R"({"status":0,"message":"ok"})");
}

TEST(CloudExchange, TakesAFormWhoseFirstLineArrivesInTwoPieces) {
  const cloud::Simulator simulator({});
  const CloudRequest request = test::RealUpload();
  const std::size_t cut = request.Head().size() + 5;
  const test::CloudClient client(simulator.Port());

  client.Send(request.Bytes().substr(0, cut));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  client.Send(request.Bytes().substr(cut));

  EXPECT_EQ(client.Receive().body, R"({"status":0,"message":"ok"})");
}

TEST(CloudExchange, TakesFormsOfEveryLengthAroundAMultipleOfTheReadersBuffer) {
  constexpr std::size_t kReadersBuffer = 4096;
  const cloud::Simulator simulator({});
  const std::size_t frame = test::UploadForm::Of("S20240301100000.tar.gz", "").Text().size();
  std::vector<std::size_t> wronglyReadLengths;

  for (std::size_t length = 2 * kReadersBuffer - 60; length < 2 * kReadersBuffer + 60; ++length) {
    const std::string content(length - frame, '-');
    Ask(simulator.Port(),
        CloudRequest::Upload("/eqpapi/EqpUploadDataInfo", "S20240301100000.tar.gz", content));
    if (simulator.Exchanges().back().archive != content) wronglyReadLengths.push_back(length);
  }

  EXPECT_THAT(wronglyReadLengths, IsEmpty());
}

TEST(CloudExchange, TakesAFileAsLargeAsAGatewaySendsThem) {
  const cloud::Simulator simulator({});
  std::string document = R"({"sn":"S1","data":[)";
  unsigned seed = 1;
  for (int device = 0; device < 200; ++device) {
    document += (device == 0 ? "" : ",") + std::string(R"({"groupId":1,"eqpId":)") +
                std::to_string(device) + R"(,"timeMark":"2024-03-01 10:00:00","values":[)";
    for (int point = 0; point < 30; ++point) {
      seed = seed * 1664525U + 1013904223U;
      document += (point == 0 ? "" : ",") + std::string(R"({"pointId":"00A1","value":")") +
                  std::to_string(seed) + ".000\"}";
    }
    document += "]}";
  }
  const CloudRequest request = test::RealUpload("20240301100000", document + "]}");
  ASSERT_GT(request.Body().size(), 39000U);
  ASSERT_LT(request.Body().size(), 41000U);

  Ask(simulator.Port(), request);

  ASSERT_THAT(simulator.AcceptedUploads(), SizeIs(1));
  EXPECT_EQ(simulator.AcceptedUploads()[0].points, 6000U);
}

TEST(CloudExchange, NeverCompressesAnAnswer) {
  const cloud::Simulator simulator({});
  const CloudRequest request = CloudRequest::Json("/eqpapi/EqpSkipAddress", "");

  const test::CloudAnswer answer = Ask(simulator.Port(), request);

  EXPECT_NE(request.Head().find("Accept-Encoding: gzip"), std::string::npos);
  EXPECT_EQ(answer.head.find("Content-Encoding"), std::string::npos);
}

TEST(CloudExchange, TakesSeveralGatewaysAtATime) {
  const cloud::Simulator simulator({});
  const test::CloudClient idle(simulator.Port());
  const test::CloudClient unfinished(simulator.Port());
  unfinished.Send("POST /eqp");

  const test::CloudAnswer answer = Ask(simulator.Port(), test::RealUpload());

  EXPECT_EQ(answer.body, R"({"status":0,"message":"ok"})");
}

TEST(CloudExchange, SaysWhenEnoughUploadsAreAccepted) {
  const cloud::Simulator simulator({});
  std::thread gateway([&] {
    for (const char* stamp : {"20240301100000", "20240301100500", "20240301101000"}) {
      Ask(simulator.Port(), test::RealUpload(stamp));
    }
  });

  const bool enough = simulator.AwaitUploads(3, kLongEnough);

  gateway.join();
  EXPECT_TRUE(enough);
  EXPECT_THAT(simulator.AcceptedUploads(), SizeIs(3));
}

TEST(CloudExchange, SaysWhenUploadsDoNotArriveInTime) {
  const cloud::Simulator simulator({});
  Ask(simulator.Port(), CloudRequest::Json("/eqpapi/EqpSkipAddress", ""));

  EXPECT_FALSE(simulator.AwaitUploads(1, std::chrono::milliseconds(50)));
  EXPECT_TRUE(simulator.AwaitExchanges(1, kLongEnough));
}

TEST(CloudExchange, CountsTheUploadsAsTheyAreAccepted) {
  std::vector<std::size_t> counts;
  cloud::Simulator simulator(
      {.onAcceptedUpload = [&](std::size_t uploads) { counts.push_back(uploads); }});

  Ask(simulator.Port(), test::RealUpload());
  Ask(simulator.Port(), CloudRequest::Json("/eqpapi/EqpSkipAddress", ""));
  Ask(simulator.Port(), test::RealUpload());

  simulator.Stop();
  EXPECT_THAT(counts, ElementsAre(1, 2));
}

TEST(CloudExchange, RemembersOnlyTheLatestWhenToldSo) {
  const cloud::Simulator simulator({.exchangesRemembered = 1});
  Ask(simulator.Port(), test::RealUpload("20240301100000"));

  Ask(simulator.Port(), test::RealUpload("20240301100500"));

  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  EXPECT_EQ(simulator.Exchanges()[0].fileName, "S20240301100500.tar.gz");
  EXPECT_TRUE(simulator.AwaitUploads(2, kLongEnough));
}

TEST(CloudExchange, KeepsNothingWithoutAFolder) {
  const cloud::Simulator simulator({});

  Ask(simulator.Port(), test::RealUpload());

  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  EXPECT_EQ(simulator.Exchanges()[0].keptAs, "");
}

TEST(CloudExchange, LeavesNoUnfinishedCopy) {
  const test::TemporaryFolder folder;
  const cloud::Simulator simulator({.uploadFolder = folder.Path() + "/uploads"});

  Ask(simulator.Port(), test::RealUpload());

  EXPECT_THAT(test::List(folder.Path() + "/uploads/realdata"),
              ElementsAre("S20240301100000.tar.gz"));
  EXPECT_THAT(test::List(folder.Path() + "/uploads/refused/realdata"), IsEmpty());
}

TEST(CloudExchange, RefusesWhatItCannotKeep) {
  const test::TemporaryFolder folder;
  const cloud::Simulator simulator({.uploadFolder = folder.Path()});
  std::filesystem::remove_all(folder.Path() + "/realdata");

  const test::CloudAnswer answer = Ask(simulator.Port(), test::RealUpload());

  EXPECT_EQ(answer.body, R"({"status":1,"message":"the cloud cannot keep )" + folder.Path() +
                             R"(/realdata/S20240301100000.tar.gz"})");
  EXPECT_THAT(simulator.AcceptedUploads(), IsEmpty());
}

// The printed lines behind their "hh:mm:ss ".
std::vector<std::string> LinesOf(const std::ostringstream& stream) {
  constexpr std::size_t kClockCharacters = 9;
  std::istringstream text(stream.str());
  std::vector<std::string> lines;
  std::string line;
  std::getline(text, line);  // "listening on …"
  while (std::getline(text, line)) lines.push_back(line.substr(kClockCharacters));
  return lines;
}

TEST(CloudExchange, SaysFirstWhereItListens) {
  std::ostringstream printed;

  const cloud::Simulator simulator({.lines = &printed});

  EXPECT_EQ(printed.str(), "listening on 127.0.0.1:" + std::to_string(simulator.Port()) + "\n");
}

TEST(CloudExchange, PrintsALineForEach) {
  std::ostringstream printed;
  cloud::Simulator simulator({.lines = &printed});
  const CloudRequest upload = test::RealUpload();

  Ask(simulator.Port(), CloudRequest::Json("/eqpapi/EqpAuthorize", R"({"sn":"S1","applyType":0})"));
  Ask(simulator.Port(), CloudRequest::Json("/eqpapi/EqpSkipAddress", ""));
  Ask(simulator.Port(), upload);
  Ask(simulator.Port(), CloudRequest::Json("/eqpapi/Other", ""));

  simulator.Stop();
  const std::size_t bytes = simulator.AcceptedUploads()[0].archive.size();
  EXPECT_THAT(LinesOf(printed),
              ElementsAre("authorize sn S1: accepted", "skip-address: accepted",
                          "realdata S20240301100000.tar.gz " + std::to_string(bytes) +
                              " bytes, 2 devices, 2 points: accepted",
                          "POST /eqpapi/Other: HTTP 404, there is no such path"));
}

TEST(CloudExchange, PrintsNoControlCharactersOfOthers) {
  std::ostringstream printed;
  cloud::Simulator simulator({.lines = &printed});

  Ask(simulator.Port(), CloudRequest::Json("/eqpapi/EqpDataIfRecall", R"({"sn":"S\u001b\n1"})"));

  simulator.Stop();
  EXPECT_THAT(LinesOf(printed), ElementsAre("recall-check sn S??1: accepted"));
}

}  // namespace
