#include "cloud/stopsignal.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace cloud {

namespace {

using Clock = std::chrono::steady_clock;

int Left(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
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

}  // namespace cloud
