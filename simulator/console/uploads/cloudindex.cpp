#include "console/uploads/cloudindex.h"

#include <filesystem>
#include <mutex>
#include <system_error>

#include "cloud/archive.h"
#include "cloud/fault.h"
#include "console/uploads/query.h"
#include "util/mutex.h"

namespace console {
namespace {

constexpr int kPatienceMilliseconds = 500;
constexpr std::size_t kDocumentBytes = std::size_t{8} << 20;

constexpr char kUploadColumns[] =
    "id, endpoint, name, stamp, accepted, time, bytes, attempt, "
    "(SELECT max(n.attempt) FROM exchange n WHERE n.name = e.name), verdict, devices, points, "
    "order_id";
constexpr int kUploadColumnCount = 13;
constexpr char kIsUpload[] = "endpoint IN ('realdata', 'alarmdata', 'calldata')";

IndexedUpload UploadFrom(const Query& row) {
  IndexedUpload upload;
  upload.id = row.Integer(0);
  upload.kind = row.Text(1);
  upload.name = row.Text(2);
  upload.stamp = row.Text(3);
  upload.accepted = row.Integer(4) != 0;
  upload.time = static_cast<std::time_t>(row.Integer(5));
  upload.bytes = row.Integer(6);
  upload.attempt = row.Integer(7);
  upload.attempts = row.Integer(8);
  upload.verdict = row.Text(9);
  upload.devices = row.Integer(10);
  upload.points = row.Integer(11);
  if (!row.IsNull(12)) upload.order = static_cast<int>(row.Integer(12));
  return upload;
}

IndexedExchange ExchangeFrom(const Query& row) {
  IndexedExchange exchange;
  exchange.upload = UploadFrom(row);
  int column = kUploadColumnCount;
  exchange.address = row.Text(column++);
  exchange.head = row.Text(column++);
  exchange.parts = row.Text(column++);
  exchange.member = row.Text(column++);
  exchange.archive = row.Text(column++);
  exchange.body = row.Text(column++);
  exchange.checks = row.Text(column++);
  exchange.answerStatus = static_cast<int>(row.Integer(column++));
  exchange.answer = row.Text(column);
  return exchange;
}

// The part of LIKE's pattern that stands for these characters themselves.
std::string Literally(const std::string& text) {
  std::string pattern;
  for (const char c : text) {
    if (c == '%' || c == '_' || c == '\\') pattern += '\\';
    pattern += c;
  }
  return pattern;
}

// A condition and the values of its parameters.
struct Condition {
  std::string sql;
  std::vector<QueryValue> values{};

