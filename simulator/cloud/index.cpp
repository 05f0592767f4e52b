#include "cloud/index.h"

#include <sqlite3.h>

#include <algorithm>
#include <iostream>
#include <mutex>
#include <string_view>

#include "util/json.h"

namespace cloud {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

constexpr int kPatienceMilliseconds = 200;
constexpr std::size_t kStampAt = 1;
constexpr std::size_t kStampDigits = 14;

constexpr char kCreate[] =
    "CREATE TABLE IF NOT EXISTS exchange("
    "id INTEGER PRIMARY KEY, time INTEGER, endpoint TEXT, address TEXT, name TEXT, stamp TEXT, "
    "bytes INTEGER, attempt INTEGER, accepted INTEGER, verdict TEXT, fault TEXT, devices INTEGER, "
    "points INTEGER, order_id INTEGER, head TEXT, parts TEXT, member TEXT, archive BLOB, "
    "body TEXT, checks TEXT, answer_status INTEGER, answer TEXT);"
    "CREATE INDEX IF NOT EXISTS exchange_name ON exchange(name, attempt, endpoint, accepted);"
    "CREATE INDEX IF NOT EXISTS exchange_endpoint ON exchange(endpoint, id, accepted);"
    "CREATE INDEX IF NOT EXISTS exchange_order ON exchange(endpoint, id) WHERE order_id IS NOT "
    "NULL";
constexpr char kInsert[] =
    "INSERT INTO exchange(time, endpoint, address, name, stamp, bytes, attempt, accepted, verdict, "
    "fault, devices, points, order_id, head, parts, member, archive, body, checks, answer_status, "
    "answer) VALUES(?1, ?2, ?3, ?4, ?5, ?6, "
    "CASE WHEN ?4 IS NULL THEN NULL ELSE 1 + (SELECT count(*) FROM exchange WHERE name = ?4) END, "
    "?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18, ?19, ?20)";

// Gives a statement its values, one after the other.
class Binder {
 public:
  explicit Binder(sqlite3_stmt* statement) : m_statement(statement) {}

  void Number(std::int64_t number) { sqlite3_bind_int64(m_statement, ++m_place, number); }
  void Null() { sqlite3_bind_null(m_statement, ++m_place); }
  // Copied. What is no UTF-8 stays as it is.
  void Text(std::string_view text) {
    sqlite3_bind_text(m_statement, ++m_place, text.data(), static_cast<int>(text.size()),
                      SQLITE_TRANSIENT);
  }
  void TextOrNull(std::string_view text) { text.empty() ? Null() : Text(text); }
  // Not copied: the bytes live until the statement has run.
  void Blob(std::string_view bytes) {
    sqlite3_bind_blob(m_statement, ++m_place, bytes.data(), static_cast<int>(bytes.size()),
                      nullptr);
  }

