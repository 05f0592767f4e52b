#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <utility>

#include "program/control.h"
#include "program/controlsocket.h"

namespace program {

namespace {

using Clock = std::chrono::steady_clock;

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
  std::array<char, kControlChunkBytes> chunk{};
  while (received.size() <= kControlBytes && Await(socket, POLLIN, deadline)) {
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
  rapidjson::Document parsed;
  parsed.Parse<rapidjson::kParseIterativeFlag>(line.data(), line.size());
  const rapidjson::Document& document = parsed;
  if (document.HasParseError() || !document.IsObject()) {
    return {.error = "the simulator's answer is not a JSON object"};
  }
  const auto ok = document.FindMember("ok");
  const bool isDone = ok != document.MemberEnd() && ok->value.IsBool() && ok->value.GetBool();
  ControlAnswer answer{.ok = isDone, .line = std::move(line)};
  if (answer.ok) return answer;
  const auto error = document.FindMember("error");
  const bool isText = error != document.MemberEnd() && error->value.IsString();
  answer.error = isText ? error->value.GetString() : "no reason was given";
  return answer;
}

}  // namespace

ControlAnswer ControlClient::Call(std::string_view order, std::chrono::milliseconds limit) const {
  const Clock::time_point deadline = Clock::now() + limit;
  const std::optional<sockaddr_un> address = ControlAddress(m_path);
  const util::Descriptor socket(MakeControlSocket());
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
