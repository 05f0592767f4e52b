#include "cloud/connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>

#include "util/text.h"

namespace cloud {

namespace {

constexpr std::chrono::seconds kReadTimeout{10};
constexpr std::chrono::milliseconds kWriteTimeout{5000};
constexpr std::chrono::seconds kFinishTimeout{1};
constexpr std::size_t kReadBytes = std::size_t{16} * 1024;
constexpr std::size_t kHeadLimitBytes = std::size_t{64} * 1024;
constexpr char kTrailer[] = "X-Note: the end of this answer does not come\r\n";
constexpr std::size_t kTrailerBlockBytes = std::size_t{16} * 1024;
constexpr std::size_t kTrailersAtMostBytes = std::size_t{4} << 20;

// Statuses that have no phrase here are sent without one, which HTTP allows.
const char* Phrase(int httpStatus) {
  switch (httpStatus) {
    case kHttpOk:
      return "OK";
    case kHttpBadRequest:
      return "Bad Request";
    case kHttpNotFound:
      return "Not Found";
    case kHttpMethodNotAllowed:
      return "Method Not Allowed";
    default:
      return "";
  }
}

std::string HeadOf(const Answer& answer, const std::string& framing) {
  std::string head = "HTTP/1.1 " + std::to_string(answer.httpStatus) + " " +
                     Phrase(answer.httpStatus) + "\r\nConnection: close\r\n";
  if (answer.httpStatus == kHttpMethodNotAllowed) head += "Allow: POST\r\n";
  if (!answer.body.empty()) head += std::string("Content-Type: ") + answer.contentType + "\r\n";
  return head + framing + "\r\n\r\n";
}

std::string WholeAnswer(const Answer& answer) {
  return HeadOf(answer, "Content-Length: " + std::to_string(answer.body.size())) + answer.body;
}

}  // namespace

std::optional<Request> Connection::Receive() {
  while (HeadLength(m_received) == 0 && m_received.size() < kHeadLimitBytes && ReceiveMore()) {
  }
  if (m_received.empty()) return std::nullopt;
  const std::size_t headLength = HeadLength(m_received);
  if (headLength == 0) return Request();

  Request request = ReadHead(std::string_view(m_received).substr(0, headLength));
  const std::size_t length = std::min(request.ContentLength().value_or(0), kBodyLimitBytes);
  while (m_received.size() - headLength < length && ReceiveMore()) {
  }
  request.body = m_received.substr(headLength, length);
  return request;
}

bool Connection::ReceiveMore() {
  if (!m_stop.WaitFor(m_socket, POLLIN, kReadTimeout)) return false;
  std::array<char, kReadBytes> chunk{};
  const ssize_t got = recv(m_socket, chunk.data(), chunk.size(), MSG_DONTWAIT);
  if (got <= 0) return false;
  m_received.append(chunk.data(), static_cast<std::size_t>(got));
  return true;
}

void Connection::Send(const Answer& answer) {
  switch (answer.delivery) {
    case Delivery::kNone:
      return;
    case Delivery::kReset:
      return Reset();
    case Delivery::kDrip:
      return Drip(answer);
    case Delivery::kTrailers:
      return SendTrailers(answer);
    case Delivery::kWhole:
    case Delivery::kPieces:
    case Delivery::kCut:
      return SendHalves(answer);
  }
}

void Connection::SendHalves(const Answer& answer) {
  const bool halved = answer.delivery != Delivery::kWhole;
  const std::string bytes = WholeAnswer(answer);
  const std::size_t secondHalf = answer.body.size() - answer.body.size() / 2;
  const std::size_t first = halved ? bytes.size() - secondHalf : 0;

  SendBytes(std::string_view(bytes).substr(0, first));
  if (answer.delivery != Delivery::kCut) {
    if (answer.stall.count() > 0 && !m_stop.Pause(answer.stall)) return;
    SendBytes(std::string_view(bytes).substr(first));
  }
  Finish();
}

void Connection::Drip(const Answer& answer) {
  const std::string bytes = WholeAnswer(answer);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0 && !m_stop.Pause(answer.stall)) return;
    if (!SendBytes(std::string_view(bytes).substr(i, 1))) return;
  }
  Finish();
}

void Connection::SendTrailers(const Answer& answer) {
  std::string bytes = HeadOf(answer, "Transfer-Encoding: chunked\r\nTrailer: X-Note");
  if (!answer.body.empty()) {
    bytes += util::Format("%zx\r\n", answer.body.size()) + answer.body + "\r\n";
  }
  if (!SendBytes(bytes + "0\r\n")) return;
  std::string trailers;
  while (trailers.size() < kTrailerBlockBytes) trailers += kTrailer;
  for (std::size_t sent = 0; sent < kTrailersAtMostBytes; sent += trailers.size()) {
    if (!m_stop.Pause(std::chrono::milliseconds(0)) || !SendBytes(trailers)) return;
  }
}

// Lets the kernel reset the connection when its descriptor is closed.
void Connection::Reset() {
  const linger atOnce{1, 0};
  setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
}

// Sends also while the server stops. False when the peer is gone or takes nothing for too long.
bool Connection::SendBytes(std::string_view bytes) {
  while (!bytes.empty()) {
    pollfd writable{m_socket, POLLOUT, 0};
    if (poll(&writable, 1, static_cast<int>(kWriteTimeout.count())) <= 0) return false;
    const ssize_t sent = send(m_socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// Ends the sending side, then waits up to a second for the peer to end too. Without the wait, a
// byte in flight would make the kernel reset the connection before the peer has read the answer.
void Connection::Finish() {
  using Clock = std::chrono::steady_clock;
  shutdown(m_socket, SHUT_WR);
  const Clock::time_point deadline = Clock::now() + kFinishTimeout;
  std::array<char, kReadBytes> chunk{};
  while (Clock::now() < deadline && m_stop.WaitFor(m_socket, POLLIN, kFinishTimeout)) {
    if (recv(m_socket, chunk.data(), chunk.size(), MSG_DONTWAIT) <= 0) return;
  }
}

}  // namespace cloud
