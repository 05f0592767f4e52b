// Posts from memory: what becomes of the answer.
#include <gmock/gmock.h>

#include "exchange.h"
#include "support/logs.h"

namespace {

using namespace std::string_literals;
using namespace test;
using namespace testing;

class AnsweredPost : public HttpTest {};

TEST_F(AnsweredPost, SucceedsForStatus200And201Only) {
  for (const int status : {200, 201, 202, 204, 299, 301, 302, 304, 400, 401, 404, 500, 999}) {
    SCOPED_TRACE(status);
    m_server.Answer(HttpAnswer(status, R"({"status":0,"message":"ok"})"));

    EXPECT_EQ(Post(), status == 200 || status == 201 ? kDone : kFailed);
  }
}

TEST_F(AnsweredPost, SucceedsAlsoWhenTheCallbackReturnsAnotherCount) {
  m_server.Answer(HttpAnswer(200, R"({"status":0})"));

  EXPECT_EQ(Post(RejectAnswer), kDone);
  EXPECT_EQ(Answer(), R"({"status":0})");
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(AnsweredPost, SucceedsAlsoWhenTheAnswerBreaksOffAfterStatus200) {
  m_server.Answer("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"status\":0");

  EXPECT_EQ(Post(), kDone);
  EXPECT_EQ(Answer(), "{\"status\":0");
}

TEST_F(AnsweredPost, DoesNotFollowARedirect) {
  m_server.Answer("HTTP/1.1 302 Found\r\nLocation: " + m_server.Url("/elsewhere") +
                  "\r\nContent-Length: 0\r\n\r\n");

  EXPECT_EQ(Post(), kFailed);
  EXPECT_THAT(m_server.Requests(), SizeIs(1));
}

struct Trouble {
  const char* name;
  RawServer::Pieces answer;
  const char* words;  // libcurl's
  int httpStatus;
};

class FailedPost : public HttpTest, public WithParamInterface<Trouble> {};

TEST_P(FailedPost, LogsItsErrorAndStatus) {
  m_server.Answer(GetParam().answer);

  EXPECT_EQ(Post(), kFailed);
  EXPECT_THAT(TextLog(), ElementsAre(LogRecord{
                             "WARN", "curl_easy_perform() failed when post: "s + GetParam().words +
                                         ",httpcode =" + std::to_string(GetParam().httpStatus)}));
  EXPECT_THAT(m_server.Requests(), SizeIs(1)) << "the client never tries again";
}

INSTANTIATE_TEST_SUITE_P(
    Answers, FailedPost,
    Values(Trouble{"Nothing", {}, "Server returned nothing (no headers, no data)", 0},
           Trouble{"NoHttp", {"garbage\r\n\r\n{\"status\":0}"}, "Unsupported protocol", 0},
           Trouble{"EmptyStatus", {HttpAnswer(500, "")}, "No error", 500},
           Trouble{"TornBody",
                   {"HTTP/1.1 500 Error\r\nContent-Length: 100\r\n\r\n{\"status\":0"},
                   "Transferred a partial file",
                   500}),
    [](const auto& test) { return test.param.name; });

TEST_F(AnsweredPost, FailsWithStatusZeroWhereNobodyListens) {
  auto frame = MemoryFrame();
  const std::string url = "http://127.0.0.1:" + std::to_string(RawServer().Port()) + "/";
  frame.url[url.copy(frame.url, sizeof(frame.url) - 1)] = '\0';

  EXPECT_EQ(GetCHttpInstance().POST_MemoryData(&frame), kFailed);
  EXPECT_THAT(TextLog("WARN"), ElementsAre(HasSubstr("connect to server,httpcode =0")));
}

struct Form {
  const char* name;
  RawServer::Pieces pieces;
  std::string body;
};

class PostAnswer : public HttpTest, public WithParamInterface<Form> {};

TEST_P(PostAnswer, ReachesTheCallbackWhole) {
  m_server.Answer(GetParam().pieces);

  EXPECT_EQ(Post(), kDone);
  EXPECT_EQ(Answer(), GetParam().body);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, PostAnswer,
    Values(
        Form{
            "InChunks",
            {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\n{\"sta\r\n7\r\ntus\":0}\r\n"
             "0\r\n\r\n"},
            R"({"status":0})"},
        Form{
            "StillCompressed",
            {"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 4\r\n\r\n\x1f\x8b\x08\0"s},
            "\x1f\x8b\x08\0"s},
        Form{"Long", {HttpAnswer(200, std::string(1000000, 'x'))}, std::string(1000000, 'x')},
        Form{"AfterAContinue", {"HTTP/1.1 100 Continue\r\n\r\n" + HttpAnswer(200, "{}")}, "{}"}),
    [](const auto& test) { return test.param.name; });

// What libcurl keeps of an answer beside its body is bounded.
class HeaderBound : public HttpTest {
 protected:
  static constexpr std::size_t kMostHeaderBytes = 64U << 10;
  static constexpr char kEnd[] = "Content-Length: 2\r\n\r\n";

  // `text` with header lines after it, `bytes` together.
  static std::string WithHeaderLines(std::string text, std::size_t bytes) {
    const std::string line = "X-Filler: " + std::string(88, 'x') + "\r\n";
    while (text.size() + 2 * line.size() < bytes) text += line;
    return text + "X: " + std::string(bytes - text.size() - 5, 'x') + "\r\n";
  }
  // An answer whose head has so many bytes.
  static std::string AnswerWithHead(std::size_t bytes) {
    return WithHeaderLines("HTTP/1.1 200 OK\r\n", bytes - sizeof(kEnd) + 1) + kEnd + "{}";
  }
};

TEST_F(HeaderBound, BreaksOffAnAnswerWithMoreThan64Kibibytes) {
  m_server.Answer(AnswerWithHead(kMostHeaderBytes)).Answer(AnswerWithHead(kMostHeaderBytes + 1));

  EXPECT_EQ(Post(), kDone);
  EXPECT_EQ(Answer(), "{}");
  EXPECT_EQ(Post(), kDone) << "as after any status 200";
  EXPECT_EQ(Answer(), "{}") << "the second answer is broken off before its body";
  EXPECT_THAT(TextLog("WARN"),
              ElementsAre("answer with more than 65536 bytes of headers broken off"));
}

TEST_F(HeaderBound, BreaksOffInEndlessTrailers) {
  const std::string body = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n";
  m_server.Answer(WithHeaderLines(body, 4 * kMostHeaderBytes));

  EXPECT_EQ(Post(), kDone);
  EXPECT_EQ(Answer(), "{}");
  EXPECT_THAT(TextLog("WARN"), SizeIs(1));
}

}  // namespace
