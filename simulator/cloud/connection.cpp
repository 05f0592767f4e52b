#include "cloud/connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "cloud/request.h"

namespace cloud {

namespace {

constexpr std::chrono::seconds kReadTimeout{10};
constexpr std::chrono::seconds kWriteTimeout{5};
constexpr std::chrono::seconds kFinishTimeout{1};
constexpr std::size_t kChunkBytes = std::size_t{16} * 1024;
constexpr std::size_t kReceivedLimitBytes = std::size_t{4} * 1024 * 1024;

}  // namespace

std::ptrdiff_t Connection::Read(char* bytes, std::size_t size) {
  while (m_received.size() - m_given < size && Receive()) {
  }
  const std::size_t count = std::min(size, m_received.size() - m_given);
  std::memcpy(bytes, m_received.data() + m_given, count);
  m_given += count;
  return static_cast<std::ptrdiff_t>(count);
}

bool Connection::Receive() {
  Send();  // a peer may be waiting for "100 Continue"
  if (m_received.size() > kReceivedLimitBytes) return false;
  if (!m_stop.WaitFor(m_socket, POLLIN, kReadTimeout)) return false;
  std::array<char, kChunkBytes> chunk{};
  const ssize_t got = recv(m_socket, chunk.data(), chunk.size(), MSG_DONTWAIT);
  if (got <= 0) return false;
  m_received.append(chunk.data(), static_cast<std::size_t>(got));
  return true;
}

void Connection::Send() {
  std::string_view rest = m_gathered;
  while (!rest.empty()) {
    pollfd writable{m_socket, POLLOUT, 0};
    if (poll(&writable, 1, static_cast<int>(std::chrono::milliseconds(kWriteTimeout).count())) <=
        0) {
      break;
    }
    const ssize_t sent = send(m_socket, rest.data(), rest.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent <= 0) break;
    rest.remove_prefix(static_cast<std::size_t>(sent));
  }
  m_gathered.clear();
}

std::string Connection::TakeSecondHalf() {
  const std::size_t head = HeadLength(m_gathered);
  const std::size_t firstHalf = head + (m_gathered.size() - head) / 2;
  std::string secondHalf = m_gathered.substr(firstHalf);
  m_gathered.resize(firstHalf);
  return secondHalf;
}

void Connection::Finish() {
  using Clock = std::chrono::steady_clock;
  shutdown(m_socket, SHUT_WR);
  const Clock::time_point deadline = Clock::now() + kFinishTimeout;
  std::array<char, kChunkBytes> chunk{};
  while (Clock::now() < deadline && m_stop.WaitFor(m_socket, POLLIN, kFinishTimeout)) {
    if (recv(m_socket, chunk.data(), chunk.size(), MSG_DONTWAIT) <= 0) return;
  }
}

}  // namespace cloud
