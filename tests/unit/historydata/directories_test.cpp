// Making directories along a path, and removing whole trees.
#include <dirent.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "ledgertest.h"
#include "support/faults.h"
#include "support/files.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char kRoot[] = "/media/mmcblk0p1/tree";

bool IsDirectory(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

class MakingDirectories : public test::LedgerTest {
 protected:
  static int Make(const std::string& path) { return Ledger().Mkdirs(path.c_str()); }
};

struct Spelling {
  const char* name;
  const char* path;
};

class DirectoryPath : public MakingDirectories, public ::testing::WithParamInterface<Spelling> {};

TEST_P(DirectoryPath, IsMadeWhole) {
  const int result = Make(GetParam().path);

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(IsDirectory("/media/mmcblk0p1/tree/a/b"));
}

INSTANTIATE_TEST_SUITE_P(
    Spellings, DirectoryPath,
    ::testing::Values(Spelling{"Plain", "/media/mmcblk0p1/tree/a/b"},
                      Spelling{"WithASlashAtTheEnd", "/media/mmcblk0p1/tree/a/b/"},
                      Spelling{"WithDoubleSlashes", "//media//mmcblk0p1/tree//a/b//"},
                      Spelling{"WithDots", "/media/mmcblk0p1/./tree/../tree/a/b/."}),
    [](const auto& test) { return test.param.name; });

TEST_F(MakingDirectories, GivesThemMode0755) {
  const mode_t before = umask(0);

  Make("/media/mmcblk0p1/tree/a");

  umask(before);
  struct stat status {};
  stat("/media/mmcblk0p1/tree", &status);
  EXPECT_EQ(status.st_mode & 07777U, 0755U);
  stat("/media/mmcblk0p1/tree/a", &status);
  EXPECT_EQ(status.st_mode & 07777U, 0755U);
}

TEST_F(MakingDirectories, LeavesWhatIsThere) {
  test::WriteFile("/media/mmcblk0p1/tree/a/file", "content");
  chmod("/media/mmcblk0p1/tree", 0700);

  const int result = Make("/media/mmcblk0p1/tree/a");

  struct stat status {};
  stat("/media/mmcblk0p1/tree", &status);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
  EXPECT_EQ(test::ReadFile("/media/mmcblk0p1/tree/a/file"), "content");
}

TEST_F(MakingDirectories, WorksFromTheWorkingDirectory) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path("/media/mmcblk0p1");

  const int result = Make("tree/a");

  std::filesystem::current_path(before);
  EXPECT_EQ(result, 0);
  EXPECT_TRUE(IsDirectory("/media/mmcblk0p1/tree/a"));
}

TEST_F(MakingDirectories, SucceedsForTheEmptyPathAndForTheRoot) {
  EXPECT_EQ(Make(""), 0);
  EXPECT_EQ(Make("/"), 0);
}

TEST_F(MakingDirectories, FailsWithoutAPath) {
  EXPECT_EQ(Ledger().Mkdirs(nullptr), -1);
}

TEST_F(MakingDirectories, TakesAFileAtTheEndForMade) {
  test::WriteFile("/media/mmcblk0p1/tree", "a file");

  EXPECT_EQ(Make("/media/mmcblk0p1/tree"), 0);
  EXPECT_EQ(test::ReadFile("/media/mmcblk0p1/tree"), "a file");
}

TEST_F(MakingDirectories, FailsBelowAFile) {
  test::WriteFile("/media/mmcblk0p1/tree", "a file");

  EXPECT_EQ(Make("/media/mmcblk0p1/tree/a/b"), -1);
}

TEST_F(MakingDirectories, FailsAtALinkThatLeadsNowhere) {
  ASSERT_EQ(symlink("/media/mmcblk0p1/nowhere", kRoot), 0);

  EXPECT_EQ(Make("/media/mmcblk0p1/tree/a"), -1);
  EXPECT_FALSE(test::Exists("/media/mmcblk0p1/nowhere"));
}

TEST_F(MakingDirectories, FailsAtLinksThatLeadInACircle) {
  ASSERT_EQ(symlink("/media/mmcblk0p1/other", kRoot), 0);
  ASSERT_EQ(symlink(kRoot, "/media/mmcblk0p1/other"), 0);

  EXPECT_EQ(Make("/media/mmcblk0p1/tree"), -1);
}

TEST_F(MakingDirectories, LeavesThoseBeforeAFailure) {
  test::WriteFile("/media/mmcblk0p1/tree/a/file", "a file");

  EXPECT_EQ(Make("/media/mmcblk0p1/tree/b/../a/file/c"), -1);
  EXPECT_TRUE(IsDirectory("/media/mmcblk0p1/tree/b"));
}

TEST_F(MakingDirectories, MakesAPathOf127Characters) {
  const std::string path = "/media/mmcblk0p1/" + std::string(54, 'a') + "/" + std::string(55, 'b');
  ASSERT_THAT(path, SizeIs(127));

  EXPECT_EQ(Make(path), 0);
  EXPECT_TRUE(IsDirectory(path));
}

