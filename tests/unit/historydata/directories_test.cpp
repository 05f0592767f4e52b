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

namespace {

using namespace test;
using namespace testing;

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

class Directories : public GatewayTest {
 protected:
  static int Make(const char* path) { return GetCHistoryDataInstance().Mkdirs(path); }
};

TEST_F(Directories, AreMadeAlongAPathCutAt127Characters) {
  const std::string fits = "/media/mmcblk0p1/" + std::string(54, 'a') + "/" + std::string(55, 'b');
  const std::string tooLong = fits + "b";

  EXPECT_EQ(Make((tooLong + "/c").c_str()), 0);
  EXPECT_TRUE(Exists(fits));
  EXPECT_FALSE(Exists(tooLong));
}

TEST_F(Directories, AreNotMadeWithoutAPathOrBelowAFile) {
  WriteFile(kRoot, "a file");

  EXPECT_EQ(Make(nullptr), -1);
  EXPECT_EQ(Make(InTree("a").c_str()), -1);
}

TEST_F(Directories, AreMadeForEachDayBelowEitherFolder) {
  WriteFile(paths::kRealData, "a file in the way");
  MakeDayDirectories();
  EXPECT_THAT(List(paths::kAlarmData), SizeIs(31));

  Empty(paths::kCardMount);
  MakeDayDirectories();
  for (const char* root : {paths::kRealData, paths::kAlarmData}) {
    EXPECT_THAT(List(root), SizeIs(31));
    EXPECT_TRUE(Exists(DayDirectory(root, 1)));
    EXPECT_TRUE(Exists(DayDirectory(root, 31)));
  }
}

class RemovingATree : public GatewayTest {};

TEST_F(RemovingATree, LeavesNothingOfItAndNoListingOpen) {
  for (const char* file : {"a", "b/c", "b/.hidden", "d/e/f/g", "..h"}) {
    WriteFile(InTree(file), "content");
  }
  const std::size_t before = List("/proc/self/fd").size();

  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_THAT(List("/media/mmcblk0p1"), IsEmpty());
  EXPECT_THAT(List("/proc/self/fd"), SizeIs(before));
}

TEST_F(RemovingATree, RemovesASingleFileAndSucceedsWithoutIt) {
  WriteFile(kRoot, "content");

  FailCalls(Call::kUnlink);
  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_TRUE(Exists(kRoot));

  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_FALSE(Exists(kRoot));

  EXPECT_EQ(RemoveDir(kRoot), 0);
}

TEST_F(RemovingATree, UnlinksLinksAndFollowsNone) {
  const std::string link = "/media/mmcblk0p1/link";
  WriteFile("/media/mmcblk0p1/outside/file", "content");
  WriteFile(InTree("a"), "content");
  ASSERT_EQ(symlink("/media/mmcblk0p1/outside", InTree("directory").c_str()), 0);
  ASSERT_EQ(symlink("/media/mmcblk0p1/outside", link.c_str()), 0);

  RemoveDir(kRoot);
  RemoveDir(link.c_str());

  EXPECT_THAT(List("/media/mmcblk0p1"), ElementsAre("outside"));
  EXPECT_EQ(ReadFile("/media/mmcblk0p1/outside/file"), "content");
}

TEST_F(RemovingATree, EndsAtAFileThatCannotBeUnlinkedAndLeavesTheRestAndTheListing) {
  for (const char* file : {"a", "b", "c"}) WriteFile(InTree(file), "x");
  FailCalls(Call::kUnlink, 1, 1);
  const std::size_t before = List("/proc/self/fd").size();
  const LeakAllowance theListingStaysOpen;

  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_THAT(List(kRoot), SizeIs(2));
  EXPECT_THAT(List("/proc/self/fd"), SizeIs(before + 1));
}

TEST_F(RemovingATree, GoesOnAfterASubdirectoryThatCannotBeEmptied) {
  for (const char* file : {"a/file", "b/file"}) WriteFile(InTree(file), "content");
  FailCalls(Call::kUnlink);
  const LeakAllowance theListingStaysOpen;

  EXPECT_EQ(RemoveDir(kRoot), 0);
  EXPECT_THAT(List(kRoot), SizeIs(1));
}

}  // namespace
