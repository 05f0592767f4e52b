// A client of the console's server that sends exactly the bytes that the test names.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace test {

// Connects to a Unix socket. A read that takes longer than ten seconds ends.
class WebClient {
 public:
  explicit WebClient(const std::string& path) : m_socket(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    const timeval limit{.tv_sec = 10, .tv_usec = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    m_isOpen = connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  }
  ~WebClient() { close(m_socket); }
  WebClient(const WebClient&) = delete;
  WebClient& operator=(const WebClient&) = delete;

  bool IsOpen() const { return m_isOpen; }

  void Send(const std::string& text) { send(m_socket, text.data(), text.size(), MSG_NOSIGNAL); }

  // Reads until the text contains `end`, or to the end of the connection. Gives all that came.
  std::string ReadTo(const std::string& end) {
    char piece[4096];
    while (m_text.find(end) == std::string::npos) {
      const ssize_t size = recv(m_socket, piece, sizeof(piece), 0);
      if (size <= 0) break;
      m_text.append(piece, static_cast<std::size_t>(size));
    }
    return m_text;
  }
  std::string ReadAll() { return ReadTo(std::string(3, '\0')); }

 private:
  int m_socket;
  bool m_isOpen = false;
  std::string m_text{};
};

}  // namespace test
