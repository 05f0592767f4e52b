#include "console/uploads/alarms.h"

#include <mutex>

#include "console/uploads/alarmcodes.h"
#include "console/uploads/alarmdocument.h"
#include "util/text.h"

namespace console {
namespace {

constexpr std::chrono::milliseconds kBetweenLooks{500};
constexpr std::size_t kDocumentsALook = 100;
constexpr std::size_t kMostRemembered = 20'000;

}  // namespace

void Alarms::Follow() {
  const std::lock_guard lock(m_mutex);
  FollowLocked();
}

void Alarms::FollowLocked() {
  const auto now = std::chrono::steady_clock::now();
  if (now < m_nextLook) return;
  m_log.Follow(m_now());
  TakeDocuments();
  Match();
  m_nextLook = std::chrono::steady_clock::now() + kBetweenLooks;
}

void Alarms::TakeDocuments() {
  for (const IndexedUpload& upload :
       m_index.ArrivalsAfter(m_lastUpload, kDocumentsALook, "alarmdata")) {
    m_lastUpload = upload.id;
    // A file that came twice brings its events once.
    if (!upload.accepted || !m_files.insert(upload.name).second) continue;
    for (const std::string& key : AlarmKeysIn(m_index.DocumentOf(upload.id))) {
      m_delivered[key].push_back(upload.id);
    }
  }
  // Beyond any run; what is forgotten here shows as taken.
  if (m_files.size() > kMostRemembered) m_files.erase(m_files.begin());
  while (m_delivered.size() > kMostRemembered) m_delivered.erase(m_delivered.begin());
}

// Events that look the same are matched in their order.
void Alarms::Match() {
  std::erase_if(m_uploads,
                [&](const auto& entry) { return !m_log.Events().contains(entry.first); });
  if (m_delivered.empty()) return;
  for (const auto& [id, event] : m_log.Events()) {
    if (m_uploads.contains(id)) continue;
    const auto found =
        m_delivered.find(AlarmKey(event.dataId, event.timeMark, event.upFlag, event.trigger));
    if (found == m_delivered.end()) continue;
    m_uploads[id] = found->second.front();
    found->second.pop_front();
    if (found->second.empty()) m_delivered.erase(found);
  }
}

std::vector<AlarmSight> Alarms::Between(std::uint32_t dataId, std::time_t from, std::time_t to) {
  const std::lock_guard lock(m_mutex);
  FollowLocked();
  std::vector<AlarmSight> sights;
  const auto& events = m_log.Events();
  for (auto entry = events.lower_bound({.time = from}); entry != events.end(); ++entry) {
    const auto& [id, event] = *entry;
    if (id.time > to) break;
    if (event.dataId != dataId) continue;
    const AlarmMeaning meaning = MeaningOf(dataId, event.type, event.upFlag != 0);
    sights.push_back(
        {id.time,
         util::Format("%s: %.3f against %.3f", meaning.meaning, event.trigger, event.threshold),
         meaning.raised});
  }
  return sights;
}

}  // namespace console
