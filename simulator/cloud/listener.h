// Owns the listening socket, and the signal that ends every wait of the server's threads.
#pragma once

#include <chrono>
#include <string>

#include "util/file.h"

namespace cloud {

// Lets threads wait for a socket, or just for some time, until someone says stop. Every thread may
// call it. It holds an event descriptor, which stays readable once the signal is raised.
class StopSignal {
 public:
  // Throws std::system_error when no descriptor is left.
  StopSignal();

  void Raise();
  // True when the whole pause has passed, false as soon as the signal is raised.
  bool Pause(std::chrono::milliseconds pause) const;
  // Waits until `descriptor` has one of `events` (poll's) or a hang-up. False when `timeout` has
  // passed or the signal is raised. A negative timeout waits without end.
  bool WaitFor(int descriptor, short events, std::chrono::milliseconds timeout) const;

 private:
  util::Descriptor m_event;
};

// True for a numeric IPv4 address in 127.0.0.0/8.
bool IsLoopback(const std::string& address);

// Takes connections on one loopback address. Any number of threads may call Accept at a time. It
// holds the listening socket.
class Listener {
 public:
  // Listens on `address`; port 0 takes any free one. Throws std::invalid_argument when the address
  // is not a loopback address and std::system_error when the port cannot be had. Both texts are
  // whole lines for people.
  Listener(const std::string& address, int port);

  int Port() const { return m_port; }
  // The next connection; none once `stop` is raised.
  util::Descriptor Accept(const StopSignal& stop) const;

 private:
  util::Descriptor m_socket;
  int m_port = 0;
};

}  // namespace cloud
