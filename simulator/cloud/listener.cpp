#include "cloud/listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <system_error>

namespace cloud {

namespace {

using Clock = std::chrono::steady_clock;

int Left(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

constexpr int kBacklog = 64;
constexpr std::chrono::milliseconds kEndless{-1};
constexpr std::chrono::milliseconds kAfterFailure{20};  // while no descriptor is left

bool ReadAddress(const std::string& text, in_addr* address) {
  return inet_pton(AF_INET, text.c_str(), address) == 1;
}

// The socket calls take every family's address through one type.
sockaddr* Plain(sockaddr_in* address) {
  return reinterpret_cast<sockaddr*>(address);
}

void SetOption(int socket, int level, int option) {
  const int on = 1;
  setsockopt(socket, level, option, &on, sizeof(on));
}

[[noreturn]] void ThrowCannotListen(const std::string& address, int port) {
  throw std::system_error(errno, std::generic_category(),
                          "cannot listen on " + address + ":" + std::to_string(port));
}

}  // namespace

StopSignal::StopSignal() : m_event(eventfd(0, EFD_CLOEXEC)) {
  if (!m_event) throw std::system_error(errno, std::generic_category(), "eventfd");
}

void StopSignal::Raise() {
  eventfd_write(m_event.Get(), 1);
}

bool StopSignal::Pause(std::chrono::milliseconds pause) const {
  constexpr int kNoDescriptor = -1;  // poll passes over it
  WaitFor(kNoDescriptor, 0, pause);
  pollfd stop{m_event.Get(), POLLIN, 0};
  return poll(&stop, 1, 0) == 0;
}

bool StopSignal::WaitFor(int descriptor, short events, std::chrono::milliseconds timeout) const {
  const bool endless = timeout.count() < 0;
  const Clock::time_point deadline = Clock::now() + timeout;
  for (;;) {
    std::array<pollfd, 2> waited{{{m_event.Get(), POLLIN, 0}, {descriptor, events, 0}}};
    const int ready = poll(waited.data(), waited.size(), endless ? -1 : Left(deadline));
    if (ready < 0 && errno == EINTR) continue;
    return ready > 0 && waited[0].revents == 0;
  }
}

bool IsLoopback(const std::string& address) {
  constexpr std::uint32_t kLoopbackNet = 127;
  constexpr unsigned kNetShift = 24;
  in_addr read{};
  return ReadAddress(address, &read) && ntohl(read.s_addr) >> kNetShift == kLoopbackNet;
}

Listener::Listener(const std::string& address, int port)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  if (!IsLoopback(address)) {
    throw std::invalid_argument("address '" + address +
                                "' is not a loopback address (127.0.0.0/8)");
  }
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = htons(static_cast<std::uint16_t>(port));
  ReadAddress(address, &name.sin_addr);
  socklen_t size = sizeof(name);

  SetOption(m_socket.Get(), SOL_SOCKET, SO_REUSEADDR);
  if (bind(m_socket.Get(), Plain(&name), size) != 0 || listen(m_socket.Get(), kBacklog) != 0 ||
      getsockname(m_socket.Get(), Plain(&name), &size) != 0) {
    ThrowCannotListen(address, port);
  }
  m_port = ntohs(name.sin_port);
}

util::Descriptor Listener::Accept(const StopSignal& stop) const {
  while (stop.WaitFor(m_socket.Get(), POLLIN, kEndless)) {
    const int connection = accept4(m_socket.Get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (connection >= 0) {
      SetOption(connection, IPPROTO_TCP, TCP_NODELAY);
      return util::Descriptor(connection);
    }
    // Another thread was quicker, or the peer is gone again.
    if (errno != EAGAIN && errno != ECONNABORTED) stop.Pause(kAfterFailure);
  }
  return util::Descriptor(-1);
}

}  // namespace cloud
