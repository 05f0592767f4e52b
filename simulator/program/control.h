// Owns the way in which a running simulator is told what to do: a Unix stream socket, a line of
// JSON in, a line of JSON out. Any number of lines may follow each other on a connection.
//
//   {"do":"normal"}                       {"ok":true}
//   {"do":"state"}                        {"ok":true,"paused":false}
//   {"do":"dance"}                        {"ok":false,"error":"there is no order 'dance'"}
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "util/file.h"
#include "util/json.h"

namespace program {

// A longer line is answered with an error, and its connection is closed.
inline constexpr std::size_t kControlLineBytes = std::size_t{64} * 1024;
// So many connections are served at a time. The one that was silent longest makes room.
inline constexpr std::size_t kControlClients = 16;

using ControlWriter = rapidjson::Writer<rapidjson::StringBuffer>;

// Carries out one order, which is a JSON object, and writes further members of the answer (Key and
// value) if there are any. Throws std::invalid_argument with a sentence for people when the order
// makes no sense; what was written is then left out. The server's thread calls it, one order at a
// time.
using ControlHandler = std::function<void(const rapidjson::Value& order, ControlWriter& answer)>;

// A member of an order: a text, one that may be missing, a whole number. Throws
// std::invalid_argument when it is missing or is something else.
std::string ControlText(const rapidjson::Value& order, const char* name);
std::string ControlText(const rapidjson::Value& order, const char* name,
                        const std::string& otherwise);
std::int64_t ControlNumber(const rapidjson::Value& order, const char* name, std::int64_t least,
                           std::int64_t most);

// The answer to an order that is not carried out.
std::string ControlRefusal(const std::string& why);

// What the handler makes of one line, without a line end. It throws nothing.
std::string ControlReply(std::string_view line, const ControlHandler& handler);

// Listens on a Unix socket and answers each line. One thread makes and stops it. It holds the
// socket's file, the connections and one thread.
class ControlServer {
 public:
  // Starts listening. It replaces a socket's file that nobody listens on. Throws
  // std::invalid_argument when the path is too long for a socket, and std::system_error when it
  // cannot listen there; both texts are whole lines for people.
  ControlServer(std::string path, ControlHandler handler);
  ~ControlServer() { Stop(); }
  ControlServer(const ControlServer&) = delete;
  ControlServer& operator=(const ControlServer&) = delete;

  // Ends all connections at once, waits for an order that is being carried out, and removes the
  // socket's file.
  void Stop();

 private:
  struct Client;
  using Clients = std::list<std::unique_ptr<Client>>;

  void Run();
  void Accept(Clients& clients) const;
  bool Serve(Client& client, short events) const;
  bool Receive(Client& client) const;
  void AnswerLines(Client& client) const;

  const std::string m_path;
  const ControlHandler m_handler;
  util::Descriptor m_stop;  // an event descriptor, readable once the server is to stop
  util::Descriptor m_socket;
  std::thread m_thread;
};

// What a call has brought.
struct ControlAnswer {
  bool ok = false;      // the order was carried out
  std::string line{};   // the answer, one JSON object; empty when none came
  std::string error{};  // why not, a sentence for people; empty when ok
};

// Sends orders to a simulator. Every thread may call it. It holds nothing open between two calls.
class ControlClient {
 public:
  explicit ControlClient(std::string path) : m_path(std::move(path)) {}

  // Sends one order, a JSON object without a line end, and waits for its answer. It takes no longer
  // than `limit`.
  ControlAnswer Call(std::string_view order,
                     std::chrono::milliseconds limit = std::chrono::seconds(2)) const;

 private:
  const std::string m_path;
};

}  // namespace program
