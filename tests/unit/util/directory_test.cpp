// Making directories, and the size of a file.
#include "util/directory.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/files.h"
#include "support/gateway.h"

namespace {

constexpr std::size_t kPathLimit = 126;
constexpr std::size_t kPrefixLimit = 126;

int Make(const std::string& path) {
  return util::MakeDirectories(path.c_str(), kPathLimit, kPrefixLimit);
}

bool IsDirectory(const std::string& path) {
  return std::filesystem::is_directory(path);
}

mode_t Mode(const std::string& path) {
  struct stat status {};
  stat(path.c_str(), &status);
  return status.st_mode & 07777;
}

class MakeDirectories : public test::GatewayTest {};

TEST_F(MakeDirectories, MakesEveryMissingOne) {
  const int result = Make("/tessel/a/b/c");

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(IsDirectory("/tessel/a/b/c"));
}

TEST_F(MakeDirectories, MakesTheLastOneAlsoBeforeAClosingSlash) {
  const int result = Make("/tessel/a/b/");

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(IsDirectory("/tessel/a/b"));
}

TEST_F(MakeDirectories, LetsItsOwnerWriteAndEverybodyLook) {
  const mode_t mask = umask(0);

  Make("/tessel/a/b");

  umask(mask);
  EXPECT_EQ(Mode("/tessel/a"), 0755U);
  EXPECT_EQ(Mode("/tessel/a/b"), 0755U);
}

TEST_F(MakeDirectories, LeavesWhatIsThere) {
  test::WriteFile("/tessel/a/kept.txt", "kept");

  const int result = Make("/tessel/a");

  EXPECT_EQ(result, 0);
  EXPECT_EQ(test::ReadFile("/tessel/a/kept.txt"), "kept");
}

TEST_F(MakeDirectories, TakesARelativePathFromTheWorkingDirectory) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path("/tessel");

  const int result = Make("a/b");

  std::filesystem::current_path(before);
  EXPECT_EQ(result, 0);
  EXPECT_TRUE(IsDirectory("/tessel/a/b"));
}

TEST_F(MakeDirectories, TakesDoubledSlashesForOne) {
  const int result = Make("/tessel//a///b");

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(IsDirectory("/tessel/a/b"));
}

TEST_F(MakeDirectories, DoesNothingForAnEmptyPath) {
  EXPECT_EQ(Make(""), 0);
}

TEST_F(MakeDirectories, DoesNothingForTheRoot) {
  EXPECT_EQ(Make("/"), 0);
}

TEST_F(MakeDirectories, FailsForANullPath) {
  EXPECT_EQ(util::MakeDirectories(nullptr, kPathLimit, kPrefixLimit), -1);
}

TEST_F(MakeDirectories, FailsBelowAFileAndLeavesItAlone) {
  test::WriteFile("/tessel/a", "a file");

  const int result = Make("/tessel/a/b");

  EXPECT_EQ(result, -1);
  EXPECT_EQ(test::ReadFile("/tessel/a"), "a file");
}

TEST_F(MakeDirectories, TakesAFileInTheLastPlaceForTheDirectory) {
  test::WriteFile("/tessel/a", "a file");

  EXPECT_EQ(Make("/tessel/a"), 0);
}

TEST_F(MakeDirectories, FailsWhereThePathCannotBeExamined) {
  ASSERT_EQ(symlink("/tessel/loop", "/tessel/loop"), 0);

  EXPECT_EQ(Make("/tessel/loop/a"), -1);
}

TEST_F(MakeDirectories, FailsWhereNoneCanBeMadeAndKeepsThoseBefore) {
  const std::string tooLong(256, 'x');

  const int result = util::MakeDirectories(("/tessel/a/" + tooLong).c_str(), 500, 500);

  EXPECT_EQ(result, -1);
  EXPECT_TRUE(IsDirectory("/tessel/a"));
}

TEST_F(MakeDirectories, LooksAtNoMoreOfThePathThanItsLimit) {
  const int result = util::MakeDirectories("/tessel/abcdef/g", 11, kPrefixLimit);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::List("/tessel"), ::testing::ElementsAre("abc"));
}

TEST_F(MakeDirectories, CutsEachDirectorysOwnPathAtItsLimit) {
  const int result = util::MakeDirectories("/tessel/abcdef/g", kPathLimit, 11);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::List("/tessel"), ::testing::ElementsAre("abc"));
  EXPECT_THAT(test::List("/tessel/abc"), ::testing::IsEmpty());
}

class Exists : public test::GatewayTest {};

TEST_F(Exists, IsTrueForFilesAndDirectories) {
  test::WriteFile("/tessel/file", "");

  EXPECT_TRUE(util::Exists("/tessel/file"));
  EXPECT_TRUE(util::Exists("/tessel"));
}

TEST_F(Exists, IsFalseForWhatIsMissing) {
  EXPECT_FALSE(util::Exists("/tessel/file"));
}

TEST_F(Exists, IsFalseBelowAFileAndBehindALinkToNowhere) {
  test::WriteFile("/tessel/file", "");
  ASSERT_EQ(symlink("/tessel/nowhere", "/tessel/link"), 0);

  EXPECT_FALSE(util::Exists("/tessel/file/below"));
  EXPECT_FALSE(util::Exists("/tessel/link"));
}

class FileSize : public test::GatewayTest {};

TEST_F(FileSize, IsTheNumberOfItsBytes) {
  test::WriteFile("/tessel/file", std::string(40'960, 'x'));

  EXPECT_EQ(util::FileSize("/tessel/file"), 40'960);
}

TEST_F(FileSize, IsZeroForAnEmptyFile) {
  test::WriteFile("/tessel/file", "");

  EXPECT_EQ(util::FileSize("/tessel/file"), 0);
}

TEST_F(FileSize, IsZeroForAMissingFile) {
  EXPECT_EQ(util::FileSize("/tessel/file"), 0);
}

TEST_F(FileSize, CountsBehindFourGigabytes) {
  constexpr off_t kFiveGigabytes = 5'000'000'000;
  test::WriteFile("/tessel/file", "");
  ASSERT_EQ(truncate("/tessel/file", kFiveGigabytes), 0);

  EXPECT_EQ(util::FileSize("/tessel/file"), kFiveGigabytes);
}

TEST(Directory, ClosesWhatItOpened) {
  util::Directory directory(opendir("/"));
  ASSERT_TRUE(directory);
  const int descriptor = dirfd(directory.get());

  directory.reset();

  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

}  // namespace
