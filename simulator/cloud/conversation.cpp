#include "cloud/conversation.h"

#include <httplib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "util/file.h"

namespace cloud {

namespace {

// The HTTP library's view of a connection. It asks for peers and readiness only for purposes that
// do not arise here.
class LibraryStream : public httplib::Stream {
 public:
  explicit LibraryStream(Connection* connection) : m_connection(*connection) {}

  bool is_readable() const override { return true; }
  bool is_writable() const override { return true; }
  ssize_t read(char* bytes, std::size_t size) override { return m_connection.Read(bytes, size); }
  ssize_t write(const char* bytes, std::size_t size) override {
    m_connection.Gather({bytes, size});
    return static_cast<ssize_t>(size);
  }
  void get_remote_ip_and_port(std::string&, int&) const override {}
  void get_local_ip_and_port(std::string&, int&) const override {}
  socket_t socket() const override { return INVALID_SOCKET; }

 private:
  Connection& m_connection;
};

std::vector<FormPart> PartsOf(const httplib::Request& request) {
  std::vector<FormPart> parts;
  for (const auto& [field, part] : request.files) {
    parts.push_back({part.name, part.filename, part.content_type, part.content});
  }
  return parts;
}

// What it is for: one request and its answer, through the library's request processing. The
// library's own time-outs are not used: their types differ between builds of 32 bits.
// Threads: the one that serves the connection. Owns: nothing.
class Conversation : private httplib::Server {
 public:
  Conversation(Connection* connection, const Responder& respond)
      : m_connection(*connection), m_respond(respond) {
    set_payload_max_length(kBodyLimitBytes);
    Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
      Respond(PartsOf(request), true, &response);
    });
    // Also called for an HTTP status that the answer itself has asked for.
    set_error_handler([this](const httplib::Request&, httplib::Response& response) {
      if (!m_answer) Respond({}, false, &response);
    });
  }

  // Leaves the answer's bytes gathered in the connection. Without an answer when nothing arrived.
  std::optional<Answer> Run() {
    LibraryStream stream(&m_connection);
    bool closed = false;
    process_request(stream, true, closed, [](httplib::Request& request) {
      // The gateway names encodings that it does not decode: nothing may be compressed for it.
      request.headers.erase("Accept-Encoding");
    });
    if (!m_answer && !m_connection.Received().empty()) Respond({}, false, nullptr);
    return m_answer;
  }

 private:
  // The library stops reading where it loses track; the rest belongs to the request all the same.
  Request Complete() {
    const std::string& received = m_connection.Received();
    while (HeadLength(received) == 0 && m_connection.Receive()) {
    }
    const std::size_t headLength = HeadLength(received);
    Request request = ReadHead(std::string_view(received).substr(0, headLength));
    const std::size_t length = request.ContentLength().value_or(0);
    while (received.size() - headLength < std::min(length, kBodyLimitBytes) &&
           m_connection.Receive()) {
    }
    request.body = received.substr(headLength, request.ContentLength().value_or(received.size()));
    return request;
  }

  void Respond(std::vector<FormPart> parts, bool framed, httplib::Response* response) {
    Request request = Complete();
    request.parts = std::move(parts);
    request.framed = framed;
    m_answer = m_respond(request);
    if (response == nullptr) return;
    response->status = m_answer->httpStatus;
    response->body.clear();
    if (!m_answer->body.empty()) response->set_content(m_answer->body, m_answer->contentType);
    if (m_answer->httpStatus == kHttpMethodNotAllowed) response->set_header("Allow", "POST");
  }

  Connection& m_connection;
  const Responder& m_respond;
  std::optional<Answer> m_answer;
};

// A whole exchange with ourselves, a form included, so that no table is left to be made.
bool ConverseOnce() {
  const std::string form = "--a\r\nContent-Disposition:form-data;name=\"a\"\r\n\r\nb\r\n--a--\r\n";
  const std::string request =
      "POST / HTTP/1.1\r\nContent-Type: multipart/form-data;boundary=a\r\nContent-Length: " +
      std::to_string(form.size()) + "\r\n\r\n" + form;
  std::array<int, 2> ends{-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return false;
  const util::Descriptor gateway(ends[0]);
  const util::Descriptor cloud(ends[1]);
  const bool sent = write(gateway.Get(), request.data(), request.size()) > 0;
  shutdown(gateway.Get(), SHUT_WR);
  const StopSignal stop;
  Connection connection(cloud.Get(), stop);
  Converse(&connection, stop, [](const Request&) { return Answer(); });
  return sent;
}

}  // namespace

void PrepareLibrary() {
  [[maybe_unused]] static const bool prepared = ConverseOnce();
}

namespace {

// Sends what of the answer is to be sent; false when the server stops meanwhile.
bool Deliver(const Answer& answer, Connection* connection, const StopSignal& stop) {
  if (answer.delivery == Delivery::kNone) return false;
  const bool halved = answer.delivery != Delivery::kWhole;
  const std::string secondHalf = halved ? connection->TakeSecondHalf() : std::string();
  if (halved) connection->Send();
  if (answer.delivery == Delivery::kCut) return true;
  if (answer.stall.count() > 0 && !stop.Pause(answer.stall)) return false;
  connection->Gather(secondHalf);
  connection->Send();
  return true;
}

}  // namespace

void Converse(Connection* connection, const StopSignal& stop, const Responder& respond) {
  const std::optional<Answer> answer = Conversation(connection, respond).Run();
  if (answer && Deliver(*answer, connection, stop)) connection->Finish();
}

}  // namespace cloud
