// Posts from memory: what goes out.
#include <gmock/gmock.h>

#include <array>
#include <thread>

#include "curltap.h"
#include "exchange.h"
#include "support/faults.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using test::Function;
using test::HttpAnswer;
using test::MemoryFrame;
using test::Number;
using test::Pointer;
using test::RawServer;

constexpr char kLogin[] = R"({"sn":"S1","applyType":0})";

class MemoryPost : public test::HttpTest, public ::testing::WithParamInterface<test::PostVariant> {
 protected:
  static std::uint32_t Post(ST_FRAME_MEMORY_UPLOAD& frame) { return GetParam()(frame); }
};

INSTANTIATE_TEST_SUITE_P(Variants, MemoryPost,
                         ::testing::Values(test::kPlainPost, test::kPostWithData),
                         [](const auto& test) { return test.param.name; });

TEST_P(MemoryPost, GoesOutByteForByte) {
  RawServer server;
  server.Answer(HttpAnswer(200, "{}"));
  auto frame = MemoryFrame(server.Url("/cloud/eqpapi/EqpAuthorize"), kLogin);

  Post(frame);

  const auto requests = server.Requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].head,
            "POST /cloud/eqpapi/EqpAuthorize HTTP/1.1\r\n"
            "Host: 127.0.0.1:" +
                std::to_string(server.Port()) +
                "\r\n"
                "Connection: Keep-Alive\r\n"
                "Accept: application/json,text/javascript, */*; q=0.01\r\n"
                "Accept-Encoding: gzip, deflate,sdch\r\n"
                "Accept-Language: zh-CN,zh;q=0.8\r\n"
                "Content-Type:application/json; "
                "charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
                "Content-Length: 25");
  EXPECT_EQ(requests[0].body, kLogin);
}

TEST_P(MemoryPost, SetsItsOptionsInThisOrder) {
  RawServer server;
  server.Answer(HttpAnswer(200, "{}"));
  auto frame = MemoryFrame(server.Url("/"), kLogin);
  frame.callbackData = &server;

  Post(frame);

  auto options = test::Options();
  ASSERT_THAT(options, SizeIs(12));
  options.resize(10);  // behind them stand those that bound the answer's headers
  EXPECT_THAT(
      options,
      ElementsAre(Pointer(CURLOPT_URL, frame.url), Number(CURLOPT_SSL_VERIFYPEER, 0),
                  Number(CURLOPT_SSL_VERIFYHOST, 0), Pointer(CURLOPT_HTTPHEADER, nullptr),
                  Number(CURLOPT_TIMEOUT, 30), Number(CURLOPT_NOSIGNAL, 1),
                  Function(CURLOPT_WRITEFUNCTION, test::TakeAnswer),
                  Pointer(CURLOPT_WRITEDATA, GetParam().AnswerData(frame)),
                  Pointer(CURLOPT_POSTFIELDS, frame.body), Number(CURLOPT_POSTFIELDSIZE, 25)));
}

TEST_P(MemoryPost, InstallsTheReadCallbackBehindTheAnswerCallback) {
  RawServer server;
  server.Answer(HttpAnswer(200, "{}"));
  auto frame = MemoryFrame(server.Url("/"), kLogin);
  frame.readCallback = test::ReadNothing;

  Post(frame);

  const auto options = test::Options();
  ASSERT_THAT(options, SizeIs(13));
  EXPECT_EQ(options[8], Function(CURLOPT_READFUNCTION, test::ReadNothing));
  EXPECT_EQ(options[9].option, CURLOPT_POSTFIELDS);
  EXPECT_EQ(server.Requests().at(0).body, kLogin);
}

TEST_P(MemoryPost, WithoutAnAnswerCallbackInstallsNeitherItNorItsData) {
  RawServer server;
  server.Answer(HttpAnswer(200, ""));
  auto frame = MemoryFrame(server.Url("/"), kLogin);
  frame.answerCallback = nullptr;

  Post(frame);

  for (const auto& option : test::Options()) {
    EXPECT_NE(option.option, CURLOPT_WRITEFUNCTION);
    EXPECT_NE(option.option, CURLOPT_WRITEDATA);
  }
}

TEST_P(MemoryPost, WithoutAnAnswerCallbackPrintsTheAnswer) {
  RawServer server;
  server.Answer(HttpAnswer(200, R"({"status":0})"));
  auto frame = MemoryFrame(server.Url("/"), kLogin);
  frame.answerCallback = nullptr;
  testing::internal::CaptureStdout();

  const auto result = Post(frame);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), R"({"status":0})");
  EXPECT_EQ(result, test::kDone);
}

TEST_P(MemoryPost, SendsTheBodyByItsLengthAndNotUpToAZero) {
  using namespace std::string_literals;
  RawServer server;
  const std::string body = "before\0behind"s;
  auto frame = MemoryFrame(server.Url("/"), body);

  Post(frame);

  EXPECT_EQ(server.Requests().at(0).body, body);
}

