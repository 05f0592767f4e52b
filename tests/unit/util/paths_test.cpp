// Where the gateway keeps what the service touches.
#include "util/paths.h"

#include <gmock/gmock.h>

#include <ostream>

namespace {

struct PathRow {
  const char* path;
  const char* place;
};

void PrintTo(const PathRow& row, std::ostream* out) {
  *out << row.place;
}

class Path : public ::testing::TestWithParam<PathRow> {};

TEST_P(Path, IsTheGatewaysOwn) {
  EXPECT_STREQ(GetParam().path, GetParam().place);
}

INSTANTIATE_TEST_SUITE_P(
    Gateway, Path,
    ::testing::Values(PathRow{paths::kCardDevice, "/dev/mmcblk0p1"},
                      PathRow{paths::kCardMount, "/media/mmcblk0p1/"},
                      PathRow{paths::kSystemFile, "/tessel/Config/sys.xml"},
                      PathRow{paths::kVersionFile, "/tessel/Config/version/main-version.conf"},
                      PathRow{paths::kIdentityFile, "/tessel/Config/system/sn.xml"},
                      PathRow{paths::kChannelTemplate, "/tessel/Config/Channel-template.xml"},
                      PathRow{paths::kCloudTree, "/media/mmcblk0p1/Cloud"},
                      PathRow{paths::kLostTree, "/media/mmcblk0p1/Cloud.lost"},
                      PathRow{paths::kLedgerDirectory, "/media/mmcblk0p1/Cloud/DB"},
                      PathRow{paths::kLedger, "/media/mmcblk0p1/Cloud/DB/CloudDB.db"},
                      PathRow{paths::kDataFiles, "/media/mmcblk0p1/Cloud/JsonFiles"},
                      PathRow{paths::kRealData, "/media/mmcblk0p1/Cloud/JsonFiles/realdata"},
                      PathRow{paths::kAlarmData, "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata"},
                      PathRow{paths::kCallData, "/media/mmcblk0p1/Cloud/JsonFiles/calldata"},
                      PathRow{paths::kEventDatabaseFormat, "/media/mmcblk0p1/%d%02d_event.db"},
                      PathRow{paths::kDemandHistory, "/media/mmcblk0p1/demand_history.db"},
                      PathRow{paths::kLogDirectory, "/tmp/CloudLog"},
                      PathRow{paths::kLogDatabase, "/tmp/CloudLog/Cloudlog.db"}));

}  // namespace
