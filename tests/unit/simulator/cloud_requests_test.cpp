// The cloud as a strict server: sound requests are accepted, and every fault of a request is found.
#include <gmock/gmock.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "cloud/simulator.h"
#include "cloudclient.h"
#include "support/files.h"

namespace {

using cloud::Endpoint;
using cloud::Exchange;
using cloud::Simulator;
using test::AddressCheck;
using test::Archive;
using test::Ask;
using test::Form;
using test::Login;
using test::RealUpload;
using test::Replaced;
using test::Upload;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr char kUploads[] = "/tmp/uploads";
constexpr char kRealPath[] = "/eqpapi/EqpUploadDataInfo";
constexpr char kRealFile[] = "S20240301100000.tar.gz";

TEST(CloudSimulator, AcceptsASoundRequestToEveryEndpoint) {
  const Simulator simulator({.serialNumber = "S1"});
  const std::vector<std::string> requests = {
      Login(),      AddressCheck(),      test::RecallCheck(),
      RealUpload(), test::AlarmUpload(), test::RecallUpload()};

  std::vector<std::string> answers;
  for (const std::string& request : requests) {
    answers.push_back(Ask(simulator.Port(), request).body);
  }

  EXPECT_THAT(
      answers,
      ElementsAre(R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})",
                  R"({"status":0,"message":"ok","data":[]})",
                  R"({"status":0,"message":"ok","data":[]})", R"({"status":0,"message":"ok"})",
                  R"({"status":0,"message":"ok"})", R"({"status":0,"message":"ok"})"));
  const std::vector<Exchange> exchanges = simulator.Exchanges();
  ASSERT_THAT(exchanges, SizeIs(cloud::kEndpoints));
  for (std::size_t i = 0; i < cloud::kEndpoints; ++i) {
    EXPECT_EQ(exchanges[i].endpoint, cloud::kEndpointFacts[i].endpoint);
    EXPECT_TRUE(exchanges[i].accepted) << exchanges[i].fault;
  }
  EXPECT_THAT(simulator.AcceptedUploads(), SizeIs(3));
}

TEST(CloudSimulator, RecordsWhatAnUploadCarries) {
  const std::string archive = Archive("S20240301100000.dat", test::RealDocument());
  const Simulator simulator({.uploadFolder = kUploads});

  Ask(simulator.Port(), Upload(kRealPath, Form(kRealFile, archive)));

  ASSERT_THAT(simulator.AcceptedUploads(), SizeIs(1));
  const Exchange exchange = simulator.AcceptedUploads()[0];
  EXPECT_EQ(exchange.fileName, kRealFile);
  EXPECT_EQ(exchange.memberName, "S20240301100000.dat");
  EXPECT_EQ(exchange.archive, archive);
  EXPECT_EQ(exchange.document, test::RealDocument());
  EXPECT_EQ(exchange.serialNumber, "S1");
  EXPECT_EQ(exchange.devices, 2U);
  EXPECT_EQ(exchange.points, 2U);
  EXPECT_EQ(exchange.keptAs, std::string(kUploads) + "/realdata/" + kRealFile);
  EXPECT_EQ(test::ReadFile(exchange.keptAs), archive);
  EXPECT_THAT(test::List(std::string(kUploads) + "/realdata"), ElementsAre(kRealFile));
}

TEST(CloudSimulator, TakesARequestThatArrivesInPieces) {
  const Simulator simulator({});
  const std::string bytes = RealUpload();
  const test::CloudClient client(simulator.Port());

  for (std::size_t at = 0; at < bytes.size(); at += 7) client.Send(bytes.substr(at, 7));

  EXPECT_EQ(client.Receive().body, R"({"status":0,"message":"ok"})");
}

