#include "support/rawserver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace test {
namespace {

constexpr char kHeadEnd[] = "\r\n\r\n";
constexpr std::chrono::milliseconds kBetweenPieces{50};

std::size_t ContentLength(const std::string& head) {
  constexpr std::string_view kName = "\r\nContent-Length: ";
  const auto at = head.find(kName);
  return at == std::string::npos ? 0 : std::stoul(head.substr(at + kName.size()));
}

// Nothing when the client closes the connection before its request is complete.
std::optional<RawRequest> ReadRequest(int connection) {
  std::string received;
  char part[16384];
  for (;;) {
    const auto headEnd = received.find(kHeadEnd);
    if (headEnd != std::string::npos) {
      RawRequest request{received.substr(0, headEnd), received.substr(headEnd + 4)};
      if (request.body.size() >= ContentLength(request.head)) return request;
    }
    const ssize_t count = recv(connection, part, sizeof(part), 0);
    if (count <= 0) return std::nullopt;
    received.append(part, static_cast<std::size_t>(count));
  }
}

}  // namespace

std::vector<std::string> RawRequest::Headers() const {
  std::vector<std::string> lines;
  auto from = head.find("\r\n");
  while (from != std::string::npos) {
    const auto to = head.find("\r\n", from + 2);
    lines.push_back(head.substr(from + 2, to == std::string::npos ? to : to - from - 2));
    from = to;
  }
  return lines;
}

bool Send(int connection, const std::string& bytes) {
  const ssize_t sent = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  return sent == static_cast<ssize_t>(bytes.size());
}

std::string HttpAnswer(int status, const std::string& body) {
  return "HTTP/1.1 " + std::to_string(status) + " Status\r\nContent-Type: application/json\r\n" +
         "Content-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

RawServer::RawServer() : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (bind(m_listener, generic, length) != 0 || listen(m_listener, 8) != 0 ||
      getsockname(m_listener, generic, &length) != 0) {
    throw std::runtime_error("no free port on the loopback");
  }
  m_port = ntohs(address.sin_port);
  m_thread = std::thread([this] { Serve(); });
}

RawServer::~RawServer() {
  shutdown(m_listener, SHUT_RDWR);  // ends the accept in Serve
  m_thread.join();
  close(m_listener);
}

RawServer& RawServer::Answer(Pieces pieces) {
  const std::lock_guard lock(m_mutex);
  m_answers.push_back(std::move(pieces));
  return *this;
}

RawServer& RawServer::HandleApart(const std::string& path, Handler handler) {
  const std::lock_guard lock(m_mutex);
  m_handlersApart.emplace_back(path, std::move(handler));
  return *this;
}

std::vector<RawRequest> RawServer::Requests() const {
  const std::lock_guard lock(m_mutex);
  return m_requests;
}

void RawServer::Serve() {
  for (;;) {
    const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) break;
    m_exchanges.emplace_back([this, connection] {
      Exchange(connection);
      close(connection);
    });
  }
  for (auto& exchange : m_exchanges) exchange.join();
}

void RawServer::Exchange(int connection) {
  const int noDelay = 1;
  setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof(noDelay));
  if (const auto request = ReadRequest(connection)) Next (*request)(*request, connection);
}

RawServer::Handler RawServer::Next(const RawRequest& request) {
  const std::lock_guard lock(m_mutex);
  for (const auto& [path, handler] : m_handlersApart) {
    if (request.Line().find(path + " ") != std::string::npos) return handler;
  }
  m_requests.push_back(request);
  Pieces pieces{HttpAnswer(500, "")};
  if (!m_answers.empty()) {
    pieces = std::move(m_answers.front());
    m_answers.pop_front();
  }
  return [pieces = std::move(pieces)](const RawRequest& /*request*/, int connection) {
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      if (i > 0) std::this_thread::sleep_for(kBetweenPieces);
      Send(connection, pieces[i]);
    }
  };
}

}  // namespace test
