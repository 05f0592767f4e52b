// Files dated after January 2038, on a gateway whose libraries have 32-bit time.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <ctime>
#include <string>

#include "support/files.h"
#include "support/gateway.h"
#include "util/sqlite.h"
#include "util/xml.h"

namespace {

constexpr std::time_t kYear2045 = 2366841600;
constexpr char kDatabase[] = "/tessel/test.db";

class LateFile : public test::GatewayTest {
 protected:
  // Dates an existing file and its directory.
  static void Date(const char* path) {
    timespec times[2]{};
    times[0].tv_sec = kYear2045;
    times[1].tv_sec = kYear2045;
    ASSERT_EQ(utimensat(AT_FDCWD, path, times, 0), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, "/tessel", times, 0), 0);
    struct stat found {};
    ASSERT_EQ(stat(path, &found), 0);
    ASSERT_EQ(found.st_mtime, kYear2045);
  }
};

// SQLite tells files apart by their device and inode numbers.
TEST_F(LateFile, WorksAsOneDatabaseForTwoConnections) {
  util::Database(kDatabase).Execute("create table t(word); insert into t values('kept')");
  Date(kDatabase);

  util::Database database(kDatabase);
  util::Database other(kDatabase);

  ASSERT_TRUE(database) << database.ErrorText();
  EXPECT_TRUE(database.Execute("begin exclusive; insert into t values('new')"));
  EXPECT_FALSE(other.Execute("insert into t values('other')"));
  auto rows = database.Prepare("select group_concat(word) from t");
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Text(0), "kept,new");
}

TEST_F(LateFile, WorksAsADocument) {
  test::WriteFile("/tessel/test.xml", "<root/>");
  Date("/tessel/test.xml");

  EXPECT_TRUE(util::XmlDocument::Read("/tessel/test.xml"));
}

}  // namespace
