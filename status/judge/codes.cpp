#include "judge/codes.h"

#include <algorithm>
#include <array>
#include <vector>

#include "judge/configcheck.h"

namespace status {
namespace {

// In the order of the road, from the card to the cloud.
constexpr std::array kRoadCodes = {
    Code{"BRN-CARD-MISSING", Level::kCritical,
         "The card's device /dev/mmcblk0p1 is missing. The service ends 30 s after each start.",
         "put a card with a partition into the gateway",
         "operations.md#moving-and-replacing-a-card"},
    Code{"BRN-CARD-NOT-MOUNTED", Level::kCritical,
         "Nothing is mounted at /media/mmcblk0p1. The service would write to the gateway's flash.",
         "mount /media/mmcblk0p1", "operations.md#moving-and-replacing-a-card"},
    Code{"BRN-CARD-READ-ONLY", Level::kCritical,
         "The card takes no writes. The next file ends the service, after every start again.",
         "umount /media/mmcblk0p1 && fsck.ext4 -f /dev/mmcblk0p1 && mount /media/mmcblk0p1",
         "operations.md#a-read-only-card"},
    Code{"BRN-CARD-FULL", Level::kCritical,
         "The card has no room for the next file. The values of each cycle are lost.",
         "find /media/mmcblk0p1/Cloud/JsonFiles/calldata -name 'R*' -mtime +3 -exec rm {} +",
         "operations.md#a-full-card"},
    Code{"BRN-CARD-NEARLY-FULL", Level::kWarning, "The card is nearly full.",
         "find /media/mmcblk0p1/Cloud/JsonFiles/calldata -name 'R*' -mtime +3 -exec rm {} +",
         "operations.md#a-full-card"},
    Code{"BRN-PROCESS-DOWN", Level::kCritical, "The service does not run.",
         "systemctl start brennik", "operations.md#supervising"},
    Code{"BRN-PROCESS-RESTARTS", Level::kWarning,
         "The service ends and is started again and again.", "brennik-status log --level WARN",
         "operations.md#what-ends-it"},
    Code{"BRN-SWITCHED-OFF", Level::kCritical,
         "The service is switched off: it runs without work, as configured.",
         "set checked=\"1\" in the cloud element of /tessel/Config/sys.xml, then restart the "
         "service",
         "operations.md#configuration"},
    Code{"BRN-SEGMENT-MISSING", Level::kWarning,
         "The acquisition side publishes no live values. No snapshots are made.",
         "start the acquisition side", "operations.md#one-kind-is-missing"},
    Code{"BRN-SEGMENT-UNPUBLISHED", Level::kWarning,
         "A point is configured but not published. This stops every snapshot.",
         "publish the points that brennik-status config lists, or remove them from the device "
         "files; then restart the service: systemctl restart brennik",
         "operations.md#one-kind-is-missing"},
    Code{"BRN-CLOCK-BACK", Level::kWarning,
         "The clock was set back: there are files with stamps of the future. New files replace "
         "them, "
         "and those that were accepted are not sent again.",
         "set the clock, best by a time server: timedatectl set-time 'YYYY-MM-DD hh:mm:ss'",
         "operations.md#time"},
    Code{"BRN-PACK-FAILED", Level::kWarning, "Files cannot be packed.",
         "brennik-status log --level WARN", "operations.md#gaps"},
    Code{"BRN-PACK-OLD", Level::kWarning, "No new file of live values is made.",
         "brennik-status log --level WARN", "operations.md#one-kind-is-missing"},
    Code{"BRN-LEDGER-MISSING", Level::kCritical, "There is no ledger on the card.",
         "brennik-status log", "operations.md#the-ledger"},
    Code{"BRN-LEDGER-DAMAGED", Level::kCritical,
         "The ledger cannot be used. The next file makes the service remove the whole tree.",
         "stop the service, copy /media/mmcblk0p1/Cloud to a desk, replace the card",
         "operations.md#a-damaged-tree"},
    Code{"BRN-LEDGER-BUSY", Level::kWarning,
         "Another program holds the ledger's lock. The service can neither record nor mark files.",
         "end the program that has /media/mmcblk0p1/Cloud/DB/CloudDB.db open",
         "operations.md#the-ledger"},
    Code{"BRN-LEDGER-UNFINISHED", Level::kWarning,
         "An unfinished write waits for the service, which completes it when it next opens the "
         "ledger.",
         "wait a minute and look again", "operations.md#the-ledger"},
    Code{"BRN-LEDGER-RECORDING", Level::kWarning,
         "The ledger takes no new rows. They wait in memory, and a restart loses them.",
         "make room on the card, or end the program that holds the ledger; do not restart the "
         "service",
         "operations.md#a-full-card"},
    Code{"BRN-LEDGER-UNREADABLE", Level::kWarning, "The ledger cannot be read.",
         "sudo brennik-status", "operations.md#the-ledger"},
    Code{"BRN-CLOUD-REFUSED", Level::kCritical,
         "Nothing listens at the cloud's address, or no route leads there.",
         "correct cloudip and port in /tessel/Config/sys.xml, or the route, or start the cloud's "
         "server",
         "operations.md#nothing-arrives"},
    Code{"BRN-CLOUD-SILENT", Level::kCritical, "The cloud's server does not answer.",
         "check cable, route and firewall, and ask the cloud's operator",
         "operations.md#nothing-arrives"},
    Code{"BRN-CLOUD-NAME", Level::kCritical, "The cloud's name has no address.",
         "correct cloudip in /tessel/Config/sys.xml, or the name server",
         "operations.md#nothing-arrives"},
    Code{"BRN-CLOUD-OTHER", Level::kCritical,
         "A server answers at the cloud's address, but not as this cloud does.",
         "check port and Dir in /tessel/Config/sys.xml, proxies and portals",
         "operations.md#nothing-arrives"},
    Code{"BRN-LOGIN-REFUSED", Level::kCritical, "The cloud refuses this gateway's serial number.",
         "let the cloud's operator register the serial number, or correct "
         "/tessel/Config/system/sn.xml and restart the service",
         "operations.md#nothing-arrives"},
    Code{"BRN-UPLOADS-REFUSED", Level::kCritical, "The cloud accepts no file.",
         "tell the cloud's operator what its answer says", "operations.md#nothing-arrives"},
    Code{"BRN-FILE-REFUSED", Level::kWarning,
         "The cloud refuses one file for ever. Older files wait behind it.",
         "sqlite3 -cmd '.timeout 10000' 'file:/media/mmcblk0p1/Cloud/DB/CloudDB.db?mode=rw' "
         "\"update "
         "tJsonFileNames set Result=1 where FileName like '%FILE'\"",
         "operations.md#a-file-that-blocks-the-others"},
    Code{"BRN-ACCEPTED-NONE", Level::kCritical, "No file was ever accepted.", "brennik-status log",
         "operations.md#nothing-arrives"},
    Code{"BRN-ACCEPTED-OLD", Level::kCritical, "The newest accepted file is too old.",
         "brennik-status log", "operations.md#nothing-arrives"},
    Code{"BRN-BACKLOG", Level::kWarning, "Many files wait for the cloud, or old ones do.",
         "brennik-status gaps", "operations.md#catching-up"},
    Code{"BRN-NEEDS-ROOT", Level::kUnknown, "A part cannot be looked at without root's rights.",
         "sudo brennik-status", "operations.md#what-do-you-see"},
};

}  // namespace

const char* LevelName(Level level) {
  static constexpr std::array kNames = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
  return kNames.at(static_cast<std::size_t>(level));
}

std::span<const Code> AllCodes() {
  static const std::vector<Code> codes = [] {
    std::vector<Code> all(kRoadCodes.begin(), kRoadCodes.end());
    const auto config = ConfigCodes();
    all.insert(all.end(), config.begin(), config.end());
    return all;
  }();
  return codes;
}

const Code* FindCode(std::string_view code) {
  const auto codes = AllCodes();
  const auto found =
      std::find_if(codes.begin(), codes.end(), [&](const Code& row) { return row.code == code; });
  return found == codes.end() ? nullptr : &*found;
}

}  // namespace status
