// The cloud as a strict server: sound requests are accepted, and every fault of a request is found.
#include <gmock/gmock.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "cloud/simulator.h"
#include "cloudclient.h"
#include "support/files.h"

namespace {

using cloud::Exchange;
using cloud::Simulator;
using namespace test;
using namespace testing;

constexpr char kUploads[] = "/tmp/uploads";
constexpr char kRealPath[] = "/eqpapi/EqpUploadDataInfo";
constexpr char kMember[] = "S20240301100000.dat";
constexpr char kRealFile[] = "S20240301100000.tar.gz";

TEST(CloudSimulator, AcceptsASoundRequestToEveryEndpoint) {
  const Simulator simulator({.serialNumber = "S1"});
  const std::vector<std::string> requests = {Login(),      AddressCheck(), RecallCheck(),
                                             RealUpload(), AlarmUpload(),  RecallUpload()};

  constexpr char kTaken[] = R"({"status":0,"message":"ok"})";
  constexpr char kNothing[] = R"({"status":0,"message":"ok","data":[]})";

  std::vector<std::string> answers;
  for (const auto& request : requests) answers.push_back(Ask(simulator.Port(), request).body);

  EXPECT_THAT(answers, ElementsAre(R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})",
                                   kNothing, kNothing, kTaken, kTaken, kTaken));
  const std::vector<Exchange> exchanges = simulator.Exchanges();
  for (std::size_t i = 0; i < cloud::kEndpoints; ++i) {
    EXPECT_EQ(exchanges.at(i).endpoint, cloud::kEndpointFacts[i].endpoint);
    EXPECT_TRUE(exchanges.at(i).accepted) << exchanges.at(i).fault;
  }
  EXPECT_THAT(simulator.AcceptedUploads(), SizeIs(3));
}

TEST(CloudSimulator, RecordsWhatAnUploadCarries) {
  const std::string archive = Archive(kMember, RealDocument());
  const Simulator simulator({.uploadFolder = kUploads});

  Ask(simulator.Port(), Upload(kRealPath, Form(kRealFile, archive)));

  ASSERT_THAT(simulator.AcceptedUploads(), SizeIs(1));
  const Exchange exchange = simulator.AcceptedUploads()[0];
  EXPECT_EQ(exchange.fileName, kRealFile);
  EXPECT_EQ(exchange.memberName, kMember);
  EXPECT_EQ(exchange.archive, archive);
  EXPECT_EQ(exchange.document, RealDocument());
  EXPECT_EQ(exchange.serialNumber, "S1");
  EXPECT_EQ(exchange.devices, 2U);
  EXPECT_EQ(exchange.points, 2U);
  EXPECT_EQ(exchange.keptAs, std::string(kUploads) + "/realdata/" + kRealFile);
  EXPECT_EQ(ReadFile(exchange.keptAs), archive);
  EXPECT_THAT(List(std::string(kUploads) + "/realdata"), ElementsAre(kRealFile));
}

