// The text log's way of making directories.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "log/logtxt.h"
#include "support/gateway.h"

namespace {

using ::testing::ElementsAre;

class CreateDirectory : public test::GatewayTest {
 protected:
  int Create(const std::string& path) { return store.CreateDirectory(path.c_str()); }

  CLogTxt& store = Singleton<CLogTxt>::Instance();
};

TEST_F(CreateDirectory, MakesEveryMissingOne) {
  EXPECT_EQ(Create("/tessel/a/b/c"), 0);
  EXPECT_TRUE(std::filesystem::is_directory("/tessel/a/b/c"));
}

TEST_F(CreateDirectory, MakesTheLastOneAlsoBeforeAClosingSlash) {
  EXPECT_EQ(Create("/tessel/a/b/"), 0);
  EXPECT_TRUE(std::filesystem::is_directory("/tessel/a/b"));
}

TEST_F(CreateDirectory, IsDoneWhereAllIsThere) {
  EXPECT_EQ(Create("/tessel"), 0);
}

TEST_F(CreateDirectory, FailsForANullPath) {
  EXPECT_EQ(store.CreateDirectory(nullptr), -1);
}

TEST_F(CreateDirectory, FailsBelowAFile) {
  test::WriteFile("/tessel/a", "");

  EXPECT_EQ(Create("/tessel/a/b"), -1);
}

TEST_F(CreateDirectory, FailsWhereThePathCannotBeExamined) {
  ASSERT_EQ(symlink("/tessel/loop", "/tessel/loop"), 0);

  EXPECT_EQ(Create("/tessel/loop/a"), -1);
}

TEST_F(CreateDirectory, CutsThePathOfADirectoryAt63Characters) {
  const std::string name(60, 'd');

  const int result = Create("/tessel/" + name + "/below");

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::List("/tessel"), ElementsAre(std::string(63 - 8, 'd')));
}

TEST_F(CreateDirectory, MakesADirectoryWhosePathHas63Characters) {
  const std::string name(63 - 8, 'd');

  const int result = Create("/tessel/" + name);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::List("/tessel"), ElementsAre(name));
}

TEST_F(CreateDirectory, CopesWithAPathOfAnyLength) {
  std::string path = "/tessel";
  for (int i = 0; i < 100'000; ++i) path += "/d";

  EXPECT_EQ(Create(path), 0);
}

}  // namespace
