#include "util/directory.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <ostream>
#include <string>

#include "support/files.h"
#include "support/gateway.h"

namespace {

constexpr std::size_t kLimit = 126;

int Make(const std::string& path) {
  return util::MakeDirectories(path.c_str(), kLimit, kLimit);
}

mode_t Mode(const std::string& path) {
  struct stat status {};
  stat(path.c_str(), &status);
  return status.st_mode & 07777;
}

class MakeDirectories : public test::GatewayTest {};

TEST_F(MakeDirectories, MakesEveryMissingOneForItsOwnerToWrite) {
  for (const char* path : {"/tessel/a/b", "/tessel/c/d/", "/tessel//e///f"}) {
    SCOPED_TRACE(path);
    const mode_t mask = umask(0);
    EXPECT_EQ(Make(path), 0);
    umask(mask);

    EXPECT_TRUE(std::filesystem::is_directory(path));
    EXPECT_EQ(Mode(path), 0755U);
  }
}

TEST_F(MakeDirectories, StartsARelativePathAtTheWorkingDirectory) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path("/tessel");
  const int result = Make("a/b");
  std::filesystem::current_path(before);

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(std::filesystem::is_directory("/tessel/a/b"));
}

TEST_F(MakeDirectories, AcceptsWhatExists) {
  test::WriteFile("/tessel/a/file", "kept");

  EXPECT_EQ(Make(""), 0);
  EXPECT_EQ(Make("/"), 0);
  EXPECT_EQ(Make("/tessel/a"), 0);
  EXPECT_EQ(Make("/tessel/a/file"), 0) << "a file in the last place";
  EXPECT_EQ(test::ReadFile("/tessel/a/file"), "kept");
}

TEST_F(MakeDirectories, FailsWhereThePathCannotBeExamined) {
  test::WriteFile("/tessel/file", "");
  ASSERT_EQ(symlink("/tessel/loop", "/tessel/loop"), 0);

  EXPECT_EQ(util::MakeDirectories(nullptr, kLimit, kLimit), -1);
  EXPECT_EQ(Make("/tessel/file/a"), -1);
  EXPECT_EQ(Make("/tessel/loop/a"), -1);
}

TEST_F(MakeDirectories, KeepsTheDirectoriesBeforeOneThatCannotBeMade) {
  const std::string tooLong(256, 'x');

  EXPECT_EQ(util::MakeDirectories(("/tessel/a/" + tooLong).c_str(), 500, 500), -1);

  EXPECT_TRUE(std::filesystem::is_directory("/tessel/a"));
}

TEST_F(MakeDirectories, CutsThePathAtItsLimit) {
  EXPECT_EQ(util::MakeDirectories("/tessel/abcdef/g", 11, kLimit), 0);

  EXPECT_THAT(test::List("/tessel"), ::testing::ElementsAre("abc"));
}

TEST_F(MakeDirectories, CutsThePathOfEachDirectoryAtItsLimit) {
  EXPECT_EQ(util::MakeDirectories("/tessel/abcdef/g", kLimit, 11), 0);

  EXPECT_THAT(test::List("/tessel"), ::testing::ElementsAre("abc"));
  EXPECT_THAT(test::List("/tessel/abc"), ::testing::IsEmpty());
}

struct KindRow {
  const char* path;
  bool exists, isDirectory, isRegularFile, isMissing;
};

void PrintTo(const KindRow& row, std::ostream* out) {
  *out << row.path;
}

class FileKind : public test::GatewayTest, public ::testing::WithParamInterface<KindRow> {};

TEST_P(FileKind, IsTold) {
  const auto& [path, exists, isDirectory, isRegularFile, isMissing] = GetParam();
  test::WriteFile("/tessel/file", "");
  ASSERT_EQ(symlink("/tessel/nowhere", "/tessel/link"), 0);
  ASSERT_EQ(symlink("/tessel/loop", "/tessel/loop"), 0);

  EXPECT_EQ(util::Exists(path), exists);
  EXPECT_EQ(util::IsDirectory(path), isDirectory);
  EXPECT_EQ(util::IsRegularFile(path), isRegularFile);
  EXPECT_EQ(util::IsMissing(path), isMissing);
}

INSTANTIATE_TEST_SUITE_P(Paths, FileKind,
                         ::testing::Values(KindRow{"/tessel/file", true, false, true, false},
                                           KindRow{"/tessel", true, true, false, false},
                                           KindRow{"/dev/null", true, false, false, false},
                                           KindRow{"/tessel/none", false, false, false, true},
                                           KindRow{"/tessel/file/below", false, false, false, true},
                                           KindRow{"/tessel/link", false, false, false, true},
                                           KindRow{"/tessel/loop", false, false, false, false}));

class FileSize : public test::GatewayTest {};

TEST_F(FileSize, CountsBytesBeyondFourGigabytes) {
  constexpr off_t kFiveGigabytes = 5'000'000'000;
  test::WriteFile("/tessel/file", "");
  ASSERT_EQ(truncate("/tessel/file", kFiveGigabytes), 0);

  EXPECT_EQ(util::FileSize("/tessel/file"), kFiveGigabytes);
}

TEST_F(FileSize, IsZeroForAMissingFile) {
  EXPECT_EQ(util::FileSize("/tessel/file"), 0);
}

TEST(Directory, ClosesWhatItOpened) {
  util::Directory directory(opendir("/"));
  ASSERT_TRUE(directory);
  const int descriptor = dirfd(directory.get());

  directory.reset();

  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

}  // namespace