TEST_F(MakingDirectories, CutsALongerPathAt127Characters) {
  const std::string path = "/media/mmcblk0p1/" + std::string(54, 'a') + "/" + std::string(56, 'b');

  EXPECT_EQ(Make(path + "/c"), 0);
  EXPECT_FALSE(test::Exists(path));
  EXPECT_TRUE(IsDirectory(path.substr(0, 127)));
}

class RemovingATree : public test::LedgerTest {};

TEST_F(RemovingATree, LeavesNothingOfIt) {
  for (const auto* file : {"a", "b/c", "b/.hidden", "d/e/f/g", "..h", "i j"}) {
    test::WriteFile(std::string(kRoot) + "/" + file, "content");
  }
  std::filesystem::create_directories(std::string(kRoot) + "/empty");

  const int result = RemoveDir(kRoot);

  EXPECT_EQ(result, 0);
  EXPECT_FALSE(test::Exists(kRoot));
  EXPECT_THAT(test::List("/media/mmcblk0p1"), IsEmpty());
}

TEST_F(RemovingATree, RemovesASingleFile) {
  test::WriteFile(kRoot, "content");

  const int result = RemoveDir(kRoot);

  EXPECT_EQ(result, 0);
  EXPECT_FALSE(test::Exists(kRoot));
}

TEST_F(RemovingATree, SucceedsWhereThereIsNothing) {
  EXPECT_EQ(RemoveDir(kRoot), 0);
}

TEST_F(RemovingATree, UnlinksLinksAndFollowsNone) {
  test::WriteFile("/media/mmcblk0p1/outside/file", "content");
  test::WriteFile(std::string(kRoot) + "/a", "content");
  ASSERT_EQ(symlink("/media/mmcblk0p1/outside", "/media/mmcblk0p1/tree/directory"), 0);
  ASSERT_EQ(symlink("/media/mmcblk0p1/outside/file", "/media/mmcblk0p1/tree/file"), 0);
  ASSERT_EQ(symlink("/media/mmcblk0p1/nowhere", "/media/mmcblk0p1/tree/nothing"), 0);

  RemoveDir(kRoot);

  EXPECT_FALSE(test::Exists(kRoot));
  EXPECT_EQ(test::ReadFile("/media/mmcblk0p1/outside/file"), "content");
}

TEST_F(RemovingATree, UnlinksALinkInItsPlaceAndFollowsItNot) {
  test::WriteFile("/media/mmcblk0p1/outside/file", "content");
  ASSERT_EQ(symlink("/media/mmcblk0p1/outside", kRoot), 0);

  RemoveDir(kRoot);

  EXPECT_FALSE(test::Exists(kRoot));
  EXPECT_EQ(test::ReadFile("/media/mmcblk0p1/outside/file"), "content");
}

TEST_F(RemovingATree, EndsAtAFileThatResistsAndLeavesTheRest) {
  for (const auto* file : {"a", "b", "c"}) test::WriteFile(std::string(kRoot) + "/" + file, "x");
  test::FailCalls(test::Call::kUnlink, 1, 1);
  const test::LeakAllowance theListingStaysOpen;

  const int result = RemoveDir(kRoot);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::List(kRoot), SizeIs(2));
}

TEST_F(RemovingATree, LeavesTheListingOpenWhereAFileResists) {
  test::WriteFile(std::string(kRoot) + "/a", "content");
  test::FailCalls(test::Call::kUnlink);
  const std::size_t before = test::List("/proc/self/fd").size();
  const test::LeakAllowance theListingStaysOpen;

  RemoveDir(kRoot);

  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before + 1));
}

TEST_F(RemovingATree, ClosesItsListingsOtherwise) {
  test::WriteFile(std::string(kRoot) + "/a/b/c", "content");
  const std::size_t before = test::List("/proc/self/fd").size();

  RemoveDir(kRoot);

  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before));
}

TEST_F(RemovingATree, GoesOnBesideASubdirectoryThatResists) {
  test::WriteFile(std::string(kRoot) + "/a/file", "content");
  test::WriteFile(std::string(kRoot) + "/b/file", "content");
  test::FailCalls(test::Call::kUnlink);
  const test::LeakAllowance theListingStaysOpen;

  const int result = RemoveDir(kRoot);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::List(kRoot), SizeIs(1));
}

TEST_F(RemovingATree, LeavesASingleFileThatResists) {
  test::WriteFile(kRoot, "content");
  test::FailCalls(test::Call::kUnlink);

  const int result = RemoveDir(kRoot);

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(test::Exists(kRoot));
}

TEST_F(RemovingATree, GoesAsDeepAsATreeIs) {
  std::string path = kRoot;
  for (int level = 0; level < 300; ++level) path += "/deep";
  test::WriteFile(path + "/file", "content");

  RemoveDir(kRoot);

  EXPECT_FALSE(test::Exists(kRoot));
}

}  // namespace
