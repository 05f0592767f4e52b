// Posts from memory: what becomes of the answer.
#include <gmock/gmock.h>

#include "exchange.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using test::HttpAnswer;
using test::MemoryFrame;
using test::RawServer;

constexpr char kBody[] = R"({"sn":"S1"})";
constexpr std::size_t kMostHeaderBytes = 64U << 10;
constexpr char kTooManyHeaders[] = "answer with more than 65536 bytes of headers broken off";

// `text` with header lines behind it, `bytes` together.
std::string WithHeaderLines(std::string text, std::size_t bytes) {
  const std::string line = "X-Filler: " + std::string(88, 'x') + "\r\n";
  while (text.size() + 2 * line.size() < bytes) text += line;
  return text + "X: " + std::string(bytes - text.size() - 5, 'x') + "\r\n";
}

std::string Failure(const std::string& words, int status) {
  return "curl_easy_perform() failed when post: " + words + ",httpcode =" + std::to_string(status);
}

class StatusOfAPost
    : public test::HttpTest,
      public ::testing::WithParamInterface<std::tuple<test::PostVariant, test::StatusVerdict>> {};

TEST_P(StatusOfAPost, DecidesWhateverTheBodySays) {
  const auto& [post, verdict] = GetParam();
  RawServer server;
  server.Answer(HttpAnswer(verdict.status, R"({"status":0,"message":"ok"})"));
  auto frame = MemoryFrame(server.Url("/"), kBody);

  const auto result = post(frame);

  EXPECT_EQ(result, verdict.result);
  EXPECT_THAT(test::TextLog(), SizeIs(result == test::kDone ? 0 : 1));
}

INSTANTIATE_TEST_SUITE_P(Statuses, StatusOfAPost,
                         ::testing::Combine(::testing::Values(test::kPlainPost,
                                                              test::kPostWithData),
                                            ::testing::ValuesIn(test::StatusVerdicts())),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) +
                                  std::to_string(std::get<1>(test.param).status);
                         });

class TroubleWithAPost
    : public test::HttpTest,
      public ::testing::WithParamInterface<std::tuple<test::PostVariant, test::Trouble>> {};

TEST_P(TroubleWithAPost, IsLoggedWithTheErrorAndTheStatus) {
  const auto& [post, trouble] = GetParam();
  RawServer server;
  server.Answer(trouble.answer);
  auto frame = MemoryFrame(server.Url("/"), kBody);

  const auto result = post(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(test::LogRecord{"WARN", Failure(trouble.words, trouble.httpStatus)}));
  EXPECT_THAT(server.Requests(), SizeIs(1)) << "a failed request is not repeated here";
}

INSTANTIATE_TEST_SUITE_P(Answers, TroubleWithAPost,
                         ::testing::Combine(::testing::Values(test::kPlainPost,
                                                              test::kPostWithData),
                                            ::testing::ValuesIn(test::Troubles())),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) +
                                  std::get<1>(test.param).name;
                         });

class PostAnswer : public test::HttpTest, public ::testing::WithParamInterface<test::PostVariant> {
 protected:
  // Posts to the server with that answer callback.
  std::uint32_t Post(AnswerCallback callback = test::TakeAnswer) {
    auto frame = MemoryFrame(m_server.Url("/"), kBody);
    frame.answerCallback = callback;
    return GetParam()(frame);
  }

  RawServer m_server;
};

INSTANTIATE_TEST_SUITE_P(Variants, PostAnswer,
                         ::testing::Values(test::kPlainPost, test::kPostWithData),
                         [](const auto& test) { return test.param.name; });

TEST_P(PostAnswer, FromNobodyIsLoggedWithStatusZero) {
  auto frame = MemoryFrame("http://127.0.0.1:" + std::to_string(test::ClosedPort()) + "/", kBody);

  const auto result = GetParam()(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(test::LogRecord{"WARN", Failure("Couldn't connect to server", 0)}));
}

TEST_P(PostAnswer, WithStatus200SucceedsAlsoWhenTheCallbackReturnsAnotherCount) {
  m_server.Answer(HttpAnswer(200, R"({"status":0})"));

  const auto result = Post(test::RejectAnswer);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(test::Answer().bytes, R"({"status":0})");
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_P(PostAnswer, WithStatus500FailsWithTheCallbacksErrorWhenItReturnsAnotherCount) {
  m_server.Answer(HttpAnswer(500, R"({"status":0})"));

  const auto result = Post(test::RejectAnswer);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(test::Answer().bytes, R"({"status":0})");
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(Failure("Failed writing received data to disk/application", 500)));
}

