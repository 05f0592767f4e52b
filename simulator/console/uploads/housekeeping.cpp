#include "console/uploads/housekeeping.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "console/uploads/query.h"
#include "util/sqlite.h"

namespace console {
namespace {

namespace fs = std::filesystem;

constexpr int kTidyPatienceMilliseconds = 50;
constexpr std::int64_t kExchangesAtOnce = 500;
constexpr std::int64_t kHistoryPart = 50;  // one part of so many goes at once
constexpr std::int64_t kBlockBytes = 4096;

std::int64_t NumberFrom(sqlite3* database, const std::string& sql) {
  Query query(database, sql);
  return query.Next() ? query.Integer(0) : 0;
}

// Free pages of the file are used again, so they do not count.
std::int64_t BytesInUse(sqlite3* database) {
  const std::int64_t pages =
      NumberFrom(database, "PRAGMA page_count") - NumberFrom(database, "PRAGMA freelist_count");
  return pages * NumberFrom(database, "PRAGMA page_size");
}

std::optional<util::Database> OpenExisting(const std::string& path) {
  std::error_code error;
  if (!fs::exists(path, error)) return std::nullopt;
  util::Database database(path.c_str(), util::Database::Missing::kFails);
  if (!database) return std::nullopt;
  database.WaitForLocks(kTidyPatienceMilliseconds);
  database.KeepCacheSmall();
  return database;
}

std::vector<std::string> HistoryTables(sqlite3* database) {
  std::vector<std::string> tables;
  Query names(
      database,
      "SELECT name FROM sqlite_master WHERE type = 'table' AND name GLOB 'history_????_tbl'");
  while (names.Next()) tables.push_back(names.Text(0));
  return tables;
}

struct KeptFile {
  fs::file_time_type time;
  std::int64_t bytes = 0;  // on the disk
  fs::path path;

  bool operator<(const KeptFile& other) const { return time < other.time; }
};

std::vector<KeptFile> FilesBelow(const std::string& folder) {
  std::vector<KeptFile> files;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code gone;
    if (!entry->is_regular_file(gone) || gone) continue;
    const auto size = static_cast<std::int64_t>(entry->file_size(gone));
    const auto time = entry->last_write_time(gone);
    const std::int64_t blocks = (size + kBlockBytes - 1) / kBlockBytes;
    if (!gone) files.push_back({time, blocks * kBlockBytes, entry->path()});
  }
  std::ranges::sort(files, std::less());
  return files;
}

}  // namespace

void Housekeeping::Tidy() {
  TidyIndex();
  TidyFiles();
  TidyHistory();
}

// An exchange first loses its bytes and keeps its line in the lists; much later it goes.
void Housekeeping::TidyIndex() {
  auto database = OpenExisting(m_places.index);
  if (!database) return;
  const std::int64_t newest = NumberFrom(database->Get(), "SELECT max(id) FROM exchange");
  const std::int64_t oldest = NumberFrom(database->Get(), "SELECT min(id) FROM exchange");
  if (const std::int64_t first = newest - m_budget.exchanges + 1; oldest < first) {
    const std::int64_t end = std::min(first, oldest + kExchangesAtOnce);
    database->Execute("DELETE FROM exchange WHERE id < " + std::to_string(end));
  }
  const std::int64_t begin = std::max(m_emptied + 1, oldest);
  const std::int64_t end = std::min(newest - m_budget.wholeExchanges + 1, begin + kExchangesAtOnce);
  if (begin >= end || BytesInUse(database->Get()) <= m_budget.indexBytes) return;
  const bool done = database->Execute(
      "UPDATE exchange SET head = NULL, parts = NULL, member = NULL, archive = NULL, body = NULL, "
      "checks = NULL, answer = NULL WHERE id >= " +
      std::to_string(begin) + " AND id < " + std::to_string(end));
  if (done) m_emptied = end - 1;
}

void Housekeeping::TidyFiles() const {
  if (m_places.files.empty()) return;
  const std::vector<KeptFile> files = FilesBelow(m_places.files);
  std::int64_t bytes = 0;
  for (const KeptFile& file : files) bytes += file.bytes;
  for (const KeptFile& file : files) {
    if (bytes <= m_budget.fileBytes) return;
    std::error_code ignored;
    fs::remove(file.path, ignored);
    bytes -= file.bytes;
  }
}

// Rows are numbered in the order in which they were recorded.
void Housekeeping::TidyHistory() const {
  auto database = OpenExisting(m_places.history);
  if (!database || BytesInUse(database->Get()) <= m_budget.historyBytes) return;
  for (const std::string& table : HistoryTables(database->Get())) {
    const std::int64_t newest = NumberFrom(database->Get(), "SELECT max(Pid) FROM " + table);
    const std::int64_t oldest = NumberFrom(database->Get(), "SELECT min(Pid) FROM " + table);
    const std::int64_t rows = (newest - oldest + 1) / kHistoryPart;
    if (rows < 1) continue;
    database->Execute("DELETE FROM " + table + " WHERE Pid < " + std::to_string(oldest + rows));
  }
}

}  // namespace console
