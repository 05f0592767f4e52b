#include "program/control.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace program {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBacklog = 16;
constexpr std::size_t kChunkBytes = std::size_t{16} * 1024;
constexpr std::size_t kUnsentBytes = std::size_t{1}
                                     << 20;  // a client that reads nothing is dropped

std::optional<sockaddr_un> AddressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address.sun_path)) return std::nullopt;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

// The socket calls take every family's address through one type.
const sockaddr* Plain(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

int MakeSocket() {
  return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

bool IsSomebodyListening(const sockaddr_un& address) {
  const util::Descriptor probe(MakeSocket());
  return connect(probe.Get(), Plain(address), sizeof(address)) == 0 || errno == EAGAIN;
}

bool IsSocket(const char* path) {
  struct stat status {};
  return lstat(path, &status) == 0 && S_ISSOCK(status.st_mode);
}

void Listen(int socket, const std::string& path) {
  const std::optional<sockaddr_un> address = AddressOf(path);
  if (!address) throw std::invalid_argument("'" + path + "' is too long for a socket");
  if (IsSocket(path.c_str()) && !IsSomebodyListening(*address)) unlink(path.c_str());
  if (bind(socket, Plain(*address), sizeof(*address)) == 0 && listen(socket, kBacklog) == 0) return;
  throw std::system_error(errno, std::generic_category(), "cannot listen on " + path);
}

std::string Refusal(const std::string& why) {
  rapidjson::StringBuffer text;
  ControlWriter writer(text);
  writer.StartObject();
  writer.Key("ok");
  writer.Bool(false);
  writer.Key("error");
  writer.String(why.data(), static_cast<rapidjson::SizeType>(why.size()));
  writer.EndObject();
  return text.GetString();
}

std::string Carry(const rapidjson::Value& order, const ControlHandler& handler) {
  rapidjson::StringBuffer text;
  ControlWriter writer(text);
  writer.StartObject();
  writer.Key("ok");
  writer.Bool(true);
  handler(order, writer);
  writer.EndObject();
  return text.GetString();
}

const rapidjson::Value* Member(const rapidjson::Value& order, const char* name) {
  const auto member = order.FindMember(name);
  return member == order.MemberEnd() ? nullptr : &member->value;
}

[[noreturn]] void ThrowMissing(const char* name, const std::string& what) {
  throw std::invalid_argument("\"" + std::string(name) + "\" is not " + what);
}

int Left(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

bool Await(int socket, short events, Clock::time_point deadline) {
  pollfd waiting{socket, events, 0};
  int ready = 0;
  do {
    ready = poll(&waiting, 1, Left(deadline));
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

bool SendAll(int socket, std::string_view bytes, Clock::time_point deadline) {
  while (!bytes.empty()) {
    if (!Await(socket, POLLOUT, deadline)) return false;
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0 && errno != EAGAIN) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// The first line that arrives; nothing when the time is up or the connection ends before.
std::optional<std::string> ReceiveLine(int socket, Clock::time_point deadline) {
  std::string received;
  std::array<char, kChunkBytes> chunk{};
  while (received.size() <= kUnsentBytes && Await(socket, POLLIN, deadline)) {
    const ssize_t got = recv(socket, chunk.data(), chunk.size(), MSG_DONTWAIT);
    if (got < 0 && errno == EAGAIN) continue;
    if (got <= 0) return std::nullopt;
    received.append(chunk.data(), static_cast<std::size_t>(got));
    const std::size_t end = received.find('\n');
    if (end != std::string::npos) return received.substr(0, end);
  }
  return std::nullopt;
}

ControlAnswer AnswerFrom(std::string line) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(line.data(), line.size());
  if (document.HasParseError() || !document.IsObject()) {
    return {.error = "the simulator's answer is not a JSON object"};
  }
  const rapidjson::Value* const ok = Member(document, "ok");
  ControlAnswer answer{.ok = ok != nullptr && ok->IsBool() && ok->GetBool(),
                       .line = std::move(line)};
  if (answer.ok) return answer;
  const rapidjson::Value* const error = Member(document, "error");
  answer.error = error != nullptr && error->IsString() ? error->GetString() : "no reason was given";
  return answer;
}

}  // namespace

std::string ControlText(const rapidjson::Value& order, const char* name) {
  const rapidjson::Value* const member = Member(order, name);
  if (member == nullptr || !member->IsString()) ThrowMissing(name, "a text");
  return {member->GetString(), member->GetStringLength()};
}

std::string ControlText(const rapidjson::Value& order, const char* name,
                        const std::string& otherwise) {
  return Member(order, name) == nullptr ? otherwise : ControlText(order, name);
}

std::int64_t ControlNumber(const rapidjson::Value& order, const char* name, std::int64_t least,
                           std::int64_t most) {
  const rapidjson::Value* const member = Member(order, name);
  const bool fits = member != nullptr && member->IsInt64() && member->GetInt64() >= least &&
                    member->GetInt64() <= most;
  if (!fits) {
    ThrowMissing(name,
                 "a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return member->GetInt64();
}

std::string ControlReply(std::string_view line, const ControlHandler& handler) {
  try {
    // Iterative, so that no depth of nesting exhausts the thread's stack.
    rapidjson::Document order;
    order.Parse<rapidjson::kParseIterativeFlag>(line.data(), line.size());
    if (order.HasParseError()) {
      return Refusal("the line is not JSON from byte " + std::to_string(order.GetErrorOffset()));
    }
    if (!order.IsObject()) return Refusal("the line is not a JSON object");
    return Carry(order, handler);
  } catch (const std::exception& error) {
    return Refusal(error.what());
  }
}

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
      m_socket(MakeSocket()) {
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
  if (client.unsent.size() > kUnsentBytes) return false;
  return !client.ends || !client.unsent.empty();
}

// False when the peer is gone.
bool ControlServer::Receive(Client& client) const {
  std::array<char, kChunkBytes> chunk{};
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
      client.unsent += Refusal("the line is longer than 65536 bytes") + "\n";
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

ControlAnswer ControlClient::Call(std::string_view order, std::chrono::milliseconds limit) const {
  const Clock::time_point deadline = Clock::now() + limit;
  const std::optional<sockaddr_un> address = AddressOf(m_path);
  const util::Descriptor socket(MakeSocket());
  if (!address || connect(socket.Get(), Plain(*address), sizeof(*address)) != 0) {
    return {.error = "nobody listens on " + m_path};
  }
  std::optional<std::string> line;
  if (SendAll(socket.Get(), std::string(order) + "\n", deadline)) {
    line = ReceiveLine(socket.Get(), deadline);
  }
  if (!line) return {.error = "no answer came from " + m_path};
  return AnswerFrom(std::move(*line));
}

}  // namespace program
