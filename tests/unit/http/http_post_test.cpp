// Posts from memory: what goes out.
#include <gmock/gmock.h>

#include <thread>

#include "exchange.h"
#include "support/faults.h"
#include "support/logs.h"
#include "taps.h"

namespace {

using namespace test;
using namespace testing;

class HttpPost : public HttpTest {
 protected:
  static std::uint32_t Send(ST_FRAME_MEMORY_UPLOAD frame) {
    return GetCHttpInstance().POST_MemoryData(&frame);
  }
};

TEST_F(HttpPost, SendsTheseHeaders) {
  Post();

  ASSERT_THAT(m_server.Requests(), SizeIs(1));
  EXPECT_EQ(m_server.Requests()[0].Line(), "POST /e HTTP/1.1");
  EXPECT_THAT(
      m_server.Requests()[0].Headers(),
      ElementsAre("Host: 127.0.0.1:" + std::to_string(m_server.Port()), "Connection: Keep-Alive",
                  "Accept: application/json,text/javascript, */*; q=0.01",
                  "Accept-Encoding: gzip, deflate,sdch", "Accept-Language: zh-CN,zh;q=0.8",
                  "Content-Type:application/json; "
                  "charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln",
                  "Content-Length: 25"));
}

TEST_F(HttpPost, SendsTheBodyByItsLength) {
  using namespace std::string_literals;
  for (const std::string& body :
       {""s, "before\0after"s, std::string(sizeof(ST_FRAME_MEMORY_UPLOAD::body), 'x')}) {
    Send(MemoryFrame(body));

    EXPECT_EQ(m_server.Requests().back().body, body);
  }
}

// The two ways to post from memory differ only in what the answer callback receives.
struct Variant {
  const char* name;
  std::uint32_t (CHttp::*post)(ST_FRAME_MEMORY_UPLOAD*);
  bool handsOverCallbackData;  // else the address of the success flag
};

class PostVariant : public HttpPost, public WithParamInterface<Variant> {};

INSTANTIATE_TEST_SUITE_P(HttpPost, PostVariant,
                         Values(Variant{"Plain", &CHttp::POST_MemoryData, false},
                                Variant{"WithExtraArgs", &CHttp::POST_MemoryData_WithExtraArgs,
                                        true}),
                         [](const auto& test) { return test.param.name; });

TEST_P(PostVariant, SetsTheseOptionsInThisOrder) {
  auto frame = MemoryFrame();
  frame.callbackData = &m_server;
  frame.readCallback = ReadNothing;
  void* flag = &frame.successFlag;

  (GetCHttpInstance().*GetParam().post)(&frame);

  auto options = Options();
  ASSERT_THAT(options, SizeIs(13));
  options.resize(11);  // the last two bound the answer's headers
  EXPECT_THAT(
      options,
      ElementsAre(
          Option(CURLOPT_URL, frame.url), Option(CURLOPT_SSL_VERIFYPEER, 0),
          Option(CURLOPT_SSL_VERIFYHOST, 0), Option(CURLOPT_HTTPHEADER, 0),
          Option(CURLOPT_TIMEOUT, 30), Option(CURLOPT_NOSIGNAL, 1),
          Option(CURLOPT_WRITEFUNCTION, TakeAnswer),
          Option(CURLOPT_WRITEDATA, GetParam().handsOverCallbackData ? frame.callbackData : flag),
          Option(CURLOPT_READFUNCTION, ReadNothing), Option(CURLOPT_POSTFIELDS, frame.body),
          Option(CURLOPT_POSTFIELDSIZE, 25)));
}

TEST_F(HttpPost, PrintsTheAnswerWithoutAnAnswerCallback) {
  m_server.Answer(HttpAnswer(200, R"({"status":0})"));
  testing::internal::CaptureStdout();

  const auto result = Post(nullptr);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), R"({"status":0})");
  EXPECT_EQ(result, kDone);
}

TEST_F(HttpPost, FailsSilentlyWithoutAHandle) {
  FailCalls(Call::kCurlEasyInit);

  EXPECT_EQ(Post(), kFailed);
  EXPECT_THAT(m_server.Requests(), IsEmpty());
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(HttpPost, GoesOutWithLibcurlsHeadersWithoutMemoryForItsOwn) {
  for (const int built : {0, 4}) {
    ForgetOptions();
    FailHeaderLine(built);

    Post();

    for (const auto& [option, value] : Options()) {
      EXPECT_NE(option, CURLOPT_HTTPHEADER);
      EXPECT_NE(option, CURLOPT_READFUNCTION) << "the frame has no read callback";
    }
    EXPECT_EQ(m_server.Requests().back().body, kLogin);
  }
}

TEST_F(HttpPost, GoesOutOnTwoThreadsAtOnce) {
  constexpr int kEach = 10;
  const auto post = [this](const char* body) {
    for (int i = 0; i < kEach; ++i) Send(MemoryFrame(body));
  };

  std::thread other(post, "other");
  post("one");
  other.join();

  int others = 0;
  for (const auto& request : m_server.Requests()) others += request.body == "other" ? 1 : 0;
  EXPECT_EQ(others, kEach);
  EXPECT_THAT(m_server.Requests(), SizeIs(2 * kEach));
}

}  // namespace
