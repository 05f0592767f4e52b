// The whole road of live values: from the files and the segment to an upload that the cloud has
// accepted, byte for byte.
#include <filesystem>
#include <string>
#include <vector>

#include "cloud/archive.h"
#include "cloud/simulator.h"
#include "system/support/answers.h"
#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using cloud::Endpoint;
using test::CloudServer;
using test::HttpAnswer;
using test::LedgerRow;
using test::RawRequest;

constexpr char kName[] = "realdata/7/S20240307120500.tar.gz";
constexpr char kPath[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120500.tar.gz";
constexpr char kTimeMark[] = "2024-03-07 12:05:00";

// The service starts at 12:03:10, packs at 12:05:00 and uploads at 12:06:00.
class RealDataRoad : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteExamplePlant();
  }
};

std::string Body(const std::string& archive) {
  return "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
         "Content-Disposition:form-data;name=\"licence\";filename=\"S20240307120500.tar.gz\"\r\n"
         "Content-Type:application/octet-stream\r\n"
         "\r\n" +
         archive +
         "\r\n"
         "----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n";
}

TEST_F(RealDataRoad, LogsInWithTheseBytes) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted));
  test::SystemFile(server.Port()).Cloud("Dir", "/cloud").Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 4));

  ASSERT_EQ(server.Requests().size(), 1U);
  const RawRequest login = server.Requests()[0];
  EXPECT_EQ(login.head,
            "POST /cloud/eqpapi/EqpAuthorize HTTP/1.1\r\n"
            "Host: 127.0.0.1:" +
                std::to_string(server.Port()) +
                "\r\n"
                "Connection: Keep-Alive\r\n"
                "Accept: application/json,text/javascript, */*; q=0.01\r\n"
                "Accept-Encoding: gzip, deflate,sdch\r\n"
                "Accept-Language: zh-CN,zh;q=0.8\r\n"
                "Content-Type:application/json; charset=UTF-8;"
                "boundary=--WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
                "Content-Length: 33");
  EXPECT_EQ(login.body, R"({"sn":"TS20240117","applyType":0})");
}

TEST_F(RealDataRoad, UploadsWithTheseBytes) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(HttpAnswer(200, test::kAccepted));
  test::SystemFile(server.Port()).Cloud("Dir", "/cloud").Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 6, 30));

  ASSERT_EQ(server.Requests().size(), 2U);
  const RawRequest upload = server.Requests()[1];
  const std::string body = Body(test::ReadFile(kPath));
  EXPECT_EQ(upload.head,
            "POST /cloud/eqpapi/EqpUploadDataInfo HTTP/1.1\r\n"
            "Host: 127.0.0.1:" +
                std::to_string(server.Port()) +
                "\r\n"
                "Connection: Keep-Alive\r\n"
                "Accept: */*; q=0.01\r\n"
                "Accept-Encoding: gzip, deflate,sdch\r\n"
                "Accept-Language: zh-CN,zh;q=0.8\r\n"
                "Content-Type:multipart/form-data;charset=UTF-8;"
                "boundary=--WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
                "Content-Length: " +
                std::to_string(body.size()));
  EXPECT_EQ(upload.body, body);
}

TEST_F(RealDataRoad, PutsTheDocumentIntoTheArchiveUnderItsBareName) {
  CloudServer server;
  test::SystemFile(server.Port()).Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 5, 5));

  const auto archive = cloud::ReadArchive(test::ReadFile(kPath));
  EXPECT_EQ(archive.memberName, "S20240307120500.dat");
  EXPECT_EQ(archive.text, test::ExampleDocument(kTimeMark));
}

TEST_F(RealDataRoad, LeavesOnlyTheArchiveOnTheCard) {
  CloudServer server;
  test::SystemFile(server.Port()).Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 5, 5));

  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(paths::kCloudTree)) {
    if (entry.is_regular_file()) files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  EXPECT_EQ(files, (std::vector<std::string>{paths::kLedger, paths::kLedgerJournal, kPath}));
}

TEST_F(RealDataRoad, RecordsThePackedFileAsPending) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted));
  test::SystemFile(server.Port()).Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 5, 5));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kRealDataType, 0}}));
}

TEST_F(RealDataRoad, MarksTheAcceptedFile) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(HttpAnswer(200, test::kAccepted));
  test::SystemFile(server.Port()).Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 6, 5));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kRealDataType, 1}}));
}