TEST_P(MemoryPost, SendsNoMoreOfTheBodyThanItsLength) {
  RawServer server;
  auto frame = MemoryFrame(server.Url("/"), kLogin);
  frame.bodyLength = 11;

  Post(frame);

  EXPECT_EQ(server.Requests().at(0).body, R"({"sn":"S1",)");
}

TEST_P(MemoryPost, SendsAnEmptyBody) {
  RawServer server;
  auto frame = MemoryFrame(server.Url("/eqpapi/EqpSkipAddress"), "");

  Post(frame);

  const auto requests = server.Requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].Line(), "POST /eqpapi/EqpSkipAddress HTTP/1.1");
  EXPECT_THAT(requests[0].Headers(), ::testing::Contains("Content-Length: 0"));
  EXPECT_EQ(requests[0].body, "");
}

TEST_P(MemoryPost, SendsAFullBody) {
  RawServer server;
  const std::string body(sizeof(ST_FRAME_MEMORY_UPLOAD::body), 'x');
  auto frame = MemoryFrame(server.Url("/"), body);

  Post(frame);

  EXPECT_EQ(server.Requests().at(0).body, body);
}

TEST_P(MemoryPost, IsAPostWhateverTheFrameCallsIt) {
  RawServer server;
  auto frame = MemoryFrame(server.Url("/"), kLogin);
  std::string_view("GET").copy(frame.method, sizeof(frame.method));
  std::string_view("%s%n").copy(frame.fileType, sizeof(frame.fileType));

  Post(frame);

  EXPECT_EQ(server.Requests().at(0).Line(), "POST / HTTP/1.1");
}

TEST_P(MemoryPost, HandsItsAnswerDataToTheAnswerCallback) {
  RawServer server;
  server.Answer(HttpAnswer(200, R"({"status":0})"));
  auto frame = MemoryFrame(server.Url("/"), kLogin);
  frame.callbackData = &server;

  Post(frame);

  EXPECT_EQ(test::Answer().bytes, R"({"status":0})");
  EXPECT_EQ(test::Answer().userdata, GetParam().AnswerData(frame));
}

TEST_P(MemoryPost, LeavesTheSuccessFlagToTheAnswerCallback) {
  RawServer server;
  server.Answer(HttpAnswer(200, R"({"status":0})")).Answer(HttpAnswer(500, ""));
  auto frame = MemoryFrame(server.Url("/"), kLogin);

  Post(frame);
  EXPECT_EQ(frame.successFlag, 0);
  frame.successFlag = 1;
  Post(frame);
  EXPECT_EQ(frame.successFlag, 1);
}

TEST_P(MemoryPost, WithoutAHandleFailsSilently) {
  RawServer server;
  auto frame = MemoryFrame(server.Url("/"), kLogin);
  test::FailCalls(test::Call::kCurlEasyInit);

  const auto result = Post(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_THAT(server.Requests(), IsEmpty());
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_P(MemoryPost, WithoutMemoryForItsHeadersGoesOutWithLibcurlsOwn) {
  for (const int built : {0, 4}) {
    RawServer server;
    server.Answer(HttpAnswer(200, "{}"));
    auto frame = MemoryFrame(server.Url("/"), kLogin);
    test::ForgetOptions();
    test::FailHeaderLine(built);

    const auto result = Post(frame);

    EXPECT_EQ(result, test::kDone);
    EXPECT_THAT(test::Options(),
                ::testing::Not(::testing::Contains(Pointer(CURLOPT_HTTPHEADER, nullptr))));
    EXPECT_EQ(server.Requests().at(0).body, kLogin);
  }
}

TEST_P(MemoryPost, ToAnEmptyUrlFails) {
  auto frame = MemoryFrame("", kLogin);

  const auto result = Post(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre("curl_easy_perform() failed when post: URL using bad/illegal format or "
                          "missing URL,httpcode =0"));
}

TEST_P(MemoryPost, GoesOutOnTwoThreadsAtOnce) {
  RawServer server;
  constexpr int kEach = 10;
  for (int i = 0; i < 2 * kEach; ++i) server.Answer(HttpAnswer(200, "{}"));
  std::array<int, 2> done{};
  const auto post = [&server](const char* body, int& count) {
    for (int i = 0; i < kEach; ++i) {
      auto frame = MemoryFrame(server.Url("/"), body);
      if (GetParam()(frame) == test::kDone) ++count;
    }
  };

  std::thread other(post, "other", std::ref(done[1]));
  post("one", done[0]);
  other.join();

  EXPECT_EQ(done[0], kEach);
  EXPECT_EQ(done[1], kEach);
  int others = 0;
  for (const auto& request : server.Requests()) others += request.body == "other" ? 1 : 0;
  EXPECT_EQ(others, kEach);
}

TEST(CHttp, IsOneObject) {
  EXPECT_EQ(&GetCHttpInstance(), &GetCHttpInstance());
}

}  // namespace
