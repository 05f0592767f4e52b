// Owns the simulated cloud: a strict HTTP server on a loopback address that checks and keeps what a
// gateway sends, and can be told to misbehave.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <limits>
#include <list>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cloud/behaviours.h"
#include "cloud/index.h"
#include "cloud/journal.h"
#include "cloud/listener.h"
#include "cloud/orders.h"
#include "cloud/uploadstore.h"
#include "util/mutex.h"

namespace cloud {

// How the simulator is set up. The defaults suit a test.
struct Settings {
  std::string address = "127.0.0.1";  // a loopback address
  int port = 0;                       // 0: any free one
  std::string secondAddress{};        // listens there too, on the same port; empty: nowhere
  std::string prefix{};               // the gateway's "Dir": empty, or like "/cloud"
  std::string serialNumber{};         // expected of every document; empty: any
  bool checksHeaders = true;          // false: any HTTP version and any headers are sound
  std::string uploadFolder{};         // where uploads are kept; empty: nowhere
  std::string indexFile{};            // the index of all exchanges; empty: none
  std::ostream* lines = nullptr;      // gets "listening on …", then a line for each exchange
  // What endpoints are told to do from the start, see Simulator::Script.
  std::vector<std::pair<Endpoint, std::vector<Behaviour>>> scripts{};
  std::string redirect{};             // from the start, see Simulator::Redirect
  std::vector<RecallOrder> orders{};  // from the start, see Simulator::Order
  std::size_t exchangesRemembered = std::numeric_limits<std::size_t>::max();
  // Called after each accepted upload, on a server thread, with the number accepted so far.
  std::function<void(std::size_t)> onAcceptedUpload{};
};

// The cloud side of system tests and of the demonstration run. It serves up to eight connections at
// a time on each address, one exchange each, and records an exchange before it sends the answer.
// Every thread may call it; only one may call Stop. It holds the listening sockets and the server
// threads.
class Simulator {
 public:
  // Starts serving. Throws as Listener and UploadStore do when that is impossible.
  explicit Simulator(Settings settings);
  ~Simulator() { Stop(); }
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  // The same on all addresses.
  int Port() const { return m_port; }
  // Ends all waits and stalls, finishes the answers that are being sent, and returns when no thread
  // is left. The records stay.
  void Stop();

  // Appends to what the endpoint does in its next exchanges; then it answers normally again. Only
  // POST requests to the endpoint use up a behaviour.
  void Script(Endpoint endpoint, const std::vector<Behaviour>& behaviours) {
    m_script.Append(endpoint, behaviours);
  }
  // What the endpoint does from now on in every exchange that no script names.
  void Stand(Endpoint endpoint, const Behaviour& behaviour) { m_script.Stand(endpoint, behaviour); }
  // Ends what the endpoint was told to do, script and standing behaviour.
  void AnswerNormally(Endpoint endpoint) { m_script.Clear(endpoint); }
  Behaviour Standing(Endpoint endpoint) const { return m_script.Standing(endpoint); }
  // How many behaviours of the script are left.
  std::size_t Queued(Endpoint endpoint) const { return m_script.Queued(endpoint); }

  // Orders history. The order stands in the answer to every sound recall check until data with its
  // "id" are accepted, or in as many answers as it says. Several orders may stand at a time.
  void Order(const RecallOrder& order) { m_orders.Add(order); }
  // How many orders will stand in an answer, now or later.
  std::size_t StandingOrders() const { return m_orders.Standing(); }
  std::vector<std::int32_t> StandingOrderIds() const { return m_orders.StandingIds(); }
  // Answers every sound address check from now on with this "realIpAddress", "127.0.0.2:8080" or
  // without a port. An empty text ends the redirect. All addresses serve all requests.
  void Redirect(const std::string& realIpAddress);
  // The "realIpAddress" of now; empty when there is no redirect.
  std::string RedirectsTo() const;
  // Serves another loopback address, too, on the same port. Nothing happens when it does so already
  // or has stopped. Throws as Listener does.
  void Listen(const std::string& address);

  // Copies of the records, oldest first; the second gives accepted uploads only.
  std::vector<Exchange> Exchanges() const { return m_journal.Exchanges(); }
  std::vector<Exchange> AcceptedUploads() const { return m_journal.AcceptedUploads(); }
  // Waits, on the monotonic clock, until `count` exchanges have been recorded since the start.
  // False when `timeout` has passed first.
  bool AwaitExchanges(std::size_t count, std::chrono::milliseconds timeout) const {
    return m_journal.AwaitExchanges(count, timeout);
  }
  // The same for accepted exchanges of one endpoint.
  bool AwaitAccepted(Endpoint endpoint, std::size_t count,
                     std::chrono::milliseconds timeout) const {
    return m_journal.AwaitAccepted(endpoint, count, timeout);
  }

 private:
  // An address that is served.
  struct Place {
    Place(std::string name, int port) : address(std::move(name)), listener(address, port) {}

    std::string address;
    Listener listener;
  };

  void Announce(const std::string& address) const;
  void Start(const Place& place);
  void Serve(const Place& place);
  Answer Respond(const Request& request, const std::string& address);
  void RespondAt(const EndpointFacts& facts, Exchange* exchange);
  void CheckOrder(Exchange* exchange) const;
  void Keep(bool accepted, Exchange* exchange);
  void AnswerAsUsual(Exchange* exchange);
  EnvelopeData DataFor(Exchange* exchange);

  const Settings m_settings;
  UploadStore m_store;
  Index m_index;
  Journal m_journal;
  cloud::Script m_script;
  OrderBook m_orders;
  mutable util::Mutex m_redirectMutex;
  std::string m_redirect;  // guarded by m_redirectMutex
  StopSignal m_stop;
  util::Mutex m_placesMutex;
  bool m_stopped = false;     // guarded by m_placesMutex
  std::list<Place> m_places;  // guarded by m_placesMutex, but a place stays where it is
  const int m_port;
  std::vector<std::thread> m_threads;  // guarded by m_placesMutex; last: everything above is there
                                       // before one starts
};

}  // namespace cloud
