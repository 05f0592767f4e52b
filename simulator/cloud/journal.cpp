#include "cloud/journal.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <ostream>

namespace cloud {

namespace {

bool IsAcceptedUpload(const Exchange& exchange) {
  return exchange.accepted && exchange.endpoint && Facts(*exchange.endpoint).IsUpload();
}

}  // namespace

std::size_t Journal::Record(const Exchange& exchange) {
  const std::lock_guard lock(m_mutex);
  m_exchanges.push_back(exchange);
  if (m_exchanges.size() > m_kept) m_exchanges.pop_front();
  ++m_exchangeCount;
  if (IsAcceptedUpload(exchange)) ++m_uploadCount;
  if (exchange.accepted && exchange.endpoint) {
    ++m_acceptedCounts.at(static_cast<std::size_t>(*exchange.endpoint));
  }
  if (m_lines != nullptr) *m_lines << ToLine(exchange) << '\n' << std::flush;
  m_recorded.notify_all();
  return m_uploadCount;
}

std::vector<Exchange> Journal::Exchanges() const {
  const std::lock_guard lock(m_mutex);
  return {m_exchanges.begin(), m_exchanges.end()};
}

std::vector<Exchange> Journal::AcceptedUploads() const {
  const std::lock_guard lock(m_mutex);
  std::vector<Exchange> uploads;
  std::copy_if(m_exchanges.begin(), m_exchanges.end(), std::back_inserter(uploads),
               IsAcceptedUpload);
  return uploads;
}

bool Journal::AwaitUploads(std::size_t count, std::chrono::milliseconds timeout) const {
  return Await([&] { return m_uploadCount >= count; }, timeout);
}

bool Journal::AwaitExchanges(std::size_t count, std::chrono::milliseconds timeout) const {
  return Await([&] { return m_exchangeCount >= count; }, timeout);
}

bool Journal::AwaitAccepted(Endpoint endpoint, std::size_t count,
                            std::chrono::milliseconds timeout) const {
  const std::size_t& accepted = m_acceptedCounts.at(static_cast<std::size_t>(endpoint));
  return Await([&] { return accepted >= count; }, timeout);
}

bool Journal::Await(const std::function<bool()>& reached, std::chrono::milliseconds timeout) const {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::unique_lock lock(m_mutex);
  return m_recorded.wait_until(lock, deadline, reached);
}

}  // namespace cloud