// Expects the cloud to answer each request with status 1, and a fragment of what it finds wrong.
void ExpectFaults(const std::vector<std::pair<std::string, const char*>>& rows) {
  for (const auto& [request, fragment] : rows) {
    SCOPED_TRACE(request);
    const Simulator simulator({.serialNumber = "S1"});
    EXPECT_THAT(Ask(simulator.Port(), request).body, StartsWith(R"({"status":1,"message":")"));
    EXPECT_FALSE(simulator.Exchanges().at(0).accepted);
    EXPECT_THAT(simulator.Exchanges().at(0).fault, HasSubstr(fragment));
  }
}

TEST(CloudSimulator, FindsFaultyHeaders) {
  for (const std::string& request : {Login(), RealUpload()}) {
    const auto with = [&request](const char* from, const char* to) {
      return Replaced(request, from, to);
    };
    ExpectFaults({{with("HTTP/1.1", "HTTP/1.0"), "HTTP/1.1"},
                  {with("Host: 127.0.0.1\r\n", ""), "Host is missing"},
                  {with("Host: 127.0.0.1", "Host:"), "Host is empty"},
                  {with("Keep-Alive", "close"), "Connection is"},
                  {with("Accept: ", "Accept: x"), "Accept is"},
                  {with("gzip, deflate,sdch", "gzip"), "Accept-Encoding is"},
                  {with("zh-CN,zh;q=0.8", "en"), "Accept-Language is"},
                  {with("charset=UTF-8", "charset=utf-8"), "Content-Type is"},
                  {with("Content-Type:", "content-type:x\r\nContent-Type:"), "more than once"},
                  {with("Content-Length: ", "Content-Length: x"), "Content-Length"},
                  {request.substr(0, request.size() - 1), "bytes arrived"}});
  }
}

// "passed", "failed" and "not made": the names of the checks.
std::vector<std::string> NamesOf(const Exchange& exchange, std::optional<bool> passed) {
  std::vector<std::string> names;
  for (const cloud::Check& check : exchange.checks) {
    if (check.passed == passed) names.push_back(check.name);
  }
  return names;
}

TEST(CloudSimulator, GoesOnAfterTheFirstCheckThatFails) {
  const Simulator simulator({.serialNumber = "S2"});
  const std::string faultyName = Form("X.tar.gz", Archive(kMember, RealDocument()));
  const std::string faultyArchive = Form(kRealFile, "no archive");

  Ask(simulator.Port(), Replaced(Upload(kRealPath, faultyName), "Keep-Alive", "close"));
  Ask(simulator.Port(), Upload(kRealPath, faultyArchive));
  Ask(simulator.Port(), RealUpload().substr(0, 500));

  const std::vector<Exchange> exchanges = simulator.Exchanges();
  EXPECT_THAT(NamesOf(exchanges.at(0), false),
              ElementsAre("Connection", "File name", "Serial number"));
  EXPECT_THAT(NamesOf(exchanges.at(0), std::nullopt), ElementsAre("Member"));
  EXPECT_EQ(exchanges.at(0).fault, "header Connection is \"close\", expected \"Keep-Alive\"");
  EXPECT_THAT(NamesOf(exchanges.at(1), false), ElementsAre("Archive"));
  EXPECT_THAT(NamesOf(exchanges.at(1), std::nullopt),
              ElementsAre("Member", "JSON", "Document", "Serial number"));
  EXPECT_THAT(NamesOf(exchanges.at(2), false), ElementsAre("Content-Length"));
  EXPECT_THAT(NamesOf(exchanges.at(2), std::nullopt),
              ElementsAre("Form", "Form field", "Form file name", "Form type", "File name",
                          "Archive", "Member", "JSON", "Document", "Serial number"));
}

TEST(CloudSimulator, SaysOfEachCheckWhatWasExpectedAndFound) {
  const Simulator simulator({});

  Ask(simulator.Port(), Replaced(RecallUpload("{}"), "zh-CN,zh;q=0.8", "en"));

  const std::vector<cloud::Check> checks = simulator.Exchanges().at(0).checks;
  EXPECT_THAT(
      checks,
      AllOf(Contains(cloud::Check{"HTTP version", true, "expected HTTP/1.1; found HTTP/1.1"}),
            Contains(cloud::Check{"Accept-Language", false,
                                  "expected \"zh-CN,zh;q=0.8\"; header Accept-Language is \"en\", "
                                  "expected \"zh-CN,zh;q=0.8\""}),
            Contains(cloud::Check{"Serial number", std::nullopt,
                                  "not checked, because \"Document\" failed"}),
            Contains(
                cloud::Check{"Order", std::nullopt, "not checked, because \"Document\" failed"})));
}

TEST(CloudSimulator, FindsFaultyJsonRequests) {
  ExpectFaults(
      {{Login(""), "not JSON"},
       {Login(std::string(1048577, 'x')), "too large"},
       {Login(R"({"sn":"S1"})"), "applyType"},
       {Login(R"({"sn":"S1","applyType":1})"), "applyType"},
       {Login(R"({"sn":"S2","applyType":0})"), "sn"},
       {JsonRequest("/eqpapi/EqpSkipAddress", " "), "not empty"},
       {RecallCheck("S2"), "sn"},
       {JsonRequest("/eqpapi/EqpDataIfRecall", R"({"sn":"S1","applyType":0})"), "applyType"}});
}

TEST(CloudSimulator, FindsFaultyForms) {
  const std::string form = Form(kRealFile, Archive(kMember, RealDocument()));
  const std::string part = form.substr(0, form.rfind("----WebKit"));
  const std::vector<std::pair<std::string, const char*>> rows = {
      {Replaced(form, "----WebKit", "--WebKit"), "boundary"},
      {part, "boundary"},
      {"x\r\n" + form, "boundary"},
      {form + "x", "boundary"},
      {part + form, "boundary"},
      {"", "boundary"},
      {Replaced(form, "\"licence\"", "\"license\""), "licence"},
      {Replaced(form, ";filename=", ";file="), "file name"},
      {Replaced(form, "octet-stream", "zip"), "octet-stream"}};

  for (const auto& [body, fragment] : rows) ExpectFaults({{Upload(kRealPath, body), fragment}});
}

TEST(CloudSimulator, FindsFaultyFileNamesAndArchives) {
  const std::string text = RealDocument();
  const std::string sound = Archive(kMember, text);
  const auto packed = [&text](const char* command) { return Archive(kMember, text, command); };
  const std::vector<std::tuple<std::string, std::string, const char*>> rows = {
      {"T20240301100000.tar.gz", sound, "file name"},
      {"S2024030110000.tar.gz", sound, "file name"},
      {"S2024030110000x.tar.gz", sound, "file name"},
      {"S20240301100000.tar.xz", sound, "file name"},
      {"1/S20240301100000.tar.gz", sound, "file name"},
      {kRealFile, Archive("S20240301100001.dat", text), "expected S20240301100000.dat"},
      {kRealFile, packed("touch b && tar -czf out S* b"), "more than one"},
      {kRealFile, packed("tar -czf out ./*"), "bare name"},
      {kRealFile, packed("ln -s x l && tar -czf out l"), "ordinary"},
      {kRealFile, packed("tar -czf out -T /dev/null"), "empty"},
      {kRealFile, packed("tar -cf out *"), "gzip"},
      {kRealFile, packed("truncate -s 20M * && tar -czf out *"), "too large"},
      {kRealFile, sound.substr(0, sound.size() / 2), "cannot be read"},
      {kRealFile, text, "cannot be read"},
      {kRealFile, Archive(kMember, AlarmDocument()), "data"},
      {kRealFile, Archive(kMember, R"({"sn":"S2","data":[]})"), "sn"}};

  for (const auto& [name, content, fragment] : rows) {
    ExpectFaults({{Upload(kRealPath, Form(name, content)), fragment}});
  }
}

TEST(CloudSimulator, AnswersAStrayRequestWithAnHttpError) {
  const std::string path = "/plant/eqpapi/EqpAuthorize";
  const std::string login = JsonRequest(path, R"({"sn":"S1","applyType":0})");
  const std::vector<std::pair<std::string, const char*>> rows = {
      {login, "HTTP/1.1 200 OK"},
      {Replaced(login, "POST", "GET"), "HTTP/1.1 405 Method Not Allowed"},
      {Replaced(login, "/plant", ""), "HTTP/1.1 404 Not Found"},
      {Replaced(login, "Authorize ", "Authorise "), "HTTP/1.1 404 Not Found"},
      {Replaced(login, "Authorize ", "Authorize?a=1 "), "HTTP/1.1 404 Not Found"},
      {"hello\r\n\r\n", "HTTP/1.1 400 Bad Request"}};

  for (const auto& [request, statusLine] : rows) {
    SCOPED_TRACE(request);
    const Simulator simulator({.prefix = "/plant"});
    EXPECT_EQ(Ask(simulator.Port(), request).StatusLine(), statusLine);
    EXPECT_EQ(simulator.Exchanges().at(0).accepted, statusLine == rows[0].second);
  }
}

TEST(CloudSimulator, PutsFaultyUploadsAside) {
  Empty(kUploads);
  const Simulator simulator({.uploadFolder = kUploads});

  Ask(simulator.Port(), RealUpload("20240301100000", "{}"));
  Ask(simulator.Port(), Upload(kRealPath, Form("../../escaped", "")));

  EXPECT_THAT(List(std::string(kUploads) + "/realdata"), IsEmpty());
  EXPECT_THAT(List(std::string(kUploads) + "/refused/realdata"), ElementsAre(kRealFile));
  EXPECT_FALSE(Exists(std::string(kUploads) + "/escaped"));
}

}  // namespace
