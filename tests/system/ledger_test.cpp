// Files and rows that get too old, and a damaged ledger.
#include <fcntl.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/file.h"
#include "util/paths.h"

namespace {

using test::LedgerRow;

constexpr std::time_t kAge = 31 * 86400;

// The service starts at 12:04:30; its cycle of 12:05:00 saves at 12:05:01.
class Ledger : public test::ConnectedTest {
 protected:
  Segment m_segment{test::ExampleValues()};
};

TEST_F(Ledger, DropsWhatTheServicePacked31DaysBefore) {
  {
    test::ServiceProcess service(At(12, 4, 30));
    service.RunUntil(At(12, 5, 20));
  }
  const std::string name = test::RealDataName(At(12, 5));
  test::ServiceProcess service(At(11, 59, 30) + kAge);

  service.RunUntil(At(12, 4, 59) + kAge);
  EXPECT_TRUE(test::Exists(test::DataFilePath(name)));
  service.RunUntil(At(12, 5, 20) + kAge);

  EXPECT_FALSE(test::Exists(test::DataFilePath(name)));
  EXPECT_EQ(test::ReadLedger(),
            (std::vector<LedgerRow>{{test::RealDataName(At(12, 0) + kAge), 2, 1},
                                    {test::RealDataName(At(12, 5) + kAge), 2, 0}}));
}

TEST_F(Ledger, MovesItsTreeAsideWhenItIsDamaged) {
  const std::string earlier = test::DataFilePath(test::RealDataName(At(0, 0) - 4 * 86400));
  test::WriteFile(paths::kLedger, "the shopping list\n");
  test::WriteFile(earlier, "an earlier file");
  const util::Descriptor tree(open(paths::kCloudTree, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  // The kernel knows by which name the directory was removed.
  EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(tree.Get())),
            "/media/mmcblk0p1/Cloud.lost (deleted)");
  EXPECT_FALSE(test::Exists(paths::kLostTree));
  EXPECT_FALSE(test::Exists(earlier));
  EXPECT_EQ(test::List(paths::kRealData).size(), 31U);
  EXPECT_TRUE(test::List(paths::kLedgerDirectory).empty());
}

}  // namespace
