#include "console/watch/cardsight.h"

#include <algorithm>
#include <utility>

#include "collect/keepowners.h"
#include "historydata/ledgerfile.h"
#include "main/words.h"
#include "util/directory.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"

namespace console {
namespace {

constexpr bool kNoCopy = true;  // an unfinished write is left to the service
constexpr std::size_t kMostRecalls = 1000;
constexpr int kLockMilliseconds = 100;
constexpr int kRecallMilliseconds = 500;
constexpr std::size_t kMostNames = 20'000;  // of a folder
constexpr int kFolders = 31;
// Two changes within the clock's grain look like one.
constexpr auto kReadAnywayAfter = std::chrono::seconds(5);
constexpr auto kAfterTrouble = std::chrono::milliseconds(3000);

constexpr char kSelectRecalls[] = "select filename from %s order by rowid desc limit %zu";

}  // namespace

bool CardSight::FileMark::operator==(const FileMark& other) const {
  return device == other.device && inode == other.inode && size == other.size &&
         changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
}

CardSight::FileMark CardSight::MarkOf(const std::string& path) {
  struct stat found {};
  if (stat(path.c_str(), &found) != 0) return {};
  return {found.st_dev, found.st_ino, found.st_size, found.st_mtim};
}

bool CardSight::ReadLedger(LedgerSight* sight) {
  if (!m_ledgerPace.IsDue()) return false;
  const FileMark mark = MarkOf(m_place.At(paths::kLedger));
  const auto now = m_ledgerPace.Now();
  if (mark == m_ledger && now - m_readAt < kReadAnywayAfter) return false;
  m_ledger = mark;
  m_readAt = now;
  m_ledgerPace.Begin();
  const status::Ledger ledger =
      status::ReadLedger(m_place, kNoCopy, [sight](const status::LedgerRow& row) {
        const auto key = KeyOf(row.name);
        if (!key || !row.stamp) {
          ++sight->unnamed;
        } else if (sight->rows.size() < kMostFiles) {
          sight->rows.push_back({*key, *row.stamp, row.accepted});
        } else {
          sight->isWhole = false;
        }
      });
  sight->state = ledger.state;
  sight->trouble = status::WhyNotRead(ledger.state, ledger.detail);
  if (ledger.state == status::LedgerState::kGood && ledger.recalls > 0) ReadRecalls(sight);
  m_ledgerPace.End();
  if (ledger.state != status::LedgerState::kGood) m_ledgerPace.Wait(kAfterTrouble);
  return true;
}

// Rows of recalls have a full path and no result.
void CardSight::ReadRecalls(LedgerSight* sight) {
  status::KeepOwners();
  util::Database database = util::Database::OpenForReading(m_place.At(paths::kLedger).c_str());
  if (!database) return;
  database.WaitForLocks(kLockMilliseconds);
  database.LimitTime(kRecallMilliseconds);
  util::Statement rows = database.Prepare(util::Format(kSelectRecalls, kRecallTable, kMostRecalls));
  while (rows && rows.NextRow()) {
    const auto key = KeyOf(rows.Text(0));
    const auto stamp = key ? status::StampOf(BaseNameOf(*key)) : std::nullopt;
    if (stamp) sight->rows.push_back({*key, *stamp, false});
  }
  if (!rows || rows.Failed()) sight->isWhole = false;
}

bool CardSight::HasChanged(const std::string& folder) {
  const FileMark mark = MarkOf(folder);
  const auto [known, isNew] = m_folders.try_emplace(folder);
  return !(std::exchange(known->second, mark) == mark);
}

void CardSight::ReadFolder(const std::string& path, SeenFolder folder,
                           std::vector<SeenFolder>* read) {
  if (!HasChanged(path)) return;
  const util::Directory directory(opendir(path.c_str()));
  if (directory) {
    for (std::size_t names = 0; names < kMostNames; ++names) {
      const dirent* const entry = readdir(directory.get());
      if (entry == nullptr) break;
      const auto key = KeyOf(entry->d_name);
      if (key && key->kind == folder.kind) folder.files.push_back(*key);
    }
  }
  read->push_back(std::move(folder));
}

std::vector<SeenFolder> CardSight::ReadFolders() {
  std::vector<SeenFolder> read;
  if (!m_folderPace.IsDue()) return read;
  m_folderPace.Begin();
  for (int day = 1; day <= kFolders; ++day) {
    const std::string name = "/" + std::to_string(day);
    ReadFolder(m_place.At(paths::kRealData + name), {Kind::kRealData, day, {}}, &read);
    ReadFolder(m_place.At(paths::kAlarmData + name), {Kind::kAlarmData, day, {}}, &read);
  }
  ReadFolder(m_place.At(paths::kCallData), {Kind::kCallData, 0, {}}, &read);
  m_folderPace.End();
  return read;
}

}  // namespace console
