// Both logs of a running service.
#include <filesystem>
#include <string>
#include <vector>

#include "support/logfiles.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

namespace fs = std::filesystem;

// Without an acquisition side every cycle leaves an ERROR record in the log database.
class Logging : public test::ConnectedTest {
 protected:
  static std::size_t Errors() { return test::OfLevel(test::ReadDatabaseLog(), "ERROR").size(); }
  static std::size_t TextRecords() { return test::ReadTextLog().size(); }

  static void MakeDatabaseUnusable() {
    fs::remove(paths::kLogDatabase);
    fs::create_directories(paths::kLogDatabase);
  }
};

TEST_F(Logging, BeginsANewTextFileAtMidnight) {
  test::ServiceProcess service(At(23, 50));

  service.RunUntil(At(24, 11));

  EXPECT_EQ(test::List(paths::kLogDirectory),
            (std::vector<std::string>{"0307_log.txt", "0308_log.txt", "Cloudlog.db"}));
}

TEST_F(Logging, GoesOnInTheFilesOfAnEarlierRun) {
  {
    test::ServiceProcess service(At(12, 0));
    service.RunUntil(At(12, 1));
  }
  const std::size_t before = TextRecords();
  test::ServiceProcess service(At(12, 2));

  service.RunUntil(At(12, 3));

  EXPECT_EQ(TextRecords(), 2 * before);
  EXPECT_EQ(test::OfLevel(test::ReadDatabaseLog(), "INFO").size(), 2U);
}

TEST_F(Logging, ComesBackWhenItsDirectoryIsRemoved) {
  test::ServiceProcess service(At(12, 6));
  service.RunUntil(At(12, 9));
  fs::remove_all(paths::kLogDirectory);

  service.RunUntil(At(12, 21));  // an address check leaves a record in the text log

  EXPECT_GT(Errors(), 0U);
  EXPECT_GT(TextRecords(), 0U);
}

TEST_F(Logging, StopsOnlyTheWorkerThatLogsToAnUnusableDatabase) {
  test::ServiceProcess service(At(12, 4, 0));
  service.RunUntil(At(12, 4, 30));
  MakeDatabaseUnusable();
  service.RunUntil(At(12, 11));  // the real-data worker has logged twice and waits since 12:10
  const Segment segment(test::ExampleValues());
  test::WriteLedger({{test::PackDataFile(At(10, 0))}});

  service.RunUntil(At(12, 30));

  EXPECT_EQ(m_cloud.AcceptedUploads().size(), 1U);
  EXPECT_EQ(test::ReadLedger().size(), 1U);
}

// Nothing after the first message may go to the log database: the caller would wait for ever.
TEST_F(Logging, LetsAProcessWithoutAConfigurationEnd) {
  fs::remove(paths::kSystemFile);
  MakeDatabaseUnusable();
  test::ServiceProcess service(At(12, 0));

  EXPECT_EQ(service.RunToItsEnd(At(12, 5)), 255);
  EXPECT_NE(service.Output().find("Open database"), std::string::npos);
}

}  // namespace
