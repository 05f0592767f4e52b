// Owns one TCP connection's bytes, both ways.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "cloud/stopsignal.h"

namespace cloud {

// What it is for: reading a connection while remembering every byte received, and gathering what is
// to be sent, so that it can be held back or dropped as a whole.
// Threads: the one that serves the connection. Owns: the bytes; the socket stays its caller's.
class Connection {
 public:
  Connection(int socket, const StopSignal& stop) : m_socket(socket), m_stop(stop) {}

  // The next `size` bytes, waited for; fewer, or 0, only when there are no more: at the end of the
  // stream, on an error, when nothing comes for 10 s, beyond 4 MiB, or when the server stops.
  // (The library's multipart reader fails where its first piece ends within the first boundary.)
  // Sends what is gathered before it waits.
  std::ptrdiff_t Read(char* bytes, std::size_t size);
  // Receives more without giving it; false where there are no more.
  bool Receive();
  // Everything received so far.
  const std::string& Received() const { return m_received; }

  void Gather(std::string_view bytes) { m_gathered += bytes; }
  // Sends what is gathered, also while the server stops.
  void Send();
  // The HTTP answer that is gathered loses the second half of its body, which is returned.
  std::string TakeSecondHalf();
  // Ends the sending side, then waits up to a second for the peer to end too, so that no byte in
  // flight makes the kernel reset the connection under the answer.
  void Finish();

 private:
  const int m_socket;
  const StopSignal& m_stop;
  std::string m_received;
  std::size_t m_given = 0;  // bytes of m_received that Read has handed out
  std::string m_gathered;
};

}  // namespace cloud
