// Files dated after January 2038, on a gateway whose libraries have 32-bit time.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <ctime>

#include "support/files.h"
#include "support/gateway.h"
#include "util/sqlite.h"
#include "util/xml.h"

namespace {

class LateFile : public test::GatewayTest {
 protected:
  // Dates an existing file and its directory to 2045.
  static void Date(const char* path) {
    timespec times[2]{};
    times[0].tv_sec = times[1].tv_sec = 2'366'841'600;
    ASSERT_EQ(utimensat(AT_FDCWD, path, times, 0), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, "/tessel", times, 0), 0);
    struct stat found {};
    ASSERT_EQ(stat(path, &found), 0);
    ASSERT_EQ(found.st_mtime, times[1].tv_sec);
  }
};

// SQLite tells files apart by their device and inode numbers.
TEST_F(LateFile, WorksAsOneDatabaseForTwoConnections) {
  constexpr char kPath[] = "/tessel/test.db";
  util::Database(kPath).Execute("create table t(word); insert into t values('kept')");
  Date(kPath);

  util::Database database(kPath);
  util::Database other(kPath);

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
