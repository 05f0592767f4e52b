// A damaged ledger.
#include <fcntl.h>

#include <filesystem>
#include <string>

#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/file.h"
#include "util/paths.h"

namespace {

using Ledger = test::ConnectedTest;

TEST_F(Ledger, MovesItsTreeAsideWhenItIsDamaged) {
  const std::string earlier = test::DataFilePath(test::RealDataName(At(0, 0) - 4 * 86400));
  test::WriteFile(paths::kLedger, "the shopping list\n");
  test::WriteFile(earlier, "an earlier file");
  const util::Descriptor tree(open(paths::kCloudTree, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const Segment segment(test::ExampleValues());
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
