#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "console/web/server.h"
#include "support/files.h"
#include "unit/simulator/console/webclient.h"

namespace {

using console::Call;
using console::Reply;
using std::chrono::steady_clock;
using test::WebClient;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

const char* const kSocket = "/tmp/console.sock";

class WebServer : public ::testing::Test {
 protected:
  WebServer() {
    test::WriteFile("/tmp/page/index.html", "<p>page");
    m_router.Get("/api/long", [](const Call&) { return Reply{.body = std::string(2000000, 'x')}; });
    m_router.Get("/api/figure", [](const Call& call) {
      return Reply{.body = call.Get("name"), .downloadName = call.Get("save")};
    });
    m_router.Post("/api/act", [this](const Call& call) {
      ++m_acts;
      return call.body->HasMember("refuse") ? console::ErrorReply(409, "not now")
                                            : Reply{.body = "{}"};
    });
    m_server.OnAccepted([this](const std::string& path, const std::string& body) {
      m_accepted.push_back(path + " " + body);
    });
    m_server.ListenOnSocket(kSocket);
  }
  ~WebServer() override {
    m_server.Stop();
    test::Empty("/tmp");
  }

  static std::string Get(const std::string& path, const std::string& headers = "") {
    return "GET " + path + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n";
  }
  static std::string Post(const std::string& body, const std::string& headers = "") {
    return "POST /api/act HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n" +
           headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  }
  static std::string Answer(const std::string& request) {
    WebClient client(kSocket);
    client.Send(request);
    return client.ReadAll();
  }
  static std::unique_ptr<WebClient> Client(const std::string& request) {
    auto client = std::make_unique<WebClient>(kSocket);
    client->Send(request);
    return client;
  }

