// Making directories, and removing whole trees.
#include <gmock/gmock.h>
#include <unistd.h>

#include <string>

#include "historydata/datatree.h"
#include "ledgertest.h"
#include "support/faults.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char kRoot[] = "/media/mmcblk0p1/tree";

// While one lives, what this thread leaks is meant to be leaked.
#if defined(__SANITIZE_ADDRESS__)
using LeakAllowance = __lsan::ScopedDisabler;
#else
struct LeakAllowance {
  LeakAllowance() {}  // not defaulted: an object of it counts as used
};
#endif

std::string InTree(const char* name) {
  return std::string(kRoot) + "/" + name;
}

class Directories : public test::GatewayTest {
 protected:
  static int Make(const char* path) { return GetCHistoryDataInstance().Mkdirs(path); }
};

TEST_F(Directories, AreMadeAlongAPathCutAt127Characters) {
  const std::string fits = "/media/mmcblk0p1/" + std::string(54, 'a') + "/" + std::string(55, 'b');
  const std::string tooLong = fits + "b";

  EXPECT_EQ(Make((tooLong + "/c").c_str()), 0);
  EXPECT_TRUE(test::Exists(fits));
  EXPECT_FALSE(test::Exists(tooLong));
}

TEST_F(Directories, AreNotMadeWithoutAPathOrBelowAFile) {
  test::WriteFile(kRoot, "a file");

  EXPECT_EQ(Make(nullptr), -1);
  EXPECT_EQ(Make(InTree("a").c_str()), -1);
}

TEST_F(Directories, AreMadeForEachDayBelowEitherFolder) {
  test::WriteFile(paths::kRealData, "a file in the way");
  MakeDayDirectories();
  EXPECT_THAT(test::List(paths::kAlarmData), SizeIs(31));

  test::Empty(paths::kCardMount);
  MakeDayDirectories();
  for (const char* root : {paths::kRealData, paths::kAlarmData}) {
    EXPECT_THAT(test::List(root), SizeIs(31));
    EXPECT_TRUE(test::Exists(DayDirectory(root, 1)));
    EXPECT_TRUE(test::Exists(DayDirectory(root, 31)));
  }
}

class RemovingATree : public test::GatewayTest {};

TEST_F(RemovingATree, LeavesNothingOfItAndNoListingOpen) {
  for (const char* file : {"a", "b/c", "b/.hidden", "d/e/f/g", "..h"}) {
    test::WriteFile(InTree(file), "content");
  }
  const std::size_t before = test::List("/proc/self/fd").size();

  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_THAT(test::List("/media/mmcblk0p1"), IsEmpty());
  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before));
}

TEST_F(RemovingATree, RemovesASingleFileAndSucceedsWithoutIt) {
  test::WriteFile(kRoot, "content");

  test::FailCalls(test::Call::kUnlink);
  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_TRUE(test::Exists(kRoot));

  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_FALSE(test::Exists(kRoot));

  EXPECT_EQ(RemoveDir(kRoot), 0);
}

TEST_F(RemovingATree, UnlinksLinksAndFollowsNone) {
  const std::string link = "/media/mmcblk0p1/link";
  test::WriteFile("/media/mmcblk0p1/outside/file", "content");
  test::WriteFile(InTree("a"), "content");
  ASSERT_EQ(symlink("/media/mmcblk0p1/outside", InTree("directory").c_str()), 0);
  ASSERT_EQ(symlink("/media/mmcblk0p1/outside", link.c_str()), 0);

  RemoveDir(kRoot);
  RemoveDir(link.c_str());

  EXPECT_THAT(test::List("/media/mmcblk0p1"), ElementsAre("outside"));
  EXPECT_EQ(test::ReadFile("/media/mmcblk0p1/outside/file"), "content");
}

TEST_F(RemovingATree, EndsAtAFileThatCannotBeUnlinkedAndLeavesTheRestAndTheListing) {
  for (const char* file : {"a", "b", "c"}) test::WriteFile(InTree(file), "x");
  test::FailCalls(test::Call::kUnlink, 1, 1);
  const std::size_t before = test::List("/proc/self/fd").size();
  const LeakAllowance theListingStaysOpen;

  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_THAT(test::List(kRoot), SizeIs(2));
  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before + 1));
}

TEST_F(RemovingATree, GoesOnAfterASubdirectoryThatCannotBeEmptied) {
  for (const char* file : {"a/file", "b/file"}) test::WriteFile(InTree(file), "content");
  test::FailCalls(test::Call::kUnlink);
  const LeakAllowance theListingStaysOpen;

  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_THAT(test::List(kRoot), SizeIs(1));
}

}  // namespace
