#include "databasefixture.h"

#include <stdexcept>

#include "util/text.h"

namespace test {

ST_LOG_NODE Node(const std::string& message, const std::string& level) {
  ST_LOG_NODE node{};
  util::CopyText(node.date, "2024-03-06");
  util::CopyText(node.time, "23:59:58");
  util::CopyText(node.logType, level);
  util::CopyText(node.desc, message);
  return node;
}

void LogDatabaseTest::SetUp() {
  GatewayTest::SetUp();
  store.Init();
}

void LogDatabaseTest::TearDown() {
  store.Init();
  GatewayTest::TearDown();
}

std::vector<std::string> LogDatabaseTest::Column(const std::string& query) {
  std::vector<std::string> values;
  util::Database database(kLogDatabasePath);
  auto rows = database.Prepare(query);
  if (!rows) throw std::runtime_error(database.ErrorText());
  while (rows.NextRow()) values.emplace_back(rows.Text(0));
  return values;
}

std::vector<std::string> LogDatabaseTest::Messages() {
  return Column("select log_Desc from log_tbl order by Pid");
}

void LogDatabaseTest::Prepare(const std::string& sql) {
  WriteFile("/tmp/CloudLog/placeholder", "");  // the directory, as the text log makes it
  if (store.LogTableCreate(kLogDatabasePath) != 0) throw std::runtime_error("no database");
  util::Database database(kLogDatabasePath);
  if (!database.Execute(sql)) throw std::runtime_error(database.ErrorText());
}

}  // namespace test