// Returns what the cloud finds wrong with a request. Checks that it is answered with status 1.
std::string FaultOf(const std::string& request) {
  const Simulator simulator({.serialNumber = "S1"});
  EXPECT_THAT(Ask(simulator.Port(), request).body, StartsWith(R"({"status":1,"message":")"));
  EXPECT_FALSE(simulator.Exchanges().at(0).accepted);
  return simulator.Exchanges().at(0).fault;
}

// One change in a sound request, and a fragment of what the cloud says about it.
struct Change {
  const char* from;
  const char* to;
  const char* fragment;
};

void ExpectFaults(const std::string& request, const std::vector<Change>& changes) {
  for (const Change& change : changes) {
    SCOPED_TRACE(std::string(change.from) + " -> " + change.to);
    EXPECT_THAT(FaultOf(Replaced(request, change.from, change.to)), HasSubstr(change.fragment));
  }
}

TEST(CloudSimulator, FindsFaultyHeaders) {
  const std::vector<Change> changes = {
      {"HTTP/1.1", "HTTP/1.0", "HTTP/1.1"},
      {"Host: 127.0.0.1\r\n", "", "Host is missing"},
      {"Host: 127.0.0.1", "Host:", "Host is empty"},
      {"Connection: Keep-Alive\r\n", "", "Connection is missing"},
      {"Keep-Alive", "close", "Connection is"},
      {"Accept: ", "Accept: x", "Accept is"},
      {"gzip, deflate,sdch", "gzip", "Accept-Encoding is"},
      {"zh-CN,zh;q=0.8", "en", "Accept-Language is"},
      {"charset=UTF-8", "charset=utf-8", "Content-Type is"},
      {"Content-Type:", "content-type:x\r\nContent-Type:", "Content-Type comes more than once"},
      {"Content-Length: ", "Content-Length: x", "Content-Length"}};

  ExpectFaults(Login(), changes);
  ExpectFaults(RealUpload(), changes);
}

TEST(CloudSimulator, FindsFaultyJsonRequests) {
  const std::vector<std::pair<std::string, const char*>> rows = {
      {Login(""), "not JSON"},
      {Login(R"({"sn":"S1"})"), "applyType"},
      {Login(R"({"sn":"S1","applyType":1})"), "applyType"},
      {Login(R"({"sn":"S2","applyType":0})"), "sn"},
      {test::JsonRequest("/eqpapi/EqpSkipAddress", " "), "not empty"},
      {test::RecallCheck("S2"), "sn"},
      {test::JsonRequest("/eqpapi/EqpDataIfRecall", R"({"sn":"S1","applyType":0})"), "applyType"}};

  for (const auto& [request, fragment] : rows) {
    SCOPED_TRACE(request);
    EXPECT_THAT(FaultOf(request), HasSubstr(fragment));
  }
}

TEST(CloudSimulator, FindsFaultyForms) {
  const std::string form = Form(kRealFile, Archive("S20240301100000.dat", test::RealDocument()));
  const std::string part = form.substr(0, form.rfind("----WebKit"));
  const std::vector<std::pair<std::string, const char*>> rows = {
      {Replaced(form, "----WebKit", "--WebKit"), "boundary"},
      {part, "boundary"},
      {"x\r\n" + form, "boundary"},
      {form + "x", "boundary"},
      {part + form, "boundary"},
      {"", "boundary"},
      {"----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n", "boundary"},
      {Replaced(form, "\"licence\"", "\"license\""), "licence"},
      {Replaced(form, ";filename=", ";file="), "file name"},
      {Replaced(form, "octet-stream", "zip"), "octet-stream"}};

  for (const auto& [body, fragment] : rows) {
    SCOPED_TRACE(body);
    EXPECT_THAT(FaultOf(Upload(kRealPath, body)), HasSubstr(fragment));
  }
}

TEST(CloudSimulator, FindsFaultyFileNamesAndArchives) {
  const std::string name = "S20240301100000.dat";
  const std::string text = test::RealDocument();
  const std::string sound = Archive(name, text);
  const std::vector<std::pair<std::string, const char*>> rows = {
      {Form("T20240301100000.tar.gz", sound), "file name"},
      {Form("S2024030110000.tar.gz", sound), "file name"},
      {Form("S2024030110000x.tar.gz", sound), "file name"},
      {Form("S20240301100000.tar.xz", sound), "file name"},
      {Form("1/S20240301100000.tar.gz", sound), "file name"},
      {Form(kRealFile, Archive("S20240301100001.dat", text)), "expected S20240301100000.dat"},
      {Form(kRealFile, Archive(name, text, "touch b && tar -czf out S* b")), "more than one"},
      {Form(kRealFile, Archive(name, text, "tar -czf out ./*")), "bare name"},
      {Form(kRealFile, Archive(name, text, "ln -s x l && tar -czf out l")), "ordinary"},
      {Form(kRealFile, Archive(name, text, "tar -czf out -T /dev/null")), "empty"},
      {Form(kRealFile, Archive(name, text, "tar -cf out *")), "gzip"},
      {Form(kRealFile, Archive(name, text, "truncate -s 20M * && tar -czf out *")), "too large"},
      {Form(kRealFile, sound.substr(0, sound.size() / 2)), "cannot be read"},
      {Form(kRealFile, text), "cannot be read"},
      {Form(kRealFile, Archive(name, test::AlarmDocument())), "data"},
      {Form(kRealFile, Archive(name, R"({"sn":"S2","data":[]})")), "sn"}};

  for (const auto& [form, fragment] : rows) {
    SCOPED_TRACE(fragment);
    EXPECT_THAT(FaultOf(Upload(kRealPath, form)), HasSubstr(fragment));
  }
}

TEST(CloudSimulator, FindsARequestThatIsCutOrTooLong) {
  const Simulator simulator({});
  const std::string request = RealUpload();
  const test::CloudClient client(simulator.Port());

  client.Send(request.substr(0, request.size() - 1));
  client.EndSending();

  EXPECT_THAT(client.Receive().body, HasSubstr("bytes arrived"));
  EXPECT_THAT(Ask(simulator.Port(), Login(std::string(1048577, 'x'))).body, HasSubstr("too large"));
}

TEST(CloudSimulator, AnswersAStrayRequestWithAnHttpError) {
  const std::string path = "/plant/eqpapi/EqpAuthorize";
  const std::string login = test::JsonRequest(path, R"({"sn":"S1","applyType":0})");
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
  test::Empty(kUploads);
  const Simulator simulator({.uploadFolder = kUploads});

  Ask(simulator.Port(), RealUpload("20240301100000", "{}"));
  Ask(simulator.Port(), Upload(kRealPath, Form("../../escaped", "")));

  EXPECT_THAT(test::List(std::string(kUploads) + "/realdata"), IsEmpty());
  EXPECT_THAT(test::List(std::string(kUploads) + "/refused/realdata"), ElementsAre(kRealFile));
  EXPECT_FALSE(test::Exists(std::string(kUploads) + "/escaped"));
}

TEST(CloudSimulator, ServesEightGatewaysAtOnce) {
  constexpr int kGateways = 8;
  constexpr int kExchanges = 10;
  test::Empty(kUploads);
  std::vector<std::size_t> counts;
  Simulator simulator({.uploadFolder = kUploads,
                       .exchangesRemembered = 5,
                       .onAcceptedUpload = [&](std::size_t count) {
                         static std::mutex mutex;
                         const std::lock_guard lock(mutex);
                         counts.push_back(count);
                       }});
  const std::string upload = RealUpload();
  std::vector<std::thread> gateways;

  for (int gateway = 0; gateway < kGateways; ++gateway) {
    gateways.emplace_back([&] {
      for (int i = 0; i < kExchanges; ++i) Ask(simulator.Port(), upload);
    });
  }
  for (std::thread& gateway : gateways) gateway.join();

  simulator.Stop();
  EXPECT_TRUE(simulator.AwaitAccepted(Endpoint::kRealData, kGateways * kExchanges, {}));
  EXPECT_FALSE(simulator.AwaitAccepted(Endpoint::kRealData, kGateways * kExchanges + 1, {}));
  EXPECT_THAT(simulator.Exchanges(), SizeIs(5));
  std::ranges::sort(counts);
  ASSERT_THAT(counts, SizeIs(kGateways * kExchanges));
  EXPECT_EQ(counts.back(), counts.size());
}

TEST(CloudSimulator, ListensOnFreeLoopbackAddressesOnly) {
  const Simulator first({});

  EXPECT_THROW(const Simulator second({.port = first.Port()}), std::system_error);
  EXPECT_NO_THROW(const Simulator second({.address = "127.0.0.2", .port = first.Port()}));
  for (const char* address : {"0.0.0.0", "128.0.0.1", "::1", "localhost", ""}) {
    EXPECT_THROW(const Simulator other({.address = address}), std::invalid_argument) << address;
  }
  EXPECT_THROW(const Simulator other({.secondAddress = "0.0.0.0"}), std::invalid_argument);
  EXPECT_THROW(const Simulator other({.uploadFolder = "/dev/null/uploads"}), std::system_error);
}

}  // namespace
