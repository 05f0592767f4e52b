#include "console/web/server.h"

#include <httplib.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

#include "console/web/connections.h"
#include "console/web/dispatch.h"
#include "console/web/httpanswer.h"
#include "console/web/requests.h"
#include "console/web/threads.h"

namespace console {

namespace {

constexpr int kReadSeconds = 5;   // silence of a client in a request
constexpr int kWriteSeconds = 5;  // a client that does not read
constexpr auto kBetweenLooks = std::chrono::milliseconds(10);
constexpr int kAnyPort = 80;  // a Unix socket has none; the library wants one

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

  void OnAccepted(Accepted accepted) { m_requests.accepted = std::move(accepted); }

 private:
  using Http = httplib::Server;

  void SetLimits();
  void SetHandlers();

  Requests m_requests;
  Http m_http{};
  int m_listening = -1;     // the descriptor, which the library owns
  std::string m_address{};  // where it listens
  std::atomic<bool> m_hasEnded{true};
  std::thread m_thread{};
};

Server::Listener::Listener(const Router& router, EventHub& events, const StaticFiles& files,
                           std::chrono::milliseconds heartbeat)
    : m_requests(router, events, files, heartbeat) {
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
        return m_requests.Answer(request, response) ? Http::HandlerResponse::Handled
                                                    : Http::HandlerResponse::Unhandled;
      });
  m_http.Post(".*", [this](const httplib::Request& request, httplib::Response& response,
                           const httplib::ContentReader& read) {
    m_requests.AnswerPost(request, response, read);
  });
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

Server::Server(const Router& router, EventHub& events, const StaticFiles& files,
               std::chrono::milliseconds heartbeat)
    : m_listener(std::make_unique<Listener>(router, events, files, heartbeat)) {}

Server::~Server() = default;

void Server::OnAccepted(Accepted accepted) {
  m_listener->OnAccepted(std::move(accepted));
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
