#include "console/web/server.h"

#include <httplib.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "console/web/connections.h"
#include "console/web/dispatch.h"
#include "console/web/eventwriter.h"
#include "console/web/guard.h"
#include "console/web/httpanswer.h"
#include "console/web/threads.h"

namespace console {

namespace {

using std::chrono::steady_clock;

constexpr int kReadSeconds = 5;   // silence of a client in a request
constexpr int kWriteSeconds = 5;  // a client that does not read
constexpr auto kLongestBodyTime = std::chrono::seconds(10);

constexpr auto kBetweenLooks = std::chrono::milliseconds(10);
constexpr std::size_t kMostStreams = 96;  // the other threads stay free for calls
constexpr int kAnyPort = 80;              // a Unix socket has none; the library wants one

constexpr int kGood = 200;
constexpr int kAboveGood = 300;
constexpr int kNoBodyInTime = 408;
constexpr int kNoLength = 411;
constexpr int kTooLarge = 413;
constexpr int kNoRanges = 416;
constexpr int kBusy = 503;

const httplib::Headers kHeadersOfEveryReply = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
     "base-uri 'none'; "
     "form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; "
     "trusted-types 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cache-Control", "no-store"}};

// The library's tasks on our threads. What `enqueue` returns differs between the library's
// versions.
class TaskQueue : public httplib::TaskQueue {
 public:
  using Enqueued = decltype(std::declval<httplib::TaskQueue&>().enqueue(nullptr));

  Enqueued enqueue(std::function<void()> task) override {
    m_threads.Run(std::move(task));
    return static_cast<Enqueued>(true);
  }
  void shutdown() override { m_threads.Join(); }

 private:
  Threads m_threads{Server::kMostConnections};
};

}  // namespace

class Server::Listener {
 public:
  Listener(const Router& router, EventHub& events, const StaticFiles& files,
           std::chrono::milliseconds heartbeat);
  ~Listener() { Stop(); }

  int Listen(const std::string& host, int port);
  void Stop();

  Accepted accepted{};

 private:
  using Http = httplib::Server;

  void SetLimits();
  void SetHandlers();
  // Answers all but a POST that may go on.
  Http::HandlerResponse Begin(const httplib::Request& request, httplib::Response& response);
  void Get(const httplib::Request& request, httplib::Response& response);
  void Post(const httplib::Request& request, httplib::Response& response,
            const httplib::ContentReader& read);
  void OpenStream(httplib::Response& response);

  const Router& m_router;
  EventHub& m_events;
  const StaticFiles& m_files;
  const std::chrono::milliseconds m_heartbeat;
  Http m_http{};
  int m_listening = -1;     // the descriptor, which the library owns
  std::string m_address{};  // where it listens
  std::atomic<bool> m_hasEnded{true};
  std::thread m_thread{};
};

Server::Listener::Listener(const Router& router, EventHub& events, const StaticFiles& files,
                           std::chrono::milliseconds heartbeat)
    : m_router(router), m_events(events), m_files(files), m_heartbeat(heartbeat) {
  SetLimits();
  SetHandlers();
}

void Server::Listener::SetLimits() {
  m_http.new_task_queue = [] { return new TaskQueue; };  // the library deletes it
  m_http.set_default_headers(kHeadersOfEveryReply);
  // The unread rest of a refused request must not be taken for the next one.
  m_http.set_keep_alive_max_count(1);
  m_http.set_read_timeout(kReadSeconds);
  m_http.set_write_timeout(kWriteSeconds);
  m_http.set_payload_max_length(kLargestBodyBytes);
  m_http.set_socket_options([this](int socket) {
    m_listening = socket;
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
  });
}

void Server::Listener::SetHandlers() {
  m_http.set_pre_routing_handler(
      [this](const httplib::Request& request, httplib::Response& response) {
        return Begin(request, response);
      });
  m_http.Post(".*", [this](const httplib::Request& request, httplib::Response& response,
                           const httplib::ContentReader& read) { Post(request, response, read); });
  m_http.set_error_handler(Http::Handler([](const httplib::Request&, httplib::Response& response) {
    const bool hasText = !response.body.empty() || response.content_length_ > 0;
    if (!hasText) Send(ErrorReply(response.status, "the request cannot be read"), response);
  }));
}

