// Logs as the service writes them, and their reading.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "collect/logs.h"
#include "support/databasefile.h"
#include "support/gateway.h"

namespace test {

inline constexpr char kLogOfToday[] = "/tmp/CloudLog/0307_log.txt";

// A record of the text log, as the service writes it.
inline std::string RecordOf(const std::string& time, const std::string& message,
                            const std::string& level = "INFO") {
  return "2024-03-07 " + time + " logType:" + level + "\n " + message + "\n";
}

class LogsTest : public GatewayTest {
 protected:
  // Makes the log database with rows of "hh:mm:ss", level and message.
  static void WriteDatabase(const std::vector<std::vector<std::string>>& rows) {
    DatabaseFile database = EmptyDatabase();
    for (const auto& row : rows) Insert(database, row);
  }
  static DatabaseFile EmptyDatabase() {
    mkdir(paths::kLogDirectory, 0755);
    DatabaseFile database(paths::kLogDatabase);
    database.Run(
        "CREATE TABLE IF NOT EXISTS log_tbl(Pid INTEGER PRIMARY KEY, RecordDate DATE, RecordTime "
        "TIME, log_Type TEXT, log_Desc TEXT)");
    return database;
  }
  static void Insert(DatabaseFile& database, const std::vector<std::string>& row) {
    database.Run(
        "INSERT INTO log_tbl(RecordDate, RecordTime, log_Type, log_Desc) VALUES('2024-03-07', '" +
        row[0] + "', '" + row[1] + "', '" + row[2] + "')");
  }

  status::EachRecord Keep() {
    return [this](const status::LogRecord& record) {
      m_records.push_back(record);
      m_texts.push_back(record.text);
      return true;
    };
  }
  void Read(const status::LogRange& range = {}) {
    m_records.clear();
    m_texts.clear();
    m_read = status::ReadLogs({}, range, Keep());
  }

  status::LogsRead m_read;
  std::vector<status::LogRecord> m_records;
  std::vector<std::string> m_texts;
};

}  // namespace test
