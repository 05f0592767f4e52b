#include "console/watch/account.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "collect/ledger.h"

namespace console {
namespace {

constexpr std::time_t kDaySeconds = 86400;
constexpr std::time_t kAgeSeconds = 31 * kDaySeconds;
constexpr std::time_t kRecallAgeSeconds = 3 * kDaySeconds;
// The service ages by its own clock, a little later than ours is read.
constexpr std::time_t kToleranceSeconds = 60;
// A file has its archive for so long, at most, before the service records it.
constexpr std::time_t kRecordedSeconds = 120;
constexpr std::uint8_t kDoubts = 4;

}  // namespace

SeenFile* Account::Place(const FileKey& key, std::time_t stamp, std::time_t now) {
  const auto found = m_files.find(key);
  if (found != m_files.end()) return &found->second;
  if (m_files.size() >= kMostFiles) {
    m_isCut = true;
    return nullptr;
  }
  if (stamp == 0) stamp = status::StampOf(BaseNameOf(key)).value_or(0);
  SeenFile& file = m_files[key];
  file.stamp = stamp;
  file.firstSeen = now;
  return &file;
}

void Account::TakeLedger(const std::vector<SeenRow>& rows, bool isWhole, std::time_t now) {
  ++m_version;
  ++m_reading;
  std::uint32_t place = 0;
  for (const SeenRow& row : rows) {
    SeenFile* const file = Place(row.key, row.stamp, now);
    ++place;
    if (file == nullptr) continue;
    file->row = place;
    file->reading = m_reading;
    file->ledger = row.accepted ? RowState::kAccepted : RowState::kPending;
    if (file->recordedSeen == 0) file->recordedSeen = m_newRowSeen = now;
  }
  if (!isWhole) {
    m_isCut = true;
    return;
  }
  for (auto& [key, file] : m_files) {
    if (file.ledger != RowState::kNone && file.reading != m_reading) file.ledger = RowState::kGone;
  }
}

void Account::TakeFolder(const SeenFolder& folder, std::time_t now) {
  ++m_version;
  for (const FileKey& key : folder.files) {
    if (SeenFile* const file = Place(key, 0, now)) file->isListed = true;
  }
  for (auto file = m_files.lower_bound({folder.kind, 0});
       file != m_files.end() && file->first.kind == folder.kind; ++file) {
    if (folder.day != 0 && file->first.Day() != folder.day) continue;
    file->second.hasArchive = std::exchange(file->second.isListed, false);
  }
}

void Account::TakeArrival(const Arrival& arrival) {
  const std::optional<FileKey> key = KeyOf(arrival.name);
  SeenFile* const file = key ? Place(*key, 0, arrival.time) : nullptr;
  if (file == nullptr) return;
  ++m_version;
  ++file->attempts;
  if (file->triedFirst == 0) file->triedFirst = arrival.time;
  if (file->deliveries == 0) file->uploadId = arrival.id;
  if (!arrival.accepted) return;
  ++file->deliveries;
  if (file->acceptedAt == 0) file->acceptedAt = arrival.time;
  m_lastAccepted[static_cast<std::size_t>(key->kind)] = arrival.time;
}

void Account::TakeJudgedSent(const FileKey& key) {
  const auto file = m_files.find(key);
  if (file == m_files.end()) return;
  ++m_version;
  file->second.saysJudged = true;
}

void Account::TakeAnswered(const FileKey& key) {
  const auto file = m_files.find(key);
  if (file == m_files.end()) return;
  ++m_version;
  file->second.isAnswered = true;
}

const SeenFile* Account::Find(const FileKey& key) const {
  const auto file = m_files.find(key);
  return file == m_files.end() ? nullptr : &file->second;
}

bool Account::IsAged(Kind kind, const SeenFile& file) const {
  const std::time_t age = kind == Kind::kCallData ? kRecallAgeSeconds : kAgeSeconds;
  return m_latest - file.stamp >= age - kToleranceSeconds;
}

// The ledger has no result for recalls. If a recall is refused, its order is answered again with a
// new file. Its archive stays on the card.
FileState Account::RecallStateOf(const SeenFile& file) const {
  if (file.isAnswered) return FileState::kAccepted;
  if (file.saysJudged) return FileState::kJudgedSent;
  const bool hasRow = file.ledger == RowState::kPending || file.ledger == RowState::kAccepted;
  if (!hasRow && IsAged(Kind::kCallData, file)) return FileState::kAged;
  return hasRow || file.hasArchive ? FileState::kPending : FileState::kLost;
}

FileState Account::StateOf(const FileKey& key, const SeenFile& file) const {
  if (file.deliveries > 0) return FileState::kAccepted;
  if (key.kind == Kind::kCallData) return RecallStateOf(file);
  if (file.ledger == RowState::kPending) return FileState::kPending;
  if (file.ledger == RowState::kAccepted) return FileState::kJudgedSent;
  if (!file.hasArchive) return IsAged(key.kind, file) ? FileState::kAged : FileState::kLost;
  if (file.ledger == RowState::kGone) return FileState::kLost;
  // Rows wait in the service's memory together and end with it. A newer row shows that this file's
  // row does not wait any more.
  const bool hasNewerRow = m_newRowSeen > file.firstSeen + kRecordedSeconds;
  return hasNewerRow ? FileState::kLost : FileState::kPending;
}

// Nothing can become of it any more.
bool Account::IsSettled(const SeenFile& file) const {
  const bool isGone = (file.ledger == RowState::kNone || file.ledger == RowState::kGone) &&
                      !file.hasArchive && file.state != FileState::kPending;
  const std::time_t latest = std::max({file.stamp, file.firstSeen, file.acceptedAt});
  return isGone && m_latest - latest > kKeptSeconds;
}

void Account::Count(const SeenFile& file, Counts* total, Counts* ofKind) {
  static constexpr long Counts::*kMembers[] = {&Counts::accepted, &Counts::pending, &Counts::aged,
                                               &Counts::judgedSent, &Counts::lost};
  for (Counts* counts : {total, ofKind}) {
    ++counts->produced;
    ++(counts->*kMembers[static_cast<std::size_t>(file.state)]);
    if (file.deliveries > 1) ++counts->deliveredTwice;
    if (file.state == FileState::kLost && file.recordedSeen != 0) ++counts->lostRecorded;
  }
}

void Account::TakeOldest(const FileKey& key, const SeenFile& file) {
  if (file.state != FileState::kPending || key.kind == Kind::kCallData) return;
  const SeenFile* const oldest = m_oldestPending ? Find(*m_oldestPending) : nullptr;
  if (oldest == nullptr || file.stamp < oldest->stamp) m_oldestPending = key;
}

void Account::Judge(std::time_t now, bool isLedgerRead) {
  m_latest = std::max(m_latest, now);
  m_total = m_forgottenTotal;
  m_counts = m_forgotten;
  m_oldestPending.reset();
  for (auto entry = m_files.begin(); entry != m_files.end();) {
    auto& [key, file] = *entry;
    const auto kind = static_cast<std::size_t>(key.kind);
    const FileState state = StateOf(key, file);
    const bool isBad = state == FileState::kLost || state == FileState::kJudgedSent;
    if (!isBad) file.doubts = 0;
    if (isBad && isLedgerRead && file.doubts < kDoubts) ++file.doubts;
    file.state = isBad && file.doubts < kDoubts ? FileState::kPending : state;
    Count(file, &m_total, &m_counts[kind]);
    TakeOldest(key, file);
    const bool isSettled = IsSettled(file);
    if (isSettled) Count(file, &m_forgottenTotal, &m_forgotten[kind]);
    entry = isSettled ? m_files.erase(entry) : std::next(entry);
  }
}

std::vector<std::string> Account::Some(FileState state, std::size_t most) const {
  std::vector<std::string> names;
  for (auto file = m_files.rbegin(); file != m_files.rend() && names.size() < most; ++file) {
    if (file->second.state == state) names.push_back(BaseNameOf(file->first));
  }
  return names;
}

}  // namespace console
