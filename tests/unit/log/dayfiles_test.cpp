// The day files of the text log: which ones stay, and the directories they stand in.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "fixture.h"
#include "support/clock.h"
#include "support/faults.h"

namespace {

using ::testing::ElementsAre;
using Names = std::vector<std::string>;

// The files of the days from `first` to `last`, given as month x 100 + day, and further files.
Names Days(int first, int last, const Names& more = {}) {
  Names names = more;
  for (int day = first; day <= last; ++day) names.push_back(util::Format("%04d_log.txt", day));
  return names;
}

class Retention : public test::TextLogTest {
 protected:
  static void Place(const Names& names) {
    for (const auto& name : names) test::WriteFile("/tmp/CloudLog/" + name, "");
  }
  static Names Files() { return test::List("/tmp/CloudLog"); }
  // One cycle with a record in it, at noon of that day.
  int WriteOn(int day) {
    test::SetTime(test::LocalTimeOf(2024, day / 100, day % 100, 12));
    return Write({"message"});
  }
};

TEST_F(Retention, KeepsTheFiveLargestNumbers) {
  const Names foreign = {"Cloudlog.db", ".hidden", "notes.txt", "0000_log.txt", "00"};
  const struct {
    const char* name;
    Names before;
    int today;
    Names after;
  } rows[] = {
      {"five are kept", Days(1111, 1114), 1115, Days(1111, 1115)},
      {"of six the first goes", Days(1110, 1114), 1115, Days(1111, 1115)},
      {"one goes a cycle", Days(1107, 1114), 1115, Days(1108, 1115)},
      {"January goes before December", Days(1227, 1230, {"0101_log.txt"}), 1231, Days(1227, 1231)},
      {"even today's goes", Days(1227, 1231), 101, Days(1227, 1231)},
      {"numbers have four digits", Days(102, 106), 107, Days(103, 107)},
      {"zero is no number", Days(1111, 1114, foreign), 1115, Days(1111, 1115, foreign)},
      {"every name with a number counts", Days(1111, 1114, {"1116 notes"}), 1115,
       Days(1112, 1115, {"1116 notes"})},
      {"only a day file goes", Days(1111, 1114, {"12 notes"}), 1115,
       Days(1111, 1115, {"12 notes"})},
      {"a number has no sign", Days(1111, 1114, {"-5"}), 1115, Days(1112, 1115, {"-5"})},
  };

  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::filesystem::remove_all("/tmp/CloudLog");
    Place(row.before);
    EXPECT_EQ(WriteOn(row.today), 0);
    EXPECT_THAT(Files(), ::testing::UnorderedElementsAreArray(row.after));
  }
}

TEST_F(Retention, GoesOnWhenTheFirstCannotBeRemoved) {
  Place(Days(1101, 1114));
  test::FailCalls(test::Call::kUnlink);

  EXPECT_EQ(WriteOn(1115), 0);

  EXPECT_EQ(Files().size(), 15U);
}

TEST_F(Retention, RemovesTheFirstWithoutAWritingToo) {
  Place(Days(1101, 1114));

  store.CheckSizeAndClear();

  EXPECT_EQ(Files(), Days(1102, 1114));
}

TEST_F(Retention, CountsTheDayFilesAndNamesTheFirst) {
  const std::string before(127, 'x');
  const struct {
    const char* name;
    Names files;
    unsigned char size;
    int count;
    std::string path;
  } rows[] = {
      {"three",
       {"1112_log.txt", "0930_log.txt", "1001_log.txt", "Cloudlog.db"},
       128,
       3,
       "/tmp/CloudLog/0930_log.txt"},
      {"one", {"1112_log.txt"}, 128, 1, "/tmp/CloudLog/1112_log.txt"},
      {"a small buffer", {"1112_log.txt"}, 14, 1, "/tmp/CloudLog"},
      {"no buffer", {"1112_log.txt"}, 0, 1, before},
      {"none", {"Cloudlog.db"}, 128, 0, before},
      {"no directory", {}, 128, -1, before},
  };

  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::filesystem::remove_all("/tmp/CloudLog");
    Place(row.files);
    char path[128];
    util::CopyText(path, before);
    EXPECT_EQ(store.GetFirstLogTxt(path, row.size), row.count);
    EXPECT_EQ(path, row.path);
  }
}

TEST_F(Retention, HasADirectoryWhosePathIsCutAt63Characters) {
  const std::string name(63 - sizeof("/tessel"), 'd');

  EXPECT_EQ(store.CreateDirectory(("/tessel/" + name + "cut").c_str()), 0);
  EXPECT_THAT(test::List("/tessel"), ElementsAre(name));
  EXPECT_EQ(store.CreateDirectory(nullptr), -1);
}

}  // namespace
