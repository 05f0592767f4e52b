// The cloud and the client library that the gateway uses, with the gateway's options.
#include <curl/curl.h>
#include <gmock/gmock.h>

#include <memory>

#include "cloud/simulator.h"
#include "cloudclient.h"

namespace {

using ::testing::SizeIs;

constexpr char kJsonType[] =
    "Content-Type:application/json; "
    "charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln";
constexpr char kFormType[] =
    "Content-Type:multipart/form-data;"
    "charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln";

struct HandleCleaner {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct HeaderFreer {
  void operator()(curl_slist* headers) const { curl_slist_free_all(headers); }
};
using Headers = std::unique_ptr<curl_slist, HeaderFreer>;

size_t Append(char* data, size_t size, size_t count, void* answer) {
  static_cast<std::string*>(answer)->append(data, size * count);
  return size * count;
}

std::string Post(int port, const std::string& path, std::initializer_list<const char*> lines,
                 const std::string& body) {
  const std::unique_ptr<CURL, HandleCleaner> handle(curl_easy_init());
  const std::string url = "http://127.0.0.1:" + std::to_string(port) + path;
  Headers headers;
  for (const char* line : lines) headers.reset(curl_slist_append(headers.release(), line));
  std::string answer;
  curl_easy_setopt(handle.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, Append);
  curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &answer);
  curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDS, body.c_str());
  curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  const CURLcode result = curl_easy_perform(handle.get());
  return result == CURLE_OK ? answer : curl_easy_strerror(result);
}

std::string PostJson(int port, const std::string& path, const std::string& body) {
  return Post(port, path,
              {"Connection: Keep-Alive", "Accept: application/json,text/javascript, */*; q=0.01",
               "Accept-Encoding: gzip, deflate,sdch", "Accept-Language: zh-CN,zh;q=0.8", kJsonType},
              body);
}

std::string PostFile(int port, const std::string& path, const std::string& body) {
  return Post(port, path,
              {"Connection: Keep-Alive", "Accept: */*; q=0.01",
               "Accept-Encoding: gzip, deflate,sdch", "Accept-Language: zh-CN,zh;q=0.8", kFormType},
              body);
}

TEST(CloudBehindLibcurl, TakesALogin) {
  const cloud::Simulator simulator({});

  EXPECT_EQ(PostJson(simulator.Port(), "/eqpapi/EqpAuthorize", R"({"sn":"S1","applyType":0})"),
            R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})");
}

TEST(CloudBehindLibcurl, TakesAnAddressCheckWithoutABody) {
  const cloud::Simulator simulator({});

  EXPECT_EQ(PostJson(simulator.Port(), "/eqpapi/EqpSkipAddress", ""),
            R"({"status":0,"message":"ok","data":[]})");
}

TEST(CloudBehindLibcurl, TakesAnUpload) {
  const cloud::Simulator simulator({});

  const std::string answer =
      PostFile(simulator.Port(), "/eqpapi/EqpUploadDataInfo", test::RealUpload().Body());

  EXPECT_EQ(answer, R"({"status":0,"message":"ok"})");
  EXPECT_THAT(simulator.AcceptedUploads(), SizeIs(1));
}

TEST(CloudBehindLibcurl, ShowsAClosedConnectionAsNoAnswer) {
  cloud::Simulator simulator({});
  simulator.Script(cloud::Endpoint::kRecallCheck, {cloud::Behaviour::Close()});

  EXPECT_EQ(PostJson(simulator.Port(), "/eqpapi/EqpDataIfRecall", R"({"sn":"S1"})"),
            "Server returned nothing (no headers, no data)");
}

}  // namespace
