// A server on the loopback that sends exactly the bytes that a test chooses: a misbehaving cloud.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace test {

// One request as it came over the wire.
struct RawRequest {
  std::string head;  // request line and headers, without the empty line
  std::string body;

  std::string Line() const { return head.substr(0, head.find("\r\n")); }
  // The header lines in order of arrival.
  std::vector<std::string> Headers() const;
};

// Sends all bytes. False when the client has closed the connection.
bool Send(int connection, const std::string& bytes);

// A correct answer: status line, headers with the right length, body.
std::string HttpAnswer(int status, const std::string& body);

// Accepts connections on 127.0.0.1, reads one request from each, sends the next answer of its list
// and closes. An answer without pieces closes at once; when the list is empty, the answer is
// HttpAnswer(500, ""). Only the test's thread may call it; it answers on threads of its own.
class RawServer {
 public:
  using Pieces = std::vector<std::string>;
  using Handler = std::function<void(const RawRequest& request, int connection)>;

  RawServer();
  ~RawServer();
  RawServer(const RawServer&) = delete;
  RawServer& operator=(const RawServer&) = delete;

  std::uint16_t Port() const { return m_port; }
  std::string Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
  }
  // Appends an answer. Its pieces are sent so far apart that they arrive one by one.
  RawServer& Answer(Pieces pieces);
  RawServer& Answer(const std::string& whole) { return Answer(Pieces{whole}); }
  // Lets the handler answer every request to this path on the connection, which it need not close.
  // These requests use no answer of the list, and Requests does not return them.
  RawServer& HandleApart(const std::string& path, Handler handler);
  std::vector<RawRequest> Requests() const;

 private:
  void Serve();
  void Exchange(int connection);
  Handler Next(const RawRequest& request);

  int m_listener = -1;
  std::uint16_t m_port = 0;
  mutable std::mutex m_mutex;  // guards the next three
  std::deque<Pieces> m_answers;
  std::vector<std::pair<std::string, Handler>> m_handlersApart;  // path, handler
  std::vector<RawRequest> m_requests;
  std::vector<std::thread> m_exchanges;  // used by m_thread only
  std::thread m_thread;
};

}  // namespace test
