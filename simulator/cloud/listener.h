// Owns the listening socket.
#pragma once

#include <string>

#include "cloud/stopsignal.h"
#include "util/file.h"

namespace cloud {

// True for a numeric IPv4 address in 127.0.0.0/8.
bool IsLoopback(const std::string& address);

// What it is for: taking connections on one loopback address.
// Threads: Accept from any number at a time. Owns: the listening socket.
class Listener {
 public:
  // Listens on `address`; port 0 takes any free one. Throws std::invalid_argument when the address
  // is not a loopback address and std::system_error when the port cannot be had; both texts are
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
