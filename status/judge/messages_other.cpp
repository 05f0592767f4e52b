#include "judge/messagetable.h"

namespace status {
namespace {

constexpr Message kLogs[] = {
    {"Open %s failed", "stdout",
     "the log file of the day cannot be opened: the service is not root, or a link or directory "
     "has its name. Records wait in memory"},
    {"Open database(%s) failed: %s", "stdout",
     "the log database cannot be opened. **Workers that write to it stop.** If it could not be "
     "made, they stop without a message. Make room in `/tmp` and restart the service"},
    {"SQL error: %s", "stdout",
     "its table is missing or damaged, or [`/tmp` was "
     "full](operations.md#a-captive-portal-and-a-full-tmp). Delete `Cloudlog.db`; it is made "
     "again"},
    {"Delete Date from %s failed. %s", "stdout", "old rows could not be deleted. Do the same"},
};

constexpr Message kNever[] = {
    {"There is only %dB free space in sdcard", "database FATAL",
     "nothing asks for the free space: use `df`"},
    {"Brennik Get AlarmData error", "database ERROR",
     "an event database that cannot be read is skipped without a message: query it yourself"},
    {"Brennik Create AlarmData File error", "database ERROR", "packing has its own messages"},
    {"Failed to set joinable state for File creating thread, error: %s", "database FATAL",
     "every thread is joinable"},
    {"Interval_info pointer is null", "text ERROR", "the start always passes an interval record"},
    {"SysConfigXml document is null", "text ERROR",
     "the start ends earlier if a file cannot be read"},
    {"SysConfigXml document,Empty document.", "text ERROR", "an empty file counts as malformed"},
    {"parse SN Document failed", "text ERROR", "as for `sys.xml`"},
    {"parse SN Document failed,empty document.", "text ERROR", "the same"},
    {"[LoadChannelParamFromXml]: Xml document is null", "text ERROR", "the same"},
    {"[LoadChannelParamFromXml]: Empty document.", "text ERROR", "the same"},
    {"[LoadDevPointAttr]: empty document", "text ERROR", "the same"},
    {"Can not find Device %04x's Attr", "stdout", "nothing looks for a device"},
    {"Can not open file %s", "text WARN", "nothing reads a data file that way"},
};

}  // namespace

std::span<const Message> LogsMessages() {
  return kLogs;
}

std::span<const Message> NeverMessages() {
  return kNever;
}

}  // namespace status
