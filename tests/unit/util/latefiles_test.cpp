// Files that were written after January 2038: the gateway's libraries may count time in 32 bits.
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
constexpr char kDocument[] = "/tessel/test.xml";

class LateFile : public test::GatewayTest {
 protected:
  // Writes the time of a file that is there, and of its directory.
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

TEST_F(LateFile, IsADatabaseLikeAnyOther) {
  util::Database(kDatabase).Execute("create table t(word); insert into t values('kept')");
  Date(kDatabase);

  util::Database database(kDatabase);

  ASSERT_TRUE(database) << database.ErrorText();
  auto rows = database.Prepare("select word from t");
  ASSERT_TRUE(rows.NextRow());
  EXPECT_EQ(rows.Text(0), "kept");
}

TEST_F(LateFile, IsADatabaseThatCanBeWritten) {
  util::Database(kDatabase).Execute("create table t(word)");
  Date(kDatabase);
  util::Database database(kDatabase);

  EXPECT_TRUE(database.Execute("insert into t values('new')")) << database.ErrorText();
}

// SQLite tells one file from another by its numbers.
TEST_F(LateFile, IsOneDatabaseToAllWhoOpenIt) {
  util::Database(kDatabase).Execute("create table t(word)");
  Date(kDatabase);
  util::Database first(kDatabase);
  util::Database second(kDatabase);
  ASSERT_TRUE(first.Execute("begin exclusive"));

  EXPECT_FALSE(second.Execute("insert into t values('new')"));

  EXPECT_STREQ(second.ErrorText(), "database is locked");
}

TEST_F(LateFile, IsADocumentLikeAnyOther) {
  test::WriteFile(kDocument, R"(<root word="kept"/>)");
  Date(kDocument);

  const auto document = util::XmlDocument::Read(kDocument);

  ASSERT_TRUE(document);
  EXPECT_EQ(document.Root()->Attribute("word"), "kept");
}

TEST_F(LateFile, ThatIsMissingIsMissing) {
  const util::Database database("/tessel/missing/test.db");

  EXPECT_FALSE(database);
  EXPECT_STREQ(database.ErrorText(), "unable to open database file");
}

}  // namespace