int Server::Listener::Listen(const std::string& host, int port) {
  if (host.starts_with('/')) m_http.set_address_family(AF_UNIX);
  if (port == 0) {
    port = m_http.bind_to_any_port(host);
  } else if (!m_http.bind_to_port(host, port)) {
    port = -1;
  }
  if (port < 0) throw std::runtime_error("the console cannot listen on " + host);
  m_address = AddressOf(m_listening);
  m_hasEnded = false;
  m_thread = std::thread([this] {
    m_http.listen_after_bind();
    m_hasEnded = true;
  });
  return port;
}

void Server::Listener::Stop() {
  if (!m_thread.joinable()) return;
  // The library can be stopped once, and only when it runs.
  for (bool isStopped = false; !m_hasEnded;) {
    if (!isStopped && m_http.is_running()) {
      m_http.stop();
      isStopped = true;
    }
    if (isStopped) EndConnections(m_address);
    std::this_thread::sleep_for(kBetweenLooks);
  }
  m_thread.join();
}

Server::Listener::Http::HandlerResponse Server::Listener::Begin(const httplib::Request& request,
                                                                httplib::Response& response) {
  if (request.has_header("Range")) {
    // The library does not hold the range against the length of what it sends.
    response.status = kNoRanges;
    response.set_content(ErrorReply(kNoRanges, "only whole files are sent").body,
                         "application/json");
  } else if (std::optional<Reply> refusal = Refuse(HeadOf(request))) {
    Send(std::move(*refusal), response);
  } else if (request.method != "POST") {
    Get(request, response);
  } else if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
    Send(ErrorReply(kNoLength, "a POST needs a body"), response);
  } else {
    return Http::HandlerResponse::Unhandled;
  }
  return Http::HandlerResponse::Handled;
}

void Server::Listener::Get(const httplib::Request& request, httplib::Response& response) {
  if (request.path == "/api/events") return OpenStream(response);
  const bool isCall = m_router.Gets().contains(request.path) || request.path.starts_with("/api/");
  if (std::optional<StaticFile> file = isCall ? std::nullopt : m_files.Find(request.path)) {
    response.status = kGood;
    response.set_header("Cache-Control", "no-cache");
    return SetContent(response, std::move(file->content), file->type);
  }
  std::map<std::string, std::string> query(request.params.begin(), request.params.end());
  Send(AnswerGet(m_router, request.path, std::move(query)), response);
}

void Server::Listener::Post(const httplib::Request& request, httplib::Response& response,
                            const httplib::ContentReader& read) {
  std::string body;
  const auto deadline = steady_clock::now() + kLongestBodyTime;
  const bool isWhole = read([&](const char* data, std::size_t size) {
    body.append(data, size);
    return body.size() <= kLargestBodyBytes && steady_clock::now() < deadline;
  });
  if (!isWhole && body.size() <= kLargestBodyBytes && response.status != kTooLarge) {
    return Send(ErrorReply(kNoBodyInTime, "the body did not come as a whole"), response);
  }
  if (!isWhole) return Send(ErrorReply(kTooLarge, "the body has more than 64 KiB"), response);
  Reply reply = AnswerPost(m_router, request.path, body);
  const bool isGood = reply.status >= kGood && reply.status < kAboveGood;
  Send(std::move(reply), response);
  if (isGood && accepted) accepted(request.path, body);
}

void Server::Listener::OpenStream(httplib::Response& response) {
  if (m_events.Streams() >= kMostStreams) {
    return Send(ErrorReply(kBusy, "too many pages are open"), response);
  }
  response.status = kGood;
  response.set_chunked_content_provider(
      "text/event-stream",
      [writer = std::make_shared<EventWriter>(m_events, m_heartbeat)](
          std::size_t, httplib::DataSink& sink) { return writer->Write(sink); });
}

Server::Server(const Router& router, EventHub& events, const StaticFiles& files,
               std::chrono::milliseconds heartbeat)
    : m_listener(std::make_unique<Listener>(router, events, files, heartbeat)) {}

Server::~Server() = default;

void Server::OnAccepted(Accepted accepted) {
  m_listener->accepted = std::move(accepted);
}

void Server::ListenOnSocket(const std::string& path) {
  unlink(path.c_str());
  m_listener->Listen(path, kAnyPort);
}

int Server::ListenOnPort(int port, const std::string& address) {
  return m_listener->Listen(address, port);
}

void Server::Stop() {
  m_listener->Stop();
}

}  // namespace console