  console::Router m_router{};
  console::EventHub m_events{};
  console::StaticFiles m_files{"/tmp/page", "/tmp/chart.js"};
  int m_acts = 0;
  std::vector<std::string> m_accepted{};
  console::Server m_server{m_router, m_events, m_files, std::chrono::milliseconds(50)};
};

TEST_F(WebServer, AnswersCallsAndGivesFiles) {
  EXPECT_THAT(Answer(Get("/api/figure?name=a%20b")), StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(Answer(Get("/api/figure?name=a%20b")), HasSubstr("\r\n\r\na b"));
  EXPECT_THAT(Answer(Get("/api/figure?name=a&save=a.json")),
              HasSubstr("Content-Disposition: attachment; filename=\"a.json\"\r\n"));
  EXPECT_THAT(Answer(Get("/")), HasSubstr("\r\n\r\n<p>page"));
}

TEST_F(WebServer, SendsTheSecurityHeadersWithEveryReply) {
  for (const std::string& request :
       {Get("/"), Get("/missing.css"), Get("/api/figure"), Post("[]"), Post("{}"),
        Get("/", "Origin: http://example.org\r\n"), std::string("NONSENSE\r\n\r\n")}) {
    const std::string answer = Answer(request);

    EXPECT_THAT(
        answer,
        HasSubstr(
            "\r\nContent-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
            "img-src 'self'; connect-src 'self'; base-uri 'none'; form-action 'none'; "
            "frame-ancestors 'none'; require-trusted-types-for 'script'; trusted-types 'none'\r\n"))
        << request;
    EXPECT_THAT(answer, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n")) << request;
    EXPECT_THAT(answer, HasSubstr("\r\nReferrer-Policy: no-referrer\r\n")) << request;
  }
}

TEST_F(WebServer, LetsTheBrowserKeepFilesButNotFigures) {
  const std::string file = Answer(Get("/"));
  const std::string figure = Answer(Get("/api/figure"));

  EXPECT_THAT(file, HasSubstr("\r\nCache-Control: no-cache\r\n"));
  EXPECT_THAT(file, Not(HasSubstr("no-store")));
  EXPECT_THAT(figure, HasSubstr("\r\nCache-Control: no-store\r\n"));
}

TEST_F(WebServer, AnswersAHeadWithoutABody) {
  const std::string answer = Answer("HEAD / HTTP/1.1\r\nHost: localhost\r\n\r\n");

  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(answer, EndsWith("\r\n\r\n"));
}

TEST_F(WebServer, RefusesOtherMethods) {
  for (const std::string method : {"PUT", "DELETE", "PATCH", "OPTIONS"}) {
    EXPECT_THAT(Answer(method + " / HTTP/1.1\r\nHost: localhost\r\nContent-Type: "
                                "application/json\r\nContent-Length: 2\r\n\r\n{}"),
                StartsWith("HTTP/1.1 405"))
        << method;
  }
  EXPECT_THAT(Answer("DANCE / HTTP/1.1\r\nHost: localhost\r\n\r\n"), StartsWith("HTTP/1.1 400"));
  EXPECT_EQ(m_acts, 0);
}

TEST_F(WebServer, RefusesAnEnormousHeader) {
  EXPECT_THAT(Answer(Get("/", "X: " + std::string(1000000, 'x') + "\r\n")),
              Not(StartsWith("HTTP/1.1 200")));
  EXPECT_THAT(Answer(Get("/api/figure?name=x")), HasSubstr("\r\n\r\nx"));
}

TEST_F(WebServer, SaysInJsonWhyItRefuses) {
  EXPECT_THAT(Answer(Get("/api/missing")), HasSubstr("\r\n\r\n{\"error\":"));
  EXPECT_THAT(Answer(Get("/", "Host: example.org\r\n")), HasSubstr("\r\n\r\n{\"error\":"));
  EXPECT_THAT(Answer("NONSENSE\r\n\r\n"), HasSubstr("\r\n\r\n{\"error\":"));
}

TEST_F(WebServer, ReportsEachPostThatWasAccepted) {
  Answer(Post("{\"a\":1}"));
  Answer(Post("{\"refuse\":1}"));

  EXPECT_THAT(m_accepted, ElementsAre("/api/act {\"a\":1}"));
}

TEST_F(WebServer, RefusesALargeBody) {
  EXPECT_THAT(Answer(Post(std::string(70000, ' ') + "{}")), StartsWith("HTTP/1.1 413"));
  EXPECT_EQ(m_acts, 0);
}

TEST_F(WebServer, DoesNotReadAChunkedBodyToItsEnd) {
  const auto client = Client(
      "POST /api/act HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
      "Transfer-Encoding: chunked\r\n\r\n");
  for (int i = 0; i < 65; ++i) client->Send("400\r\n" + std::string(1024, ' ') + "\r\n");

  const auto before = steady_clock::now();

  EXPECT_THAT(client->ReadAll(), StartsWith("HTTP/1.1 413"));
  EXPECT_LT(steady_clock::now() - before, std::chrono::seconds(2));
}

TEST_F(WebServer, DoesNotTakeTheBodyOfARefusedRequestForARequest) {
  const std::string hidden = Post("{}");

  Answer(Post(hidden, "Origin: http://example.org\r\n"));
  Answer("GET /api/missing HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
         std::to_string(hidden.size()) + "\r\n\r\n" + hidden);

  EXPECT_EQ(m_acts, 0);
}

TEST_F(WebServer, RefusesRanges) {
  for (const char* range : {"bytes=1000000-2000000", "bytes=-1", "bytes=0-1,5-6", "bytes=9-1"}) {
    EXPECT_THAT(Answer(Get("/", "Range: " + std::string(range) + "\r\n")),
                StartsWith("HTTP/1.1 416"))
        << range;
  }
}

TEST_F(WebServer, AnswersWhileManyStreamsAndIdleConnectionsAreOpen) {
  std::vector<std::unique_ptr<WebClient>> open;
  for (int i = 0; i < 40; ++i) {
    open.push_back(Client(Get("/api/events")));
    open.push_back(Client(""));
  }
  for (const auto& client : open) ASSERT_TRUE(client->IsOpen());
  const auto before = steady_clock::now();

  EXPECT_THAT(Answer(Get("/api/figure?name=x")), HasSubstr("\r\n\r\nx"));
  EXPECT_LT(steady_clock::now() - before, std::chrono::seconds(2));
}

TEST_F(WebServer, KeepsThreadsForCallsWhenTooManyPagesAreOpen) {
  std::vector<std::unique_ptr<WebClient>> open;
  for (int i = 0; i < 96; ++i) {
    open.push_back(Client(Get("/api/events")));
    open.back()->ReadTo("heartbeat");
  }

  EXPECT_THAT(Answer(Get("/api/events")), StartsWith("HTTP/1.1 503"));
  EXPECT_THAT(Answer(Get("/api/figure?name=x")), HasSubstr("\r\n\r\nx"));
}

TEST_F(WebServer, StreamsEventsAsTheyCome) {
  m_events.Publish("state", "{\"a\":1}");
  const auto client = Client(Get("/api/events", "Accept-Encoding: gzip, br\r\n"));

  EXPECT_THAT(client->ReadTo("{\"a\":1}"), HasSubstr("event: state\ndata: {\"a\":1}\n\n"));
  m_events.Publish("lines", "{\"b\":2}");
  EXPECT_THAT(client->ReadTo("{\"b\":2}"), HasSubstr("event: lines\ndata: {\"b\":2}\n\n"));
}

TEST_F(WebServer, SendsHeartbeatsAlsoWhileEventsCome) {
  const auto client = Client(Get("/api/events"));
  const std::string beat = "event: heartbeat\ndata: {}\n\n";
  client->ReadTo(beat);
  const auto limit = steady_clock::now() + std::chrono::seconds(5);

  std::string text;
  for (int i = 0; text.find(beat, text.find(beat) + 1) == std::string::npos; ++i) {
    ASSERT_LT(steady_clock::now(), limit);
    m_events.Publish("lines", std::to_string(i));
    text = client->ReadTo("data: " + std::to_string(i) + "\n");
  }
}

// Without anything to write.
TEST_F(WebServer, NoticesThatAPageHasGone) {
  const std::string path = "/tmp/silent.sock";
  console::Server silent(m_router, m_events, m_files, std::chrono::hours(1));
  silent.ListenOnSocket(path);
  {
    WebClient client(path);
    client.Send(Get("/api/events"));
    client.ReadTo("heartbeat");
  }
  const auto limit = steady_clock::now() + std::chrono::seconds(5);

  while (m_events.Streams() > 0) ASSERT_LT(steady_clock::now(), limit);
}

TEST_F(WebServer, ListensOnAPortOfTheLoopback) {
  console::Server server(m_router, m_events, m_files);

  const int port = server.ListenOnPort(0);

  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  const int client = socket(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(connect(client, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  close(client);
}

// What a client does that the server must not wait for.
struct Hindrance {
  const char* name;
  std::string request;
};

class WebServerStop : public WebServer, public ::testing::WithParamInterface<Hindrance> {
 public:
  static std::string Stream() { return Get("/api/events"); }
  static std::string Download() { return Get("/api/long"); }
};

TEST_P(WebServerStop, DoesNotWaitForAClient) {
  const auto client = Client(GetParam().request);
  for (int i = 0; i < 30; ++i) m_events.Publish("lines", std::string(100000, 'x'));
  EXPECT_THAT(Answer(Get("/api/figure?name=x")), HasSubstr("\r\n\r\nx"));
  const auto before = steady_clock::now();

  m_server.Stop();

  EXPECT_LT(steady_clock::now() - before, std::chrono::seconds(2));
  EXPECT_FALSE(WebClient(kSocket).IsOpen());
}

INSTANTIATE_TEST_SUITE_P(
    Clients, WebServerStop,
    ::testing::Values(Hindrance{"Idle", ""}, Hindrance{"HalfAHead", "GET / HT"},
                      Hindrance{"StreamThatIsNotRead", WebServerStop::Stream()},
                      Hindrance{"DownloadThatIsNotRead", WebServerStop::Download()},
                      Hindrance{"StalledPost",
                                "POST /api/act HTTP/1.1\r\nHost: localhost\r\nContent-Type: "
                                "application/json\r\nContent-Length: 9\r\n\r\n{"}),
    [](const auto& row) { return row.param.name; });

}  // namespace
