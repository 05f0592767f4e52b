// A server on the loopback that sends exactly the bytes it is told to: the cloud at its worst.
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
  std::string head;  // request line and headers, up to and without the empty line
  std::string body;

  // The request line.
  std::string Line() const { return head.substr(0, head.find("\r\n")); }
  // The header lines, in order of arrival.
  std::vector<std::string> Headers() const;
};

// Sends all of it; false when the client is gone.
bool Send(int connection, const std::string& bytes);

// An answer with the right length: "HTTP/1.1 200 OK", the headers, the body.
std::string HttpAnswer(int status, const std::string& body);

// What it is for: takes one connection after the other on 127.0.0.1, reads one request from each,
// sends the next answer of its list, piece by piece, and closes. An empty list of pieces closes
// without an answer; without an answer left, every request gets HttpAnswer(500, "").
// Threads: the test's; it answers on threads of its own. Owns: the listening socket, the threads.
class RawServer {
 public:
  using Pieces = std::vector<std::string>;
  using Handler = std::function<void(const RawRequest& request, int connection)>;

  RawServer();
  ~RawServer();
  RawServer(const RawServer&) = delete;
  RawServer& operator=(const RawServer&) = delete;

  std::uint16_t Port() const { return m_port; }
  std::string Url(const std::string& path) const;
  // Appends an answer; the pieces go out one by one, far enough apart to arrive one by one.
  RawServer& Answer(Pieces pieces);
  RawServer& Answer(const std::string& whole) { return Answer(Pieces{whole}); }
  // Gives requests to this path the same answer each time; they take none of the list and are not
  // among Requests.
  RawServer& AnswerApart(const std::string& path, const std::string& whole);
  // The same by whatever the handler does on the connection, which it need not close.
  RawServer& HandleApart(const std::string& path, Handler handler);
  // The requests so far.
  std::vector<RawRequest> Requests() const;

 private:
  void Serve();
  void Exchange(int connection);
  Handler Next(const RawRequest& request);

  int m_listener = -1;
  std::uint16_t m_port = 0;
  mutable std::mutex m_mutex;  // guards the three below
  std::deque<Pieces> m_answers;
  std::vector<std::pair<std::string, Handler>> m_handlersApart;  // path, what is done there
  std::vector<RawRequest> m_requests;
  std::vector<std::thread> m_exchanges;  // the listening thread's
  std::thread m_thread;
};

}  // namespace test
