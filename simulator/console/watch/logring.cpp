#include "console/watch/logring.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

namespace console {
namespace {

using Lock = std::lock_guard<util::Mutex>;

constexpr std::size_t kMostRecords = 5000;
constexpr std::size_t kMostBytes = 6U << 20;
constexpr std::ptrdiff_t kRepeatsWithin = 8;

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool HoldsInEitherCase(std::string_view text, std::string_view part) {
  const auto* const found = std::search(text.begin(), text.end(), part.begin(), part.end(),
                                        [](char a, char b) { return Lower(a) == Lower(b); });
  return found != text.end() || part.empty();
}

std::size_t BytesOf(const KeptRecord& record) {
  return sizeof(KeptRecord) + record.text.size() + record.file.size();
}

}  // namespace

int RankOfLevel(std::string_view level) {
  constexpr std::array<std::string_view, 3> kWorse = {"WARN", "ERROR", "FATAL"};
  const auto* const found = std::find(kWorse.begin(), kWorse.end(), level);
  return found == kWorse.end() ? 0 : static_cast<int>(found - kWorse.begin()) + 1;
}

bool ReportsError(const KeptRecord& record) {
  return RankOfLevel(record.level) == 0 && HoldsInEitherCase(record.text, "error");
}

void LogRing::Take(const status::LogRecord& record) {
  const Lock lock(m_mutex);
  KeptRecord kept{
      .first = record.time, .level = record.level, .text = record.text, .file = record.file};
  const auto size = static_cast<std::ptrdiff_t>(m_records.size());
  const auto from = m_records.end() - std::min(size, kRepeatsWithin);
  const auto same = std::find_if(from, m_records.end(), [&](const KeptRecord& each) {
    return each.text == record.text && each.level == record.level && each.file == record.file;
  });
  if (same != m_records.end()) {
    m_bytes -= BytesOf(*same);
    kept = std::move(*same);
    m_records.erase(same);
    kept.replaces = kept.id;
    ++kept.count;
  }
  kept.id = ++m_newest;
  kept.last = record.time;
  kept.line = record.line;
  m_bytes += BytesOf(kept);
  m_records.push_back(std::move(kept));
  while (m_records.size() > kMostRecords || m_bytes > kMostBytes) {
    m_bytes -= BytesOf(m_records.front());
    m_records.pop_front();
  }
}

std::vector<KeptRecord> LogRing::Find(const LogQuery& query) const {
  const Lock lock(m_mutex);
  const int rank = RankOfLevel(query.level);
  std::vector<KeptRecord> found;
  const auto isWanted = [&](const KeptRecord& record) {
    return (query.before == 0 || record.id < query.before) && RankOfLevel(record.level) >= rank &&
           HoldsInEitherCase(record.text, query.text);
  };
  for (auto record = m_records.rbegin();
       record != m_records.rend() && found.size() < query.limit && record->id > query.after;
       ++record) {
    if (isWanted(*record)) found.push_back(*record);
  }
  std::reverse(found.begin(), found.end());
  return found;
}

HiddenRecords LogRing::Hidden(const LogQuery& query) const {
  const Lock lock(m_mutex);
  const int rank = RankOfLevel(query.level);
  HiddenRecords hidden;
  for (const KeptRecord& record : m_records) {
    if (RankOfLevel(record.level) >= rank || !HoldsInEitherCase(record.text, query.text)) continue;
    ++hidden.count;
    if (ReportsError(record)) ++hidden.errors;
  }
  return hidden;
}

std::vector<KeptRecord> LogRing::Naming(std::string_view part) const {
  const Lock lock(m_mutex);
  std::vector<KeptRecord> found;
  for (const KeptRecord& record : m_records) {
    if (record.text.find(part) != std::string::npos) found.push_back(record);
  }
  return found;
}

bool LogRing::Logged(std::string_view text, std::time_t since) const {
  const Lock lock(m_mutex);
  return std::any_of(m_records.begin(), m_records.end(), [&](const KeptRecord& record) {
    return record.last >= since && record.text.find(text) != std::string::npos;
  });
}

std::time_t LogRing::LastOf(std::string_view start) const {
  const Lock lock(m_mutex);
  const auto record =
      std::find_if(m_records.rbegin(), m_records.rend(),
                   [&](const KeptRecord& each) { return each.text.starts_with(start); });
  return record == m_records.rend() ? 0 : record->last;
}

long LogRing::Newest() const {
  const Lock lock(m_mutex);
  return m_newest;
}

}  // namespace console
