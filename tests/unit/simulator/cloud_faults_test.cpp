// Requests that are not as they should be: what the cloud answers, and that it accepts none.
#include <gmock/gmock.h>

#include "cloud/simulator.h"
#include "cloudclient.h"
#include "support/files.h"

namespace {

using test::CloudRequest;
using test::RealUpload;
using test::UploadForm;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr char kLogin[] = R"({"sn":"S1","applyType":0})";
constexpr char kUploadPath[] = "/eqpapi/EqpUploadDataInfo";

CloudRequest Login() {
  return CloudRequest::Json("/eqpapi/EqpAuthorize", kLogin);
}

// What it is for: a faulty request to an endpoint, and the words for it.
struct FaultyRequest {
  const char* name;
  CloudRequest request;
  std::string fault;
};

void PrintTo(const FaultyRequest& row, std::ostream* out) {
  *out << row.request.Head();
}

class CloudFaults : public ::testing::TestWithParam<FaultyRequest> {};

TEST_P(CloudFaults, AreAnsweredWithStatusOneAndWords) {
  const cloud::Simulator simulator({.serialNumber = "S1"});

  const test::CloudAnswer answer = Ask(simulator.Port(), GetParam().request);

  EXPECT_EQ(answer.StatusLine(), "HTTP/1.1 200 OK");
  EXPECT_THAT(answer.body, StartsWith(R"({"status":1,"message":")"));
  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  EXPECT_THAT(simulator.Exchanges()[0].fault, HasSubstr(GetParam().fault));
  EXPECT_FALSE(simulator.Exchanges()[0].accepted);
}

constexpr auto kRowName = [](const auto& row) { return row.param.name; };

INSTANTIATE_TEST_SUITE_P(
    Headers, CloudFaults,
    ::testing::Values(
        FaultyRequest{"OldHttp", Login().Version("HTTP/1.0"), "the request is not HTTP/1.1"},
        FaultyRequest{"NoHost", Login().Without("Host"), "header Host is missing"},
        FaultyRequest{"EmptyHost", Login().With("Host", ""), "header Host is empty"},
        FaultyRequest{"NoConnection", Login().Without("Connection"),
                      "header Connection is missing"},
        FaultyRequest{"OtherAccept", Login().With("Accept", " */*"),
                      "header Accept is \"*/*\", expected \"application/json,text/javascript"},
        FaultyRequest{"NoLanguage", Login().Without("Accept-Language"),
                      "header Accept-Language is missing"},
        FaultyRequest{"OtherEncoding", Login().With("Accept-Encoding", " gzip"),
                      "header Accept-Encoding is \"gzip\""},
        FaultyRequest{"TwoTypes", Login().Also("content-type", " application/json"),
                      "header Content-Type comes more than once"},
        FaultyRequest{"OtherType", Login().With("Content-Type", "application/json"),
                      "header Content-Type is \"application/json\""},
        FaultyRequest{"NoNumberAsLength", Login().With("Content-Length", " 25x").Body(kLogin),
                      "header Content-Length is \"25x\""}),
    kRowName);

INSTANTIATE_TEST_SUITE_P(
    JsonRequests, CloudFaults,
    ::testing::Values(
        FaultyRequest{"NoBody", Login().Body(""), "the document is not JSON"},
        FaultyRequest{"KeyMissing", Login().Body(R"({"sn":"S1"})"), "\"applyType\" is missing"},
        FaultyRequest{"OtherGateway", Login().Body(R"({"sn":"S2","applyType":0})"),
                      "\"sn\" is \"S2\", expected \"S1\""},
        FaultyRequest{"AddressCheckWithBody", CloudRequest::Json("/eqpapi/EqpSkipAddress", "{}"),
                      "the body is not empty"},
        FaultyRequest{"AddressCheckWithABlank", CloudRequest::Json("/eqpapi/EqpSkipAddress", " "),
                      "the body is not empty"},
        FaultyRequest{"RecallCheckWithoutBody", test::RecallCheck().Body(""),
                      "the document is not JSON"},
        FaultyRequest{"RecallCheckOfAnotherGateway", test::RecallCheck("S2"),
                      "\"sn\" is \"S2\", expected \"S1\""},
        FaultyRequest{"RecallCheckWithMore", CloudRequest::Json("/eqpapi/EqpDataIfRecall", kLogin),
                      "\"applyType\" does not belong there"}),
    kRowName);

std::string SoundArchive() {
  return test::TarGz({{"S20240301100000.dat", test::RealDocument()}});
}

UploadForm SoundForm() {
  return UploadForm::Of("S20240301100000.tar.gz", SoundArchive());
}

CloudRequest WithForm(const std::string& body) {
  return RealUpload().Body(body);
}

CloudRequest WithBoundary(const std::string& boundary) {
  UploadForm form = SoundForm();
  form.boundary = boundary;
  return WithForm(form.Text());
}

CloudRequest WithDisposition(const std::string& disposition) {
  UploadForm form = SoundForm();
  form.disposition = disposition;
  return WithForm(form.Text());
}

CloudRequest WithPartType(const std::string& type) {
  UploadForm form = SoundForm();
  form.type = type;
  return WithForm(form.Text());
}

constexpr char kNotFramed[] = "the body is not one part framed by the boundary";

INSTANTIATE_TEST_SUITE_P(
    Forms, CloudFaults,
    ::testing::Values(
        FaultyRequest{"JsonType", RealUpload().With("Content-Type", "application/json"),
                      "header Content-Type is \"application/json\""},
        FaultyRequest{"NoBoundaryNamed", RealUpload().With("Content-Type", "multipart/form-data"),
                      "header Content-Type is \"multipart/form-data\""},
        FaultyRequest{"OtherBoundaryInTheBody", WithBoundary("--other"), kNotFramed},
        FaultyRequest{"TwoDashesLess", WithBoundary("WebKitFormBoundaryslLU7UmlAp48QHln"),
                      kNotFramed},
        FaultyRequest{"NotClosed", WithForm(SoundForm().Part()), kNotFramed},
        FaultyRequest{"SomethingBefore", WithForm("x\r\n" + SoundForm().Text()), kNotFramed},
        FaultyRequest{"SomethingBehind", WithForm(SoundForm().Text() + "x"), kNotFramed},
        FaultyRequest{"NoForm", WithForm(SoundArchive()), kNotFramed},
        FaultyRequest{"EmptyBody", WithForm(""), kNotFramed},
        FaultyRequest{"TwoFields", WithForm(SoundForm().Part() + SoundForm().Text()), kNotFramed},
        FaultyRequest{"OtherField",
                      WithDisposition("form-data;name=\"license\";filename=\"S.tar.gz\""),
                      "the form has no field \"licence\""},
        FaultyRequest{"NoFileName", WithDisposition("form-data;name=\"licence\""),
                      "field \"licence\" has no file name"},
        FaultyRequest{"OtherPartType", WithPartType("text/plain"),
                      "field \"licence\" is \"text/plain\", expected"}),
    kRowName);

CloudRequest WithArchive(const std::string& archive) {
  return CloudRequest::Upload(kUploadPath, "S20240301100000.tar.gz", archive);
}

CloudRequest WithDocument(const std::string& document) {
  return RealUpload("20240301100000", document);
}

INSTANTIATE_TEST_SUITE_P(
    Archives, CloudFaults,
    ::testing::Values(
        FaultyRequest{"OtherLetter",
                      CloudRequest::Upload(kUploadPath, "T20240301100000.tar.gz", SoundArchive()),
                      "file name T20240301100000.tar.gz is not S and 14 digits and .tar.gz"},
        FaultyRequest{"NoStamp", CloudRequest::Upload(kUploadPath, "S.tar.gz", SoundArchive()),
                      "file name S.tar.gz is not"},
        FaultyRequest{"NameWithFolder",
                      CloudRequest::Upload(kUploadPath, "1/S20240301100000.tar.gz", SoundArchive()),
                      "file name 1/S20240301100000.tar.gz is not"},
        FaultyRequest{"MemberOfAnotherName",
                      WithArchive(test::TarGz({{"S20240301100001.dat", test::RealDocument()}})),
                      "the archive's member is S20240301100001.dat, expected S20240301100000.dat"},
        FaultyRequest{"TwoMembers",
                      WithArchive(test::TarGz({{"S20240301100000.dat", test::RealDocument()},
                                               {"b.dat", ""}})),
                      "the archive has more than one member"},
        FaultyRequest{"NotGzip",
                      WithArchive(test::PlainTar({{"S20240301100000.dat", test::RealDocument()}})),
                      "the archive is not compressed with gzip"},
        FaultyRequest{"NoArchive", WithArchive(test::RealDocument()),
                      "the archive cannot be read: "},
        FaultyRequest{"KeyMissing", WithDocument(R"({"sn":"S1"})"), "\"data\" is missing"},
        FaultyRequest{"OtherGateway", WithDocument(R"({"sn":"S2","data":[]})"),
                      "\"sn\" is \"S2\", expected \"S1\""},
        FaultyRequest{"DocumentOfAnotherKind", WithDocument(test::AlarmDocument()),
                      "\"data\" is missing, \"alarmDataType\" stands in its place"}),
    kRowName);

TEST(CloudFaultAnswers, RefuseALoginInItsOwnForm) {
  const cloud::Simulator simulator({});

  const test::CloudAnswer answer = Ask(simulator.Port(), Login().Body("{}"));

  EXPECT_EQ(answer.body, R"({"status":1,"message":"\"sn\" is missing","data":[{"seqStatus":1}]})");
}

TEST(CloudFaultAnswers, HaveNoDataForAnUpload) {
  const cloud::Simulator simulator({});

  const test::CloudAnswer answer =
      Ask(simulator.Port(), RealUpload("20240301100000", R"({"sn":"S1"})"));

  EXPECT_EQ(answer.body, R"({"status":1,"message":"\"data\" is missing"})");
}

