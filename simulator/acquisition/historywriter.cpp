#include "acquisition/historywriter.h"

#include <algorithm>
#include <map>

#include "acquisition/signals.h"
#include "util/paths.h"
#include "util/text.h"

namespace {

// The formats take the table's name for each %s.
constexpr char kCreateHistoryTable[] =
    "CREATE TABLE IF NOT EXISTS %s("
    "Pid INTEGER PRIMARY KEY, dataid INTEGER NOT NULL, UnixTime INTEGER NOT NULL, "
    "TriggerValue REAL, Upload INTEGER DEFAULT 1);"
    "CREATE INDEX IF NOT EXISTS %s_idx ON %s(dataid,UnixTime)";
constexpr char kSelectNewest[] = "SELECT IFNULL(MAX(Pid),0) FROM %s";
// Inserts the row, unless its point has one at that time with a Pid up to ?5.
constexpr char kInsertHistory[] =
    "INSERT INTO %s(dataid,UnixTime,TriggerValue,Upload) SELECT ?1,?2,?3,?4 WHERE NOT EXISTS("
    "SELECT 1 FROM %s WHERE dataid=?1 AND UnixTime=?2 AND Pid<=?5)";

// Takes the table's name and the point.
constexpr char kSelectHistory[] =
    "SELECT dataid,UnixTime,TriggerValue,Upload FROM %s WHERE dataid=%lld ORDER BY UnixTime,Pid";

constexpr std::int64_t kNoRow = 0;  // below every Pid

enum class Existing { kIgnored, kKept };

using RowsByTable = std::map<std::string, std::vector<HistoryRow>>;

RowsByTable ByTable(const std::vector<HistoryRow>& rows) {
  RowsByTable tables;
  for (const HistoryRow& row : rows) tables[HistoryTable(row.dataId)].push_back(row);
  return tables;
}

std::int64_t NewestPid(sqlite3* database, const char* table) {
  CardStatement newest(database, util::Format(kSelectNewest, table));
  return newest.NextRow() ? newest.Integer(0) : kNoRow;
}

bool InsertInto(sqlite3* database, const char* table, const std::vector<HistoryRow>& rows,
                Existing existing) {
  if (!util::Execute(database, util::Format(kCreateHistoryTable, table, table, table).c_str())) {
    return false;
  }
  const std::int64_t kept = existing == Existing::kKept ? NewestPid(database, table) : kNoRow;
  CardStatement insert(database, util::Format(kInsertHistory, table, table));
  for (const HistoryRow& row : rows) {
    if (!insert.Run({StoredId(row.dataId), row.unixTime, row.triggerValue, std::int64_t{row.upload},
                     kept})) {
      return false;
    }
  }
  return true;
}

std::string RecordRows(const std::vector<HistoryRow>& rows, std::chrono::milliseconds patience,
                       Existing existing) {
  if (rows.empty()) return {};
  const RowsByTable tables = ByTable(rows);
  return Record(HistoryDatabasePath(), patience, [&tables, existing](sqlite3* database) {
    return std::ranges::all_of(tables, [database, existing](const auto& table) {
      return InsertInto(database, table.first.c_str(), table.second, existing);
    });
  });
}

}  // namespace

std::vector<HistoryRow> HistoryRows(const std::vector<std::uint32_t>& dataIds, std::int64_t first,
                                    std::int64_t last) {
  const std::int64_t firstMinute = (first + kMinuteSeconds - 1) / kMinuteSeconds * kMinuteSeconds;
  std::vector<HistoryRow> rows;
  for (std::int64_t minute = firstMinute; minute <= last; minute += kMinuteSeconds) {
    for (const std::uint32_t dataId : dataIds) {
      rows.push_back({dataId, minute, SignalValue(dataId, minute)});
    }
  }
  return rows;
}

std::string HistoryDatabasePath() {
  return paths::kDemandHistory;
}

std::string HistoryTable(std::uint32_t dataId) {
  return util::Format("history_%04x_tbl", dataId >> 16);
}

bool HistoryWriter::Append(const std::vector<HistoryRow>& rows) {
  m_trouble = RecordRows(rows, m_patience, Existing::kIgnored);
  return m_trouble.empty();
}

bool HistoryWriter::AppendMissing(const std::vector<HistoryRow>& rows) {
  m_trouble = RecordRows(rows, m_patience, Existing::kKept);
  return m_trouble.empty();
}

std::optional<std::vector<HistoryRow>> HistoryWriter::Rows(std::uint32_t dataId) const {
  std::vector<HistoryRow> rows;
  const std::string query = util::Format(kSelectHistory, HistoryTable(dataId).c_str(),
                                         static_cast<long long>(StoredId(dataId)));
  const auto take = [&rows](const CardStatement& row) {
    rows.push_back({static_cast<std::uint32_t>(row.Integer(0)), row.Integer(1), row.Real(2),
                    static_cast<std::int32_t>(row.Integer(3))});
  };
  if (!ReadRows(HistoryDatabasePath(), m_patience, query, take)) return std::nullopt;
  return rows;
}
