#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "program/control.h"
#include "program/controlsocket.h"

namespace program {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBacklog = 16;

bool IsSomebodyListening(const sockaddr_un& address) {
  const util::Descriptor probe(MakeControlSocket());
  return connect(probe.Get(), Plain(address), sizeof(address)) == 0 || errno == EAGAIN;
}

bool IsSocket(const char* path) {
  struct stat status {};
  return lstat(path, &status) == 0 && S_ISSOCK(status.st_mode);
}

void Listen(int socket, const std::string& path) {
  const std::optional<sockaddr_un> address = ControlAddress(path);
  if (!address) throw std::invalid_argument("'" + path + "' is too long for a socket");
  if (IsSocket(path.c_str()) && !IsSomebodyListening(*address)) unlink(path.c_str());
  if (bind(socket, Plain(*address), sizeof(*address)) == 0 && listen(socket, kBacklog) == 0) return;
  throw std::system_error(errno, std::generic_category(), "cannot listen on " + path);
}

}  // namespace

struct ControlServer::Client {
  explicit Client(int connection) : socket(connection) {}

  util::Descriptor socket;
  std::string received{};  // a line that is not complete yet
  std::string unsent{};
  bool ends = false;  // nothing more is read; closed once everything is sent
  Clock::time_point heard = Clock::now();
};

ControlServer::ControlServer(std::string path, ControlHandler handler)
    : m_path(std::move(path)),
      m_handler(std::move(handler)),
      m_stop(eventfd(0, EFD_CLOEXEC)),
      m_socket(MakeControlSocket()) {
  if (!m_stop || !m_socket) throw std::system_error(errno, std::generic_category(), "control");
  Listen(m_socket.Get(), m_path);
  m_thread = std::thread([this] { Run(); });
}

void ControlServer::Stop() {
  if (!m_thread.joinable()) return;
  eventfd_write(m_stop.Get(), 1);
  m_thread.join();
  m_socket.Close();  // ends connections that wait to be accepted, too
  unlink(m_path.c_str());
}

void ControlServer::Run() {
  Clients clients;
  for (;;) {
    std::vector<pollfd> waited{{m_stop.Get(), POLLIN, 0}, {m_socket.Get(), POLLIN, 0}};
    for (const auto& client : clients) {
      const int events = (client->ends ? 0 : POLLIN) | (client->unsent.empty() ? 0 : POLLOUT);
      waited.push_back({client->socket.Get(), static_cast<short>(events), 0});
    }
    if (poll(waited.data(), waited.size(), -1) < 0) continue;
    if (waited[0].revents != 0) return;
    std::size_t next = 2;
    clients.remove_if([&](const auto& client) { return !Serve(*client, waited[next++].revents); });
    if (waited[1].revents != 0) Accept(clients);
  }
}

void ControlServer::Accept(Clients& clients) const {
  const int connection = accept4(m_socket.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (connection < 0) return;
  if (clients.size() >= kControlClients) {
    clients.erase(
        std::ranges::min_element(clients, {}, [](const auto& client) { return client->heard; }));
  }
  clients.push_back(std::make_unique<Client>(connection));
}

// False when the connection is over.
bool ControlServer::Serve(Client& client, short events) const {
  if ((events & POLLIN) != 0 && !Receive(client)) return false;
  if ((events & (POLLERR | POLLNVAL)) != 0) return false;
  if ((events & POLLHUP) != 0 && (events & POLLIN) == 0) return false;
  if (!client.unsent.empty()) {
    const ssize_t sent = send(client.socket.Get(), client.unsent.data(), client.unsent.size(),
                              MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0 && errno != EAGAIN) return false;
    if (sent > 0) client.unsent.erase(0, static_cast<std::size_t>(sent));
  }
  if (client.unsent.size() > kControlBytes) return false;
  return !client.ends || !client.unsent.empty();
}

// False when the peer is gone.
bool ControlServer::Receive(Client& client) const {
  std::array<char, kControlChunkBytes> chunk{};
  const ssize_t got = recv(client.socket.Get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
  if (got < 0) return errno == EAGAIN;
  if (got == 0) {
    client.ends = true;  // what it has asked is still answered
    return true;
  }
  client.heard = Clock::now();
  client.received.append(chunk.data(), static_cast<std::size_t>(got));
  AnswerLines(client);
  return true;
}

void ControlServer::AnswerLines(Client& client) const {
  for (;;) {
    const std::size_t end = client.received.find('\n');
    if (std::min(end, client.received.size()) > kControlLineBytes) {
      client.unsent += ControlRefusal("the line is longer than 65536 bytes") + "\n";
      client.received.clear();
      client.ends = true;
      return;
    }
    if (end == std::string::npos) return;
    const std::string line = client.received.substr(0, end);
    client.received.erase(0, end + 1);
    client.unsent += ControlReply(line, m_handler) + "\n";
  }
}

}  // namespace program
