// The console's web server: the page's files, the calls of the page, and the stream of events.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "console/web/eventhub.h"
#include "console/web/router.h"
#include "console/web/staticfiles.h"

namespace console {

// Serves on one address with its own threads. A connection carries one request. GET /api/events is
// the stream of events with a `heartbeat` every 5 s; all other paths are the router's or the static
// files'. One thread starts and stops it.
class Server {
 public:
  static constexpr std::size_t kMostConnections = 128;  // at the same time; more wait

  // Router, events and files must outlive the server.
  Server(const Router& router, EventHub& events, const StaticFiles& files,
         std::chrono::milliseconds heartbeat = std::chrono::seconds(5));
  ~Server();  // stops
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Called after each POST with a reply of 2xx, on the server's threads. Set before the start.
  using Accepted = std::function<void(const std::string& path, const std::string& body)>;
  void OnAccepted(Accepted accepted);

  // Starts to listen on a Unix socket; a file that is there already is replaced. Throws
  // std::runtime_error with a sentence when that fails.
  void ListenOnSocket(const std::string& path);
  // Starts to listen on a port of this machine's address; 0 takes a free one. Returns the port.
  // Throws as above.
  int ListenOnPort(int port, const std::string& address = "127.0.0.1");

  // Ends all connections and streams and waits for the threads.
  void Stop();

 private:
  class Listener;  // hides the HTTP library
  std::unique_ptr<Listener> m_listener;
};

}  // namespace console