TEST(CloudFaultAnswers, TakeAnySerialNumberWhenNoneIsExpected) {
  const cloud::Simulator simulator({});

  const test::CloudAnswer answer =
      Ask(simulator.Port(), Login().Body(R"({"sn":"anyone","applyType":0})"));

  EXPECT_THAT(answer.body, StartsWith(R"({"status":0)"));
}

// What it is for: a request that reaches no endpoint.
struct StrayRequest {
  const char* name;
  CloudRequest request;
  const char* statusLine;
};

void PrintTo(const StrayRequest& row, std::ostream* out) {
  *out << row.request.Head();
}

class CloudStrays : public ::testing::TestWithParam<StrayRequest> {};

TEST_P(CloudStrays, GetAnHttpErrorAndTheEnvelope) {
  const cloud::Simulator simulator({.prefix = "/plant"});

  const test::CloudAnswer answer = Ask(simulator.Port(), GetParam().request);

  EXPECT_EQ(answer.StatusLine(), GetParam().statusLine);
  EXPECT_THAT(answer.body, StartsWith(R"({"status":1,"message":")"));
  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  EXPECT_FALSE(simulator.Exchanges()[0].accepted);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudStrays,
    ::testing::Values(
        StrayRequest{"Get", CloudRequest::Json("/plant/eqpapi/EqpAuthorize", "").Method("GET"),
                     "HTTP/1.1 405 Method Not Allowed"},
        StrayRequest{"Put", CloudRequest::Json("/plant/eqpapi/EqpAuthorize", kLogin).Method("PUT"),
                     "HTTP/1.1 405 Method Not Allowed"},
        StrayRequest{"MethodThatIsNone",
                     CloudRequest::Json("/plant/eqpapi/EqpAuthorize", "").Method("FETCH"),
                     "HTTP/1.1 405 Method Not Allowed"},
        StrayRequest{"NoPrefix", CloudRequest::Json("/eqpapi/EqpAuthorize", kLogin),
                     "HTTP/1.1 404 Not Found"},
        StrayRequest{"OtherPath", CloudRequest::Json("/plant/eqpapi/EqpAuthorise", kLogin),
                     "HTTP/1.1 404 Not Found"},
        StrayRequest{"WithQuery", CloudRequest::Json("/plant/eqpapi/EqpAuthorize?a=1", kLogin),
                     "HTTP/1.1 404 Not Found"},
        StrayRequest{"GetElsewhere", CloudRequest::Json("/", "").Method("GET"),
                     "HTTP/1.1 404 Not Found"}),
    kRowName);

TEST(CloudStrays, AreToldWhichMethodIsPossible) {
  const cloud::Simulator simulator({});

  const test::CloudAnswer answer = Ask(simulator.Port(), Login().Method("GET"));

  EXPECT_THAT(answer.head, HasSubstr("\r\nAllow: POST"));
}

TEST(CloudStrays, ThatAreNoHttpGetABadRequest) {
  const cloud::Simulator simulator({});
  const test::CloudClient client(simulator.Port());

  client.Send("hello\r\n\r\n");

  EXPECT_EQ(client.Receive().StatusLine(), "HTTP/1.1 400 Bad Request");
}

TEST(CloudFaultAnswers, SayHowMuchOfACutRequestArrived) {
  const cloud::Simulator simulator({});
  const test::CloudClient client(simulator.Port());
  const CloudRequest request = RealUpload();
  const std::string bytes = request.Bytes();

  client.Send(bytes.substr(0, request.Head().size() + 100));
  client.EndSending();

  EXPECT_THAT(client.Receive().body,
              HasSubstr("only 100 of " + std::to_string(request.Body().size()) + " bytes arrived"));
}

TEST(CloudFaultAnswers, AreRecordedEvenWhenTheClientIsGone) {
  const cloud::Simulator simulator({});
  {
    const test::CloudClient client(simulator.Port());
    client.Send("POST /eqpapi/EqpAuthorize HTTP/1.1\r\nHost: ");
  }

  ASSERT_TRUE(simulator.AwaitExchanges(1, std::chrono::seconds(10)));

  EXPECT_EQ(simulator.Exchanges()[0].verdict, "HTTP 400, the request is not HTTP");
}

TEST(CloudFaultAnswers, AreNotMadeForAConnectionWithoutAByte) {
  cloud::Simulator simulator({});
  { const test::CloudClient client(simulator.Port()); }
  Ask(simulator.Port(), Login());

  simulator.Stop();

  EXPECT_THAT(simulator.Exchanges(), SizeIs(1));
}

TEST(CloudFaultAnswers, SayThatABodyIsTooLarge) {
  constexpr std::size_t kFarTooLong = 2000000;
  const cloud::Simulator simulator({});

  const test::CloudAnswer answer =
      Ask(simulator.Port(), RealUpload().Body(std::string(kFarTooLong, 'x')));

  EXPECT_THAT(answer.body, HasSubstr("a body of 2000000 bytes is too large"));
}

TEST(CloudFaultAnswers, PutFaultyUploadsAside) {
  const test::TemporaryFolder folder;
  const cloud::Simulator simulator({.uploadFolder = folder.Path()});

  Ask(simulator.Port(), RealUpload("20240301100000", "{}"));

  EXPECT_THAT(test::List(folder.Path() + "/realdata"), IsEmpty());
  EXPECT_THAT(test::List(folder.Path() + "/refused/realdata"),
              ElementsAre("S20240301100000.tar.gz"));
}

TEST(CloudFaultAnswers, KeepNoFileUnderAPathOfTheClient) {
  const test::TemporaryFolder folder;
  const cloud::Simulator simulator({.uploadFolder = folder.Path() + "/uploads"});

  Ask(simulator.Port(), CloudRequest::Upload(kUploadPath, "../../../escaped", SoundArchive()));

  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  EXPECT_EQ(simulator.Exchanges()[0].keptAs, "");
  EXPECT_FALSE(test::Exists(folder.Path() + "/escaped"));
}

}  // namespace
