// Where a packed file goes and how the ledger names it.
#include "schedule/datafiles.h"

#include <gmock/gmock.h>

#include "util/paths.h"

using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

TEST(DataFileDirectory, IsTheDaysBelowTheRoot) {
  EXPECT_EQ(DayDirectory(paths::kAlarmData, 7), "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/7");
  EXPECT_EQ(DayDirectory(paths::kRealData, 31), "/media/mmcblk0p1/Cloud/JsonFiles/realdata/31");
}

TEST(DataFileDirectory, IsCutAt255Characters) {
  const std::string root(253, 'r');

  EXPECT_EQ(DayDirectory(root.c_str(), 31), root + "/3");
  EXPECT_EQ(DayDirectory((root + "rrrr").c_str(), 31), root + "rr");
}

TEST(LedgerRows, ArePendingAndNamedByFolderDayAndBaseName) {
  const auto rows = PendingRows(
      kAlarmDataFile, "alarmdata", 7,
      {"/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/7/T20240307120000.tar.gz", "T2.tar.gz"});

  ASSERT_THAT(rows, SizeIs(2));
  EXPECT_EQ(rows[0].filetype, 1);
  EXPECT_EQ(rows[0].result, 0);
  EXPECT_STREQ(rows[0].filename, "alarmdata/7/T20240307120000.tar.gz");
  EXPECT_EQ(rows[1].filetype, 1);
  EXPECT_EQ(rows[1].result, 0);
  EXPECT_STREQ(rows[1].filename, "alarmdata/7/T2.tar.gz");
}

TEST(LedgerRows, TakeTheFileTypeAsGiven) {
  EXPECT_EQ(PendingRows(kRealDataFile, "realdata", 1, {"/S"})[0].filetype, 2);
}

TEST(LedgerRows, AreNoneWithoutFiles) {
  EXPECT_THAT(PendingRows(kAlarmDataFile, "alarmdata", 7, {}), IsEmpty());
}

TEST(LedgerRows, HaveNamesCutAt127Characters) {
  const std::string name(200, 'n');

  const auto rows = PendingRows(kAlarmDataFile, "alarmdata", 31, {"/" + name});

  EXPECT_EQ(rows[0].filename, "alarmdata/31/" + name.substr(0, 127 - 13));
}

}  // namespace
