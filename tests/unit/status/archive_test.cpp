#include "collect/archive.h"

#include <sys/stat.h>

#include <string>
#include <vector>

#include "packfile/archive.h"
#include "support/gateway.h"

namespace {

using status::ArchiveState;

constexpr char kFolder[] = "/media/mmcblk0p1/a";
constexpr char kPath[] = "/media/mmcblk0p1/a/S20261122040000.tar.gz";

class ArchiveTest : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    test::Empty(kFolder);
    test::WriteFile(std::string(kFolder) + "/S20261122040000.dat", R"({"sn":"TS20240117"})");
  }
  // Runs a shell command in the folder.
  static void Shell(const std::string& command) {
    const std::string whole = std::string("cd ") + kFolder + " && { " + command + "; } 2>/dev/null";
    ASSERT_EQ(std::system(whole.c_str()), 0) << command;
  }
  static void MakeArchive() { Shell("tar -czf S20261122040000.tar.gz S20261122040000.dat"); }
};

TEST_F(ArchiveTest, ReadsTheDocumentThatTarPacked) {
  MakeArchive();
  const status::Archive archive = status::ReadArchive(kPath);
  EXPECT_EQ(archive.state, ArchiveState::kGood);
  EXPECT_EQ(archive.text, "");
  EXPECT_EQ(archive.member, "S20261122040000.dat");
  EXPECT_EQ(archive.document, R"({"sn":"TS20240117"})");
  EXPECT_EQ(archive.bytes, test::ReadFile(kPath).size());
  EXPECT_NE(archive.changed, 0);
}

TEST_F(ArchiveTest, SaysWhatIsWrongWithAnArchive) {
  struct Row {
    const char* name;
    const char* make;  // shell command
    ArchiveState state;
    const char* text;
  };
  const std::vector<Row> rows = {
      {"missing", "true", ArchiveState::kMissing, "it is not on the card"},
      {"a folder", "mkdir S20261122040000.tar.gz", ArchiveState::kUnreadable,
       "it is no plain file"},
      {"a pipe", "mkfifo S20261122040000.tar.gz", ArchiveState::kUnreadable, "it is no plain file"},
      {"empty", ": >S20261122040000.tar.gz", ArchiveState::kCut, "it is empty"},
      {"not compressed", "cp *.dat S20261122040000.tar.gz", ArchiveState::kNotGzip,
       "it is not compressed with gzip"},
      {"cut", "tar -cz *.dat | head -c 90 >S20261122040000.tar.gz", ArchiveState::kCut,
       "it ends too early"},
      {"wrong bits", "{ tar -cz *.dat | head -c 30; printf '%0100d' 0; } >S20261122040000.tar.gz",
       ArchiveState::kDamaged, "its compressed data are damaged"},
      {"only text", "gzip -c *.dat >S20261122040000.tar.gz", ArchiveState::kNotTar,
       "it holds no tar archive"},
      {"long text", "head -c 9000 /dev/zero | tr '\\0' x | gzip >S20261122040000.tar.gz",
       ArchiveState::kNotTar, "it holds no tar archive"},
      {"zeros", "head -c 9000 /dev/zero | gzip >S20261122040000.tar.gz", ArchiveState::kNotTar,
       "it holds no file"},
      {"nothing", "gzip -c /dev/null >S20261122040000.tar.gz", ArchiveState::kNotTar,
       "it holds no file"},
      {"a link", "ln -s x y; tar -czf S20261122040000.tar.gz y", ArchiveState::kNotTar,
       "it holds something else than a plain file"},
      {"document cut", "tar -c *.dat | head -c 520 | gzip >S20261122040000.tar.gz",
       ArchiveState::kCut, "its document is cut short"},
      {"two files", "cp *.dat z; tar -czf S20261122040000.tar.gz *.dat z", ArchiveState::kSeveral,
       "it holds more than one file"},
      {"a bomb", "head -c 20000000 /dev/zero | gzip -1 >S20261122040000.tar.gz",
       ArchiveState::kTooLarge, "it holds more than 8 MiB"},
      {"a large file", "head -c 8388700 /dev/zero >z; tar -czf S20261122040000.tar.gz z",
       ArchiveState::kTooLarge, "its document is too large"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    SetUp();
    Shell(row.make);
    const status::Archive archive = status::ReadArchive(kPath);
    EXPECT_EQ(archive.state, row.state);
    EXPECT_EQ(archive.text, row.text);
    EXPECT_EQ(archive.document.empty(), row.state != ArchiveState::kSeveral);
  }
}

std::vector<std::string> Format(const std::string& document) {
  std::vector<std::string> lines;
  EXPECT_TRUE(status::FormatDocument(
      document, [&lines](std::string_view line) { lines.emplace_back(line); }));
  return lines;
}

TEST(Document, IsFormattedWithNumbersAsTheyAreWritten) {
  const std::vector<std::string> lines = Format(
      R"({"id":7,"x":1.500,"big":12345678901234567890123,"t":"a\nb 阀值","e":[],"l":[true]})");
  const std::vector<std::string> expected = {"{",
                                             "  \"id\": 7,",
                                             "  \"x\": 1.500,",
                                             "  \"big\": 12345678901234567890123,",
                                             R"(  "t": "a\nb 阀值",)",
                                             "  \"e\": [],",
                                             "  \"l\": [",
                                             "    true",
                                             "  ]",
                                             "}"};
  EXPECT_EQ(lines, expected);
}

TEST(Document, IsLeftAloneWhenItIsNoDocumentOfTheService) {
  const auto refuse = [](std::string_view line) { ADD_FAILURE() << line; };
  const std::string zero("{}\0{}", 5);
  for (const std::string& text :
       {std::string(), std::string("portal"), std::string("{\"a\":1"), std::string("{} {}"), zero,
        std::string(1000000, '['), std::string(17, '[') + std::string(17, ']')}) {
    EXPECT_FALSE(status::FormatDocument(text, refuse)) << text.substr(0, 20);
  }
}

}  // namespace
