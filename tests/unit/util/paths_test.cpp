#include "util/paths.h"

#include <gmock/gmock.h>

namespace {

TEST(Paths, NameTheGatewaysPlaces) {
  EXPECT_STREQ(paths::kCardDevice, "/dev/mmcblk0p1");
  EXPECT_STREQ(paths::kCardMount, "/media/mmcblk0p1/");
  EXPECT_STREQ(paths::kSystemFile, "/tessel/Config/sys.xml");
  EXPECT_STREQ(paths::kVersionFile, "/tessel/Config/version/main-version.conf");
  EXPECT_STREQ(paths::kIdentityFile, "/tessel/Config/system/sn.xml");
  EXPECT_STREQ(paths::kChannelTemplate, "/tessel/Config/Channel-template.xml");
  EXPECT_STREQ(paths::kCloudTree, "/media/mmcblk0p1/Cloud");
  EXPECT_STREQ(paths::kLostTree, "/media/mmcblk0p1/Cloud.lost");
  EXPECT_STREQ(paths::kLedgerDirectory, "/media/mmcblk0p1/Cloud/DB");
  EXPECT_STREQ(paths::kLedger, "/media/mmcblk0p1/Cloud/DB/CloudDB.db");
  EXPECT_STREQ(paths::kLedgerJournal, "/media/mmcblk0p1/Cloud/DB/CloudDB.db-journal");
  EXPECT_STREQ(paths::kNewLedger, "/media/mmcblk0p1/Cloud/DB/CloudDB.db.new");
  EXPECT_STREQ(paths::kDataFiles, "/media/mmcblk0p1/Cloud/JsonFiles");
  EXPECT_STREQ(paths::kRealData, "/media/mmcblk0p1/Cloud/JsonFiles/realdata");
  EXPECT_STREQ(paths::kAlarmData, "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata");
  EXPECT_STREQ(paths::kCallData, "/media/mmcblk0p1/Cloud/JsonFiles/calldata");
  EXPECT_STREQ(paths::kEventDatabaseFormat, "/media/mmcblk0p1/%d%02d_event.db");
  EXPECT_STREQ(paths::kDemandHistory, "/media/mmcblk0p1/demand_history.db");
  EXPECT_STREQ(paths::kLogDirectory, "/tmp/CloudLog");
  EXPECT_STREQ(paths::kLogDatabase, "/tmp/CloudLog/Cloudlog.db");
}

}  // namespace
