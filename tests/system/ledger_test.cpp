// The tree that a damaged ledger condemns, and what is recorded twice.
#include <fcntl.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/ledger.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/file.h"
#include "util/paths.h"

namespace {

namespace fs = std::filesystem;
using test::LedgerRow;

const std::vector<SegmentPoint> kAnyValue = {{0x01030001, 1}};

// The service starts at 12:04:30; its cycle of 12:05:00 saves at 12:05:01.
class Ledger : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
    test::SystemFile(m_cloud.Port()).Write();
  }

  cloud::Simulator m_cloud{{}};
  Segment m_segment{kAnyValue};
};

// The path of an open directory as the kernel knows it now.
std::string PathOf(const util::Descriptor& directory) {
  return fs::read_symlink("/proc/self/fd/" + std::to_string(directory.Get())).string();
}

TEST_F(Ledger, DamagedCondemnsTheTreeWhichIsMovedAsideAndRemoved) {
  test::WriteFile(paths::kLedger, "the shopping list\n");
  test::WriteFile(test::DataFilePath("realdata/3/S20240303000000.tar.gz"), "an earlier file");
  const util::Descriptor tree(open(paths::kCloudTree, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  EXPECT_EQ(PathOf(tree), "/media/mmcblk0p1/Cloud.lost (deleted)");
  EXPECT_FALSE(test::Exists(paths::kLostTree));
  EXPECT_FALSE(test::Exists(test::DataFilePath("realdata/3/S20240303000000.tar.gz")));
}

TEST_F(Ledger, DamagedIsReplacedByAnEmptyTreeWithoutCallData) {
  test::WriteFile(paths::kLedger, "the shopping list\n");
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  std::vector<std::string> days;
  for (int day = 1; day <= 31; ++day) days.push_back(std::to_string(day));
  std::sort(days.begin(), days.end());
  EXPECT_EQ(test::List(paths::kCloudTree), (std::vector<std::string>{"DB", "JsonFiles"}));
  EXPECT_EQ(test::List(paths::kDataFiles), (std::vector<std::string>{"alarmdata", "realdata"}));
  EXPECT_EQ(test::List(paths::kRealData), days);
  EXPECT_EQ(test::List(paths::kAlarmData), days);
  EXPECT_EQ(test::List(paths::kLedgerDirectory), std::vector<std::string>{});
}

TEST_F(Ledger, DamagedBesideAnEarlierLostTreeIsWholeAgainInTheNextCycle) {
  test::WriteFile(paths::kLedger, "the shopping list\n");
  test::WriteFile(paths::kLostTree + std::string("/deep/inside/file"), "lost before");
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 10, 20));

  EXPECT_FALSE(test::Exists(paths::kLostTree));
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{"realdata/7/S20240307121000.tar.gz"}}));
}

TEST_F(Ledger, KeepsTheRowOfAFileThatIsPackedAgain) {
  test::WriteLedger({{"realdata/7/S20240307120500.tar.gz", 2, 1}});
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 6, 30));

  EXPECT_EQ(test::ReadLedger(),
            (std::vector<LedgerRow>{{"realdata/7/S20240307120500.tar.gz", 2, 1}}));
  EXPECT_TRUE(m_cloud.AcceptedUploads().empty());
}

}  // namespace
