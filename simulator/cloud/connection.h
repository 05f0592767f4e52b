// Owns one TCP connection of the cloud: one request comes in, one answer goes out.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cloud/answers.h"
#include "cloud/listener.h"
#include "cloud/request.h"

namespace cloud {

// Serves one exchange on a connected socket, which stays its caller's. One thread uses a
// connection. Every wait ends when the server stops.
class Connection {
 public:
  Connection(int socket, const StopSignal& stop) : m_socket(socket), m_stop(stop) {}

  // Reads one request. It may be cut short or malformed: reading ends at the end of the stream,
  // after 10 s without a byte, at the limits of head and body, or when the server stops. Nothing
  // when no byte arrived.
  std::optional<Request> Receive();

  // Sends the answer in the way that it says, then ends the connection. A stall ends without an
  // answer when the server stops.
  void Send(const Answer& answer);

 private:
  bool ReceiveMore();
  bool SendBytes(std::string_view bytes);
  void SendHalves(const Answer& answer);
  void Drip(const Answer& answer);
  void SendTrailers(const Answer& answer);
  void Reset();
  void Finish();

  const int m_socket;
  const StopSignal& m_stop;
  std::string m_received;
};

}  // namespace cloud
