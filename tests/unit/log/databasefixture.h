// What the tests of the log database share: the store, a queue, a look into the file.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "log/logdatabase.h"
#include "support/gateway.h"
#include "util/sqlite.h"

namespace test {

inline constexpr char kLogDatabasePath[] = "/tmp/CloudLog/Cloudlog.db";

// A record of 2024-03-06 23:59:58.
ST_LOG_NODE Node(const std::string& message, const std::string& level = "INFO");

// What it is for: drives the store on the test's own thread, with a queue of the test's own.
class LogDatabaseTest : public GatewayTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  int Write() { return store.WriteLog(&queue); }
  // The first column of a query's rows, read by another connection.
  static std::vector<std::string> Column(const std::string& query);
  static std::vector<std::string> Messages();
  // Makes the database with its table, and does that in it.
  void Prepare(const std::string& sql = "");

  CLogDatabase& store = Singleton<CLogDatabase>::Instance();
  std::list<ST_LOG_NODE> queue;
};

}  // namespace test