  void Add(const std::string& part, const QueryValue& value) {
    values.push_back(value);
    sql += " AND " + part + " ?" + std::to_string(values.size());
  }
};

// Which exchanges a filter means, after "FROM exchange". The rows are large, so only indexes are
// searched: all columns of the condition stand in one of them. Without a filter the newest rows are
// nearly all uploads, and the "+" keeps SQLite from sorting.
Condition ConditionOf(const UploadFilter& filter) {
  const bool isOpen = filter.kind.empty() && filter.name.empty() && !filter.accepted;
  Condition condition;
  if (!filter.name.empty()) condition.sql = " INDEXED BY exchange_name";
  condition.sql += " WHERE ";
  condition.sql += filter.kind.empty() ? std::string(isOpen ? "+" : "") + kIsUpload : "1";
  if (!filter.kind.empty()) condition.Add("endpoint =", filter.kind);
  if (filter.accepted) condition.Add("accepted =", std::int64_t{*filter.accepted ? 1 : 0});
  if (!filter.name.empty()) {
    condition.Add("name LIKE", "%" + Literally(filter.name) + "%");
    condition.sql += " ESCAPE '\\'";
  }
  return condition;
}

// The uploads whose ids `ids` selects.
std::string SelectUploads(const std::string& ids) {
  return std::string("SELECT ") + kUploadColumns +
         " FROM exchange e WHERE id IN (SELECT id FROM exchange" + ids + ") ORDER BY id";
}

bool ReadPage(sqlite3* database, const UploadFilter& filter, std::size_t limit, UploadPage& page) {
  const Condition all = ConditionOf(filter);
  Query count(database, "SELECT count(*) FROM exchange" + all.sql, all.values);
  if (!count.Next()) return false;
  page.total = count.Integer(0);

  Condition some = ConditionOf(filter);
  if (filter.before) some.Add("id <", *filter.before);
  const std::string newest = some.sql + " ORDER BY id DESC LIMIT " + std::to_string(limit + 1);
  Query rows(database, SelectUploads(newest) + " DESC", some.values);
  while (rows.Next()) page.uploads.push_back(UploadFrom(rows));
  page.hasMore = page.uploads.size() > limit;
  if (page.hasMore) page.uploads.pop_back();
  return rows.IsGood();
}

}  // namespace

std::string Unpack(const std::string& archive, std::string* trouble) {
  static util::Mutex oneAtATime;
  const std::lock_guard lock(oneAtATime);
  try {
    return cloud::ReadArchive(archive, kDocumentBytes).text;
  } catch (const cloud::Fault& fault) {
    *trouble = fault.what();
    return {};
  }
}

bool CloudIndex::Read(const std::function<bool(sqlite3*)>& read) const {
  std::error_code error;
  if (!std::filesystem::exists(m_path, error)) return !error;
  util::Database database(m_path.c_str(), util::Database::Missing::kFails);
  if (!database) return false;
  database.WaitForLocks(kPatienceMilliseconds);
  database.KeepCacheSmall();
  Query table(database.Get(), "SELECT 1 FROM sqlite_master WHERE name = 'exchange'");
  if (!table.Next()) return table.IsGood();  // the cloud has just begun
  return database.Execute("PRAGMA query_only=ON") && read(database.Get());
}

std::vector<IndexedUpload> CloudIndex::ArrivalsAfter(std::int64_t id, std::size_t limit,
                                                     const std::string& kind) const {
  Condition condition = ConditionOf({.kind = kind});
  condition.Add("id >", id);
  const std::string oldest = condition.sql + " ORDER BY id LIMIT " + std::to_string(limit);
  std::vector<IndexedUpload> uploads;
  Read([&](sqlite3* database) {
    Query rows(database, SelectUploads(oldest), condition.values);
    while (rows.Next()) uploads.push_back(UploadFrom(rows));
    return rows.IsGood();
  });
  return uploads;
}

std::string CloudIndex::DocumentOf(std::int64_t id) const {
  std::string archive;
  Read([&](sqlite3* database) {
    Query row(database, "SELECT archive FROM exchange WHERE id = ?1", {id});
    if (row.Next()) archive = row.Text(0);
    return row.IsGood();
  });
  std::string ignored;
  return archive.empty() ? std::string() : Unpack(archive, &ignored);
}

std::optional<UploadPage> CloudIndex::Page(const UploadFilter& filter, std::size_t limit) const {
  UploadPage page;
  const bool good =
      Read([&](sqlite3* database) { return ReadPage(database, filter, limit, page); });
  return good ? std::optional(std::move(page)) : std::nullopt;
}

std::optional<IndexedExchange> CloudIndex::Exchange(std::int64_t id) const {
  IndexedExchange exchange;
  const bool good = Read([&](sqlite3* database) {
    Query row(database,
              std::string("SELECT ") + kUploadColumns +
                  ", address, head, parts, member, archive, body, checks, answer_status, answer "
                  "FROM exchange e WHERE id = ?1",
              {id});
    if (row.Next()) exchange = ExchangeFrom(row);
    return row.IsGood();
  });
  return good ? std::optional(std::move(exchange)) : std::nullopt;
}

std::optional<std::vector<OrderingAnswer>> CloudIndex::OrdersAfter(std::int64_t id,
                                                                   std::size_t limit) const {
  std::vector<OrderingAnswer> answers;
  const bool good = Read([&](sqlite3* database) {
    Query rows(database,
               "SELECT id, time, answer FROM exchange INDEXED BY exchange_order WHERE id > ?1 AND "
               "order_id IS NOT NULL AND "
               "endpoint = 'recall-check' AND accepted = 1 ORDER BY id LIMIT " +
                   std::to_string(limit),
               {id});
    while (rows.Next()) answers.push_back({rows.Integer(0), rows.Integer(1), rows.Text(2)});
    return rows.IsGood();
  });
  return good ? std::optional(std::move(answers)) : std::nullopt;
}

std::optional<std::vector<ExchangeVerdict>> CloudIndex::VerdictsAfter(std::int64_t id,
                                                                      std::size_t limit) const {
  std::vector<ExchangeVerdict> verdicts;
  const bool good = Read([&](sqlite3* database) {
    Query rows(database,
               "SELECT id, endpoint, address, name, accepted, verdict FROM exchange WHERE id > ?1 "
               "ORDER BY id LIMIT " +
                   std::to_string(limit),
               {id});
    while (rows.Next()) {
      verdicts.push_back({rows.Integer(0), rows.Text(1), rows.Text(2), rows.Text(3),
                          rows.Integer(4) != 0, rows.Text(5)});
    }
    return rows.IsGood();
  });
  return good ? std::optional(std::move(verdicts)) : std::nullopt;
}

}  // namespace console
