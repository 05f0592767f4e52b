// Owns the journal of all exchanges.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <iosfwd>
#include <vector>

#include "cloud/exchange.h"
#include "util/mutex.h"

namespace cloud {

// What it is for: remembering exchanges, printing a line of each, letting others wait for them.
// Threads: any. Owns: the exchanges, guarded by m_mutex, under which lines are printed too.
class Journal {
 public:
  // Remembers the latest `kept` exchanges; prints to `lines` unless it is null.
  Journal(std::size_t kept, std::ostream* lines) : m_kept(kept), m_lines(lines) {}

  // Returns how many uploads have been accepted so far, this one included.
  std::size_t Record(const Exchange& exchange);

  // Copies of the remembered exchanges, oldest first; of the second, the accepted uploads alone.
  std::vector<Exchange> Exchanges() const;
  std::vector<Exchange> AcceptedUploads() const;

  // Wait, on the monotonic clock, until `count` uploads have been accepted, or exchanges recorded,
  // since the start. False when `timeout` has passed first.
  bool AwaitUploads(std::size_t count, std::chrono::milliseconds timeout) const;
  bool AwaitExchanges(std::size_t count, std::chrono::milliseconds timeout) const;
  // The same for exchanges of one endpoint that were accepted.
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
