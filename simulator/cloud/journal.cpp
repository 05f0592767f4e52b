#include "cloud/journal.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <ostream>

#include "util/timetext.h"

namespace cloud {

namespace {

std::string TimeOfDay(std::time_t when) {
  const auto time = util::LocalTime(when);
  return time ? util::ClockText(*time) : "--:--:--";
}

std::string WhatArrived(const Exchange& exchange) {
  if (!exchange.endpoint) return exchange.request.method + " " + exchange.request.target;
  const EndpointFacts& facts = Facts(*exchange.endpoint);
  std::string text = facts.name;
  if (!facts.IsUpload()) {
    return exchange.serialNumber.empty() ? text : text + " sn " + exchange.serialNumber;
  }
  if (!exchange.fileName.empty()) text += " " + exchange.fileName;
  text += " " + std::to_string(exchange.archive.size()) + " bytes";
  text += ", " + std::to_string(exchange.devices) + " devices";
  text += ", " + std::to_string(exchange.points) + " points";
  return exchange.recall ? text + ", order " + std::to_string(exchange.recall->id) : text;
}

bool IsAcceptedUpload(const Exchange& exchange) {
  return exchange.accepted && exchange.endpoint && Facts(*exchange.endpoint).IsUpload();
}

}  // namespace

std::string ToLine(const Exchange& exchange) {
  std::string line = TimeOfDay(exchange.time) + " ";
  if (exchange.onSecondAddress) line += "at " + exchange.address + " ";
  line += WhatArrived(exchange) + ": " + exchange.verdict;
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
  std::replace_if(line.begin(), line.end(), isControl, '?');
  return line;
}

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