TEST_F(RealDataRoad, SatisfiesAStrictCloudAtEveryStep) {
  cloud::Simulator cloud({.prefix = "/cloud", .serialNumber = test::kSerialNumber});
  test::SystemFile(cloud.Port()).Cloud("Dir", "/cloud").Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 6, 30));

  const auto exchanges = cloud.Exchanges();
  ASSERT_EQ(exchanges.size(), 2U);
  EXPECT_EQ(exchanges[0].endpoint, Endpoint::kAuthorize);
  EXPECT_EQ(exchanges[0].verdict, "accepted");
  EXPECT_EQ(exchanges[1].endpoint, Endpoint::kRealData);
  EXPECT_EQ(exchanges[1].verdict, "accepted");
  EXPECT_EQ(exchanges[1].fileName, "S20240307120500.tar.gz");
  EXPECT_EQ(exchanges[1].memberName, "S20240307120500.dat");
  EXPECT_EQ(exchanges[1].document, test::ExampleDocument(kTimeMark));
}

TEST_F(RealDataRoad, IsTheSameWithHttpsAndCompressionConfigured) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port())
      .Cloud("IsCompress", "1")
      .Https("checked", "1")
      .Https("certfile", "/tessel/Config/cert.pem")
      .Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 6, 30));

  const auto uploads = cloud.AcceptedUploads();
  ASSERT_EQ(uploads.size(), 1U);
  EXPECT_EQ(uploads[0].document, test::ExampleDocument(kTimeMark));
}

TEST_F(RealDataRoad, SendsAnAcceptedFileOnlyOnce) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(13, 1, 30));

  std::vector<std::string> names;
  for (const auto& upload : cloud.AcceptedUploads()) names.push_back(upload.fileName);
  EXPECT_EQ(names,
            (std::vector<std::string>{
                "S20240307120500.tar.gz", "S20240307121000.tar.gz", "S20240307121500.tar.gz",
                "S20240307122000.tar.gz", "S20240307122500.tar.gz", "S20240307123000.tar.gz",
                "S20240307123500.tar.gz", "S20240307124000.tar.gz", "S20240307124500.tar.gz",
                "S20240307125000.tar.gz", "S20240307125500.tar.gz", "S20240307130000.tar.gz"}));
}

TEST_F(RealDataRoad, TellsItselfInTheTextLog) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(HttpAnswer(200, test::kAccepted));
  test::SystemFile(server.Port()).Cloud("Dir", "/cloud").Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 6, 30));

  const std::string url = server.Url("/cloud/eqpapi/EqpUploadDataInfo");
  const std::string path = kPath;
  EXPECT_EQ(test::DayFile("0307"),
            "2024-03-07 12:03:10 logType:INFO\n"
            " real IP has become 127.0.0.1\n"
            "2024-03-07 12:03:10 logType:INFO\n"
            " Brennik is Set on\n"
            "2024-03-07 12:03:10 logType:INFO\n"
            " realdata timeinv = 300,alarm timeinv = 30,heartbeat timeinv = 600,"
            "checkfail timeinv = 60,recall timeinv = -1\n"
            "2024-03-07 12:03:10 logType:INFO\n"
            " Auth Receive Response:\n"
            "{\"status\":0,\"message\":\"ok\",\"data\":[{\"seqStatus\":0}]}\n"
            "2024-03-07 12:03:10 logType:INFO\n"
            " Post Authorize Info Successfully\n"
            "\n"
            "2024-03-07 12:05:02 logType:INFO\n"
            " CreateRealDataJsonFile " +
                path +
                " Success\n"
                "2024-03-07 12:06:00 logType:INFO\n"
                " start Send realdata " +
                path + " to " + url +
                " \n"
                "\n"
                "2024-03-07 12:06:00 logType:INFO\n"
                " start Send file S20240307120500.tar.gz to " +
                url +
                "\n"
                "2024-03-07 12:06:00 logType:INFO\n"
                " UPloadFile recv message:{\"status\":0,\"message\":\"ok\"}\n"
                "2024-03-07 12:06:00 logType:INFO\n"
                " Send file " +
                path +
                " finish\n"
                "2024-03-07 12:06:00 logType:INFO\n"
                " Send realdata " +
                path + " to " + url +
                " successfully\n"
                "\n");
}

TEST_F(RealDataRoad, TellsTheDatabaseLogOnlyThatItHasStarted) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(HttpAnswer(200, test::kAccepted));
  test::SystemFile(server.Port()).Write();
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 6, 30));

  EXPECT_EQ(test::ReadDatabaseLog(),
            (std::vector<test::LogRecord>{{"INFO", "Brennik Start running"}}));
}

}  // namespace
