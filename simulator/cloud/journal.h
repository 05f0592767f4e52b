// Owns the record of one exchange, what the gateway sent and what the cloud made of it, and the
// journal of all exchanges.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <deque>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "cloud/answers.h"
#include "cloud/checks.h"
#include "cloud/documents.h"
#include "cloud/endpoints.h"
#include "cloud/request.h"
#include "util/mutex.h"

namespace cloud {

// One exchange. What cannot be read in a faulty request stays empty.
struct Exchange {
  std::time_t time = 0;              // when the request was complete, or given up
  std::optional<Endpoint> endpoint;  // nothing when the path is no endpoint
  std::string address;               // the loopback address that it came in on
  bool onSecondAddress = false;      // that is Settings::secondAddress
  Request request;
  std::string fileName;              // uploads: as in the form
  std::string archive;               // uploads: the file's bytes
  std::string memberName;            // uploads: the archive's member
  std::string document;              // the JSON text: an upload's member, or the body
  std::string serialNumber;          // as in the document
  std::size_t devices = 0;           // different ones in the document
  std::size_t points = 0;            // in the document
  std::optional<RecallData> recall;  // uploads of recall data: what the document says
  std::vector<std::int32_t> orders;  // recall checks: the "id" of every order in the answer
  std::string redirect;              // address checks: the "realIpAddress" in the answer
  std::string fault;                 // what is wrong with the request; empty when nothing is
  std::vector<Check> checks;         // every check, in the order in which they were made
  bool accepted = false;             // answered as done
  std::string verdict;  // for people: "accepted", "faulty: …", "refused", "answered HTTP 500", …
  std::string keptAs;   // uploads: path of the kept copy; empty when none was kept
  Answer answer;        // what was sent, or would have been
};

// The line for people, without a line end; control characters become "?":
// "10:00:05 realdata S20240301100000.tar.gz 2154 bytes, 12 devices, 400 points: accepted". On the
// second address "at 127.0.0.2" follows the time.
std::string ToLine(const Exchange& exchange);

// Remembers exchanges, prints a line for each, and lets other threads wait for them. Every thread
// may call it.
class Journal {
 public:
  // Remembers the latest `kept` exchanges; prints to `lines` unless it is null.
  Journal(std::size_t kept, std::ostream* lines) : m_kept(kept), m_lines(lines) {}

  // Returns how many uploads have been accepted so far, this one included.
  std::size_t Record(const Exchange& exchange);

  // Copies of the remembered exchanges, oldest first; the second gives accepted uploads only.
  std::vector<Exchange> Exchanges() const;
  std::vector<Exchange> AcceptedUploads() const;

  // Waits, on the monotonic clock, until `count` exchanges have been recorded since the start.
  // False when `timeout` has passed first.
  bool AwaitExchanges(std::size_t count, std::chrono::milliseconds timeout) const;
  // The same for accepted exchanges of one endpoint.
  bool AwaitAccepted(Endpoint endpoint, std::size_t count, std::chrono::milliseconds timeout) const;

 private:
  bool Await(const std::function<bool()>& reached, std::chrono::milliseconds timeout) const;

  const std::size_t m_kept;
  std::ostream* const m_lines;  // written under m_mutex
  mutable util::Mutex m_mutex;
  mutable std::condition_variable_any m_recorded;          // signalled after every change
  std::deque<Exchange> m_exchanges;                        // guarded by m_mutex
  std::size_t m_exchangeCount = 0;                         // guarded by m_mutex
  std::size_t m_uploadCount = 0;                           // guarded by m_mutex
  std::array<std::size_t, kEndpoints> m_acceptedCounts{};  // guarded by m_mutex
};

}  // namespace cloud
