// Every absolute path of the gateway that the service touches, in one place.
#pragma once

namespace paths {

// The SD card.
inline constexpr char kCardDevice[] = "/dev/mmcblk0p1";
inline constexpr char kCardMount[] = "/media/mmcblk0p1/";

// Configuration, read once at start-up.
inline constexpr char kSystemFile[] = "/tessel/Config/sys.xml";
inline constexpr char kVersionFile[] = "/tessel/Config/version/main-version.conf";
inline constexpr char kIdentityFile[] = "/tessel/Config/system/sn.xml";
inline constexpr char kChannelTemplate[] = "/tessel/Config/Channel-template.xml";

// The data files that wait for the cloud, their ledger, and a damaged tree before its removal.
inline constexpr char kCloudTree[] = "/media/mmcblk0p1/Cloud";
inline constexpr char kLostTree[] = "/media/mmcblk0p1/Cloud.lost";
inline constexpr char kLedgerDirectory[] = "/media/mmcblk0p1/Cloud/DB";
inline constexpr char kLedger[] = "/media/mmcblk0p1/Cloud/DB/CloudDB.db";
inline constexpr char kLedgerJournal[] = "/media/mmcblk0p1/Cloud/DB/CloudDB.db-journal";
inline constexpr char kNewLedger[] = "/media/mmcblk0p1/Cloud/DB/CloudDB.db.new";
inline constexpr char kDataFiles[] = "/media/mmcblk0p1/Cloud/JsonFiles";
inline constexpr char kRealData[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata";
inline constexpr char kAlarmData[] = "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata";
inline constexpr char kCallData[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata";

// The acquisition side's databases: alarm events, one file a month, and minute history.
inline constexpr char kEventDatabaseFormat[] = "/media/mmcblk0p1/%d%02d_event.db";
inline constexpr char kDemandHistory[] = "/media/mmcblk0p1/demand_history.db";

// The service's own logs, in volatile storage.
inline constexpr char kLogDirectory[] = "/tmp/CloudLog";
inline constexpr char kLogDatabase[] = "/tmp/CloudLog/Cloudlog.db";

}  // namespace paths
