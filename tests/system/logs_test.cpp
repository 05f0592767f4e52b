// A running service whose log database becomes unusable.
#include <filesystem>
#include <string>

#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

namespace fs = std::filesystem;

// Without an acquisition side every cycle leaves an ERROR record in the log database.
class Logging : public test::ConnectedTest {
 protected:
  static void MakeDatabaseUnusable() {
    fs::remove(paths::kLogDatabase);
    fs::create_directories(paths::kLogDatabase);
  }
};

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