TEST_P(PostAnswer, ThatBreaksOffBehindStatus200Succeeds) {
  m_server.Answer("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"status\":0");

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_EQ(test::Answer().bytes, "{\"status\":0");
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_P(PostAnswer, IsNotFollowedToAnotherPlace) {
  m_server.Answer("HTTP/1.1 302 Found\r\nLocation: " + m_server.Url("/elsewhere") +
                  "\r\nContent-Length: 0\r\n\r\n");
  m_server.Answer(HttpAnswer(200, "{}"));

  EXPECT_EQ(Post(), test::kFailed);
  EXPECT_THAT(m_server.Requests(), SizeIs(1));
}

TEST_P(PostAnswer, InPiecesReachesTheCallbackPieceByPiece) {
  m_server.Answer(
      RawServer::Pieces{"HTTP/1.1 200 OK\r\nContent-Length: 12\r\n\r\n{\"sta", "tus\":0}"});

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_EQ(test::Answer().bytes, R"({"status":0})");
  EXPECT_THAT(test::Answer().parts, ElementsAre(5, 7));
}

TEST_P(PostAnswer, WithAHeadInPiecesIsTakenLikeAnyOther) {
  m_server.Answer(RawServer::Pieces{"HTT", "P/1.1 200 OK\r\nContent-Le", "ngth: 2\r\n\r\n{}"});

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_EQ(test::Answer().bytes, "{}");
}

TEST_P(PostAnswer, InChunksReachesTheCallbackWithoutTheirSizes) {
  m_server.Answer(
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\n{\"sta\r\n7\r\ntus\":0}\r\n0\r\n"
      "\r\n");

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_EQ(test::Answer().bytes, R"({"status":0})");
}

TEST_P(PostAnswer, WithAZeroInItReachesTheCallbackWhole) {
  using namespace std::string_literals;
  m_server.Answer(HttpAnswer(200, "{\"status\"\0:0}"s));

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_EQ(test::Answer().bytes, "{\"status\"\0:0}"s);
}

TEST_P(PostAnswer, ThatIsCompressedReachesTheCallbackCompressed) {
  using namespace std::string_literals;
  const std::string compressed =
      "\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03\xab\xae\x05\x00\x43\xbf\xa6\xa3\x02\x00\x00\x00"s;
  m_server.Answer("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " +
                  std::to_string(compressed.size()) + "\r\n\r\n" + compressed);

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_EQ(test::Answer().bytes, compressed);
}

TEST_P(PostAnswer, OfAMillionCharactersReachesTheCallbackWhole) {
  const std::string longAnswer(1000000, 'x');
  m_server.Answer(HttpAnswer(200, longAnswer));

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_EQ(test::Answer().bytes.size(), longAnswer.size());
  EXPECT_GT(test::Answer().parts.size(), 1U);
}

TEST_P(PostAnswer, WithoutABodyNeverReachesTheCallback) {
  m_server.Answer(HttpAnswer(200, ""));

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_THAT(test::Answer().parts, IsEmpty());
}

TEST_P(PostAnswer, MayHave64KibibytesOfHeaders) {
  const std::string end = "Content-Length: 2\r\n\r\n";
  m_server.Answer(WithHeaderLines("HTTP/1.1 200 OK\r\n", kMostHeaderBytes - end.size()) + end +
                  "{}");

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_EQ(test::Answer().bytes, "{}");
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_P(PostAnswer, WithMoreHeadersFailsLikeAnyThatBreaksOff) {
  const std::string end = "Content-Length: 2\r\n\r\n";
  m_server.Answer(WithHeaderLines("HTTP/1.1 500 Error\r\n", kMostHeaderBytes - end.size() + 1) +
                  end + "{}");

  EXPECT_EQ(Post(), test::kFailed);
  EXPECT_THAT(test::Answer().parts, IsEmpty());
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(kTooManyHeaders,
                          Failure("Failed writing received data to disk/application", 500)));
}

// libcurl would keep them all.
TEST_P(PostAnswer, BreaksOffInEndlessTrailers) {
  const std::string body = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n";
  m_server.Answer(WithHeaderLines(body, 4 * kMostHeaderBytes));

  EXPECT_EQ(Post(), test::kDone) << "as behind any status 200";
  EXPECT_EQ(test::Answer().bytes, "{}");
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(kTooManyHeaders));
}

TEST_P(PostAnswer, BehindAContinueIsTheOneThatCounts) {
  m_server.Answer("HTTP/1.1 100 Continue\r\n\r\n" + HttpAnswer(200, "{}"));

  EXPECT_EQ(Post(), test::kDone);
  EXPECT_EQ(test::Answer().bytes, "{}");
}

}  // namespace
