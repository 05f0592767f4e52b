// The log database of a running service.
#include <filesystem>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"
#include "util/sqlite.h"

namespace {

namespace fs = std::filesystem;
using test::LogRecord;

constexpr char kCreate[] =
    "CREATE TABLE log_tbl(Pid INTEGER PRIMARY KEY, RecordDate DATE, RecordTime TIME, log_Type "
    "TEXT, log_Desc TEXT)";
constexpr char kNoValues[] = "Brennik Get RealData error";
const LogRecord kStarted{"INFO", "Brennik Start running"};

// Every row of a query, its columns joined by "|".
std::vector<std::string> Query(const std::string& sql, int columns) {
  std::vector<std::string> rows;
  util::Database database(paths::kLogDatabase);
  util::Statement found = database.Prepare(sql);
  while (found && found.NextRow()) {
    std::string row(found.Text(0));
    for (int i = 1; i < columns; ++i) row.append("|").append(found.Text(i));
    rows.push_back(row);
  }
  return rows;
}

// Without an acquisition side every cycle of the real data leaves an ERROR record.
class DatabaseLog : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
    test::SystemFile(m_cloud.Port()).Write();
  }

  cloud::Simulator m_cloud{{}};
};

TEST_F(DatabaseLog, HoldsOneRowARecord) {
  test::ServiceProcess service(At(12, 4, 0));

  service.RunUntil(At(12, 5, 10));

  EXPECT_EQ(Query("select Pid, RecordDate, RecordTime, log_Type, log_Desc from log_tbl", 5),
            (std::vector<std::string>{"1|2024-03-07|12:04:00|INFO|Brennik Start running",
                                      "2|2024-03-07|12:05:00|ERROR|Brennik Get RealData error"}));
}

TEST_F(DatabaseLog, HasOneTableOfTheseColumns) {
  test::ServiceProcess service(At(12, 4, 0));

  service.RunUntil(At(12, 4, 10));

  EXPECT_EQ(Query("select sql from sqlite_master", 1), std::vector<std::string>{kCreate});
}

// The plant takes half a second to load, so the cycles fall between two of the log's five seconds.
TEST_F(DatabaseLog, IsWrittenEveryFiveSeconds) {
  test::WriteExamplePlant();
  test::ServiceProcess service(At(12, 4, 0));

  service.RunUntil(At(12, 5, 4));
  const auto before = test::ReadDatabaseLog();
  service.RunUntil(At(12, 5, 5));

  EXPECT_EQ(before, std::vector<LogRecord>{kStarted});
  EXPECT_EQ(test::ReadDatabaseLog(), (std::vector<LogRecord>{kStarted, {"ERROR", kNoValues}}));
}

TEST_F(DatabaseLog, KeepsTenThousandRowsAndDropsTheOldest) {
  fs::create_directories(paths::kLogDirectory);
  util::Database database(paths::kLogDatabase);
  ASSERT_TRUE(database.Execute(kCreate));
  ASSERT_TRUE(database.Execute(
      "with recursive n(i) as (select 1 union all select i + 1 from n where "
      "i < 9999) insert into log_tbl(log_Type, log_Desc) select 'INFO', i from n"));
  test::ServiceProcess service(At(12, 4, 0));

  service.RunUntil(At(12, 14, 0));

  EXPECT_EQ(Query("select count(*), min(Pid), max(Pid) from log_tbl", 3),
            std::vector<std::string>{"10000|3|10002"});
  EXPECT_EQ(Query("select log_Desc from log_tbl where Pid > 9998 order by Pid", 1),
            (std::vector<std::string>{"9999", "Brennik Start running", kNoValues, kNoValues}));
}

TEST_F(DatabaseLog, DeletedWhileTheServiceRunsStartsAnew) {
  test::ServiceProcess service(At(12, 4, 0));
  service.RunUntil(At(12, 6));
  fs::remove(paths::kLogDatabase);

  service.RunUntil(At(12, 10, 10));

  EXPECT_EQ(Query("select sql from sqlite_master", 1), std::vector<std::string>{kCreate});
  EXPECT_EQ(Query("select Pid, RecordTime, log_Type, log_Desc from log_tbl", 4),
            std::vector<std::string>{"1|12:10:00|ERROR|Brennik Get RealData error"});
}

TEST_F(DatabaseLog, ComesBackWhenItsDirectoryIsRemoved) {
  test::ServiceProcess service(At(12, 4, 0));
  service.RunUntil(At(12, 6));
  fs::remove_all(paths::kLogDirectory);

  service.RunUntil(At(12, 10, 10));

  EXPECT_EQ(test::DatabaseLogTimes(kNoValues), std::vector<std::string>{"12:10:00"});
}

TEST_F(DatabaseLog, GoesOnInTheDatabaseOfAnEarlierRun) {
  {
    test::ServiceProcess service(At(12, 1, 0));
    service.RunUntil(At(12, 1, 10));
  }
  test::ServiceProcess service(At(12, 2, 0));

  service.RunUntil(At(12, 2, 10));

  EXPECT_EQ(test::DatabaseLogTimes("Brennik Start running"),
            (std::vector<std::string>{"12:01:00", "12:02:00"}));
}

// A database that cannot be opened locks its queue for good: whoever logs to it next waits for
// ever.
class LockedDatabaseLog : public DatabaseLog {
 protected:
  static void MakeUnusable() {
    fs::remove(paths::kLogDatabase);
    fs::create_directories(paths::kLogDatabase);
  }
};

TEST_F(LockedDatabaseLog, SaysSoOnce) {
  test::ServiceProcess service(At(12, 4, 0));
  service.RunUntil(At(12, 4, 30));
  MakeUnusable();

  service.RunUntil(At(13, 0));

  const std::string output = service.Output();
  const std::string message =
      "Open database(/tmp/CloudLog/Cloudlog.db) failed: unable to open database file\n";
  ASSERT_NE(output.find(message), std::string::npos) << output;
  EXPECT_EQ(output.find(message), output.rfind(message));
}

TEST_F(LockedDatabaseLog, StaysLockedWhenTheDatabaseIsBack) {
  test::ServiceProcess service(At(12, 4, 0));
  service.RunUntil(At(12, 4, 30));
  MakeUnusable();
  service.RunUntil(At(12, 6));
  fs::remove(paths::kLogDatabase);

  service.RunUntil(At(13, 0));

  EXPECT_EQ(test::ReadDatabaseLog(), std::vector<LogRecord>{});
}

TEST_F(LockedDatabaseLog, StopsOnlyTheWorkerThatLogsToIt) {
  test::ServiceProcess service(At(12, 4, 0));
  service.RunUntil(At(12, 4, 30));
  MakeUnusable();
  service.RunUntil(At(12, 11));  // the real-data worker waits since 12:10
  const Segment segment({{0x01030001, 1}});
  test::WriteLedger({{test::PackDataFile(At(10, 0))}});

  service.RunUntil(At(12, 30));

  EXPECT_EQ(m_cloud.AcceptedUploads().size(), 1U);
  EXPECT_EQ(test::ReadLedger(),
            (std::vector<test::LedgerRow>{{"realdata/7/S20240307100000.tar.gz", 2, 1}}));
  EXPECT_FALSE(service.ExitStatus());
}

TEST_F(LockedDatabaseLog, DoesNotKeepAProcessWithoutACardFromEnding) {
  fs::remove(paths::kCardDevice);
  MakeUnusable();
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(service.ExitStatus(), 255);
}

}  // namespace
