#include "util/directory.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "support/files.h"
#include "support/gateway.h"

namespace {

constexpr std::size_t kLimit = 126;

int Make(const std::string& path) {
  return util::MakeDirectories(path.c_str(), kLimit, kLimit);
}

class MakeDirectories : public test::GatewayTest {};

TEST_F(MakeDirectories, MakesEveryMissingOneForItsOwnerToWrite) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path("/tessel");
  const mode_t mask = umask(0);
  for (const char* path : {"/tessel/a/b", "/tessel/c/d/", "/tessel//e///f", "relative/path"}) {
    EXPECT_EQ(Make(path), 0) << path;

    struct stat status {};
    EXPECT_EQ(stat(path, &status), 0) << path;
    EXPECT_EQ(status.st_mode, S_IFDIR | 0755U) << path;
  }
  umask(mask);
  std::filesystem::current_path(before);
}

TEST_F(MakeDirectories, AcceptsWhatExists) {
  test::WriteFile("/tessel/a/file", "kept");

  for (const char* path : {"", "/", "/tessel/a", "/tessel/a/file"})
    EXPECT_EQ(Make(path), 0) << path;

  EXPECT_EQ(test::ReadFile("/tessel/a/file"), "kept");
}

TEST_F(MakeDirectories, FailsWhereItCannotGoOnAndKeepsWhatItMade) {
  test::WriteFile("/tessel/file", "");
  ASSERT_EQ(symlink("/tessel/loop", "/tessel/loop"), 0);

  EXPECT_EQ(util::MakeDirectories(nullptr, kLimit, kLimit), -1);
  EXPECT_EQ(Make("/tessel/file/a"), -1);
  EXPECT_EQ(Make("/tessel/loop/a"), -1);
  EXPECT_EQ(util::MakeDirectories(("/tessel/a/" + std::string(256, 'x')).c_str(), 500, 500), -1);
  EXPECT_TRUE(std::filesystem::is_directory("/tessel/a"));
}

TEST_F(MakeDirectories, CutsThePathAndThatOfEachDirectoryAtTheirLimits) {
  EXPECT_EQ(util::MakeDirectories("/tessel/abcdef/g", 11, kLimit), 0);
  EXPECT_EQ(util::MakeDirectories("/tessel/uvwxyz/g", kLimit, 11), 0);

  EXPECT_THAT(test::List("/tessel"), ::testing::ElementsAre("abc", "uvw"));
  EXPECT_THAT(test::List("/tessel/uvw"), ::testing::IsEmpty());
}

class FileStatus : public test::GatewayTest {};

TEST_F(FileStatus, TellsKindsApart) {
  struct Row {
    const char* path;
    bool exists, isDirectory, isRegularFile, isMissing;
  };
  test::WriteFile("/tessel/file", "");
  ASSERT_EQ(symlink("/tessel/nowhere", "/tessel/link"), 0);
  ASSERT_EQ(symlink("/tessel/loop", "/tessel/loop"), 0);

  for (const auto& row :
       {Row{"/tessel/file", true, false, true, false}, Row{"/tessel", true, true, false, false},
        Row{"/dev/null", true, false, false, false}, Row{"/tessel/none", false, false, false, true},
        Row{"/tessel/file/below", false, false, false, true},
        Row{"/tessel/link", false, false, false, true},
        Row{"/tessel/loop", false, false, false, false}}) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(util::Exists(row.path), row.exists);
    EXPECT_EQ(util::IsDirectory(row.path), row.isDirectory);
    EXPECT_EQ(util::IsRegularFile(row.path), row.isRegularFile);
    errno = ENOENT;  // of an earlier call
    EXPECT_EQ(util::IsMissing(row.path), row.isMissing);
  }
}

TEST_F(FileStatus, HasASizeAlsoBeyondFourGigabytes) {
  constexpr off_t kFiveGigabytes = 5'000'000'000;
  test::WriteFile("/tessel/file", "");
  ASSERT_EQ(truncate("/tessel/file", kFiveGigabytes), 0);

  EXPECT_EQ(util::FileSize("/tessel/file"), kFiveGigabytes);
  EXPECT_EQ(util::FileSize("/tessel/none"), 0);
}

TEST(Directory, ClosesWhatItOpened) {
  util::Directory directory(opendir("/"));
  const int descriptor = dirfd(directory.get());

  directory.reset();

  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

}  // namespace