 private:
  sqlite3_stmt* m_statement;
  int m_place = 0;
};

void WriteText(Writer* writer, const char* key, const std::string& text) {
  writer->Key(key);
  writer->String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

std::string HeadText(const Request& request) {
  std::string text = request.method + " " + request.target + " " + request.version + "\n";
  for (const Header& header : request.headers) text += header.name + ": " + header.value + "\n";
  return text;
}

std::string PartsText(const Exchange& exchange) {
  rapidjson::StringBuffer text;
  Writer writer(text);
  writer.StartArray();
  if (const auto file = ReadForm(exchange.request.body)) {
    writer.StartObject();
    WriteText(&writer, "name", file->field);
    WriteText(&writer, "filename", file->fileName);
    WriteText(&writer, "type", file->contentType);
    writer.Key("bytes");
    writer.Uint64(file->content.size());
    writer.EndObject();
  }
  writer.EndArray();
  return text.GetString();
}

std::string ChecksText(const Exchange& exchange) {
  rapidjson::StringBuffer text;
  Writer writer(text);
  writer.StartArray();
  for (const Check& check : exchange.checks) {
    writer.StartObject();
    WriteText(&writer, "name", check.name);
    writer.Key("passed");
    check.passed ? writer.Bool(*check.passed) : writer.Null();
    WriteText(&writer, "text", check.text);
    writer.EndObject();
  }
  writer.EndArray();
  return text.GetString();
}

bool IsUpload(const Exchange& exchange) {
  return exchange.endpoint && Facts(*exchange.endpoint).IsUpload();
}

std::string StampOf(const std::string& name) {
  const std::string digits = name.substr(std::min(kStampAt, name.size()), kStampDigits);
  const bool whole =
      digits.size() == kStampDigits && digits.find_first_not_of("0123456789") == std::string::npos;
  return whole ? digits : "";
}

void BindOrder(const Exchange& exchange, Binder& binder) {
  if (exchange.recall) return binder.Number(exchange.recall->id);
  if (!exchange.orders.empty()) return binder.Number(exchange.orders.front());
  binder.Null();
}

void Bind(const Exchange& exchange, Binder binder) {
  const bool upload = IsUpload(exchange);
  binder.Number(exchange.time);
  binder.Text(exchange.endpoint ? Facts(*exchange.endpoint).name : "");
  binder.Text(exchange.address);
  binder.TextOrNull(exchange.fileName);
  binder.TextOrNull(StampOf(exchange.fileName));
  const std::size_t bytes = upload ? exchange.archive.size() : exchange.request.body.size();
  binder.Number(static_cast<std::int64_t>(bytes));
  binder.Number(exchange.accepted ? 1 : 0);
  binder.Text(exchange.verdict);
  binder.Text(exchange.fault);
  binder.Number(static_cast<std::int64_t>(exchange.devices));
  binder.Number(static_cast<std::int64_t>(exchange.points));
  BindOrder(exchange, binder);
  binder.Text(HeadText(exchange.request));
  binder.Text(PartsText(exchange));
  binder.TextOrNull(exchange.memberName);
  upload ? binder.Blob(exchange.archive) : binder.Null();
  upload ? binder.Null() : binder.Text(exchange.request.body);
  binder.Text(ChecksText(exchange));
  binder.Number(exchange.answer.httpStatus);
  binder.Text(exchange.answer.body);
}

}  // namespace

void Index::Append(const Exchange& exchange) {
  if (m_path.empty()) return;
  const std::lock_guard lock(m_mutex);
  if (!m_database && !Open()) return;
  if (Insert(exchange)) return Tell("");
  Tell(m_database->ErrorText());
  m_database.reset();  // the next exchange tries again with a new connection
}

bool Index::Open() {
  auto database = std::make_unique<util::Database>(m_path.c_str());
  if (*database) database->WaitForLocks(kPatienceMilliseconds);
  // With a write-ahead log a reader does not block the cloud, and the cloud may be killed at any
  // time. Nothing is synced: the index is for watching.
  const bool ready = *database && database->Execute("PRAGMA journal_mode=WAL") &&
                     database->Execute("PRAGMA synchronous=OFF") && database->Execute(kCreate);
  if (!ready) {
    Tell(database->ErrorText());
    return false;
  }
  m_database = std::move(database);
  return true;
}

bool Index::Insert(const Exchange& exchange) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(m_database->Get(), kInsert, -1, &statement, nullptr);
  const std::unique_ptr<sqlite3_stmt, util::StatementFinalizer> owner(statement);
  if (statement == nullptr) return false;
  Bind(exchange, Binder(statement));
  return sqlite3_step(statement) == SQLITE_DONE;
}

void Index::Tell(const std::string& trouble) {
  if (trouble == m_told) return;
  m_told = trouble;
  if (trouble.empty()) {
    std::cerr << "the index " + m_path + " is written again\n";
  } else {
    std::cerr << "cannot write the index " + m_path + ": " + trouble + "; exchanges are missing\n";
  }
}

}  // namespace cloud
