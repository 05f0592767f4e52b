// The messages of uploads, recalls and the logs, and those that nothing writes.
#include "judge/messagetable.h"

namespace status {
namespace {

constexpr char kUploads[] = "Uploads";
constexpr char kRecalls[] = "Recalls";
constexpr char kLogs[] = "The logs themselves";
constexpr char kNever[] = "Messages that a running service never writes";

constexpr Message kUploadMessages[] = {
    {kUploads, "start Send realdata %s to %s", "text INFO", "a snapshot is sent"},
    {kUploads, "start Send alarmdata %s to %s", "text INFO", "an alarm file is sent"},
    {kUploads, "start Send Recalldata %s to %s", "text INFO", "an answer to a recall is sent"},
    {kUploads, "start Send file %s to %s", "text INFO", "its transfer begins"},
    {kUploads, "UPloadFile recv message:%s", "text INFO",
     "the cloud's answer; only `\"status\":0` accepts the file"},
    {kUploads, "UPloadFile recv error format message:%s", "text WARN",
     "the answer is no JSON object with `status`: it may be the page of a proxy, or an answer in "
     "two pieces"},
    {kUploads, "Send file %s finish", "text INFO",
     "transferred with HTTP 200 or 201. The cloud's answer says whether it accepts the file"},
    {kUploads, "send file %s failed: %s,httpcode =%ld", "text WARN",
     "0: no answer within 90 s, check the network. Other codes are the server's status"},
    {kUploads, "Send realdata %s to %s successfully", "text INFO", "accepted or judged sent"},
    {kUploads, "Send Alarmdata %s to %s successfully", "text INFO", "accepted or judged sent"},
    {kUploads, "Send Recalldata %s to %s successfully", "text INFO", "accepted or judged sent"},
    {kUploads, "Send realdata %s to %s failed", "text WARN",
     "the file stays pending and the round ends. The next round tries it again"},
    {kUploads, "Send Alarmdata %s to %s failed", "text WARN",
     "the file stays pending and the round ends. The next round tries it again"},
    {kUploads, "Send Recalldata %s to %s failed", "text WARN",
     "it is built and sent again after the next check"},
    {kUploads, "Can not find File %s when send files,judge it send OK", "text WARN",
     "somebody deleted the file; its row counts as accepted"},
    {kUploads, "file %s size is 0 ,error,do not send it,judge it send OK", "text WARN",
     "the file has 0 bytes because the card was full, **or 40,960 bytes or more**: the line before "
     "says so then. Its row counts as accepted"},
    {kUploads, "file %s has %lld bytes,the largest that is sent has %lld", "text WARN",
     "there are too many points for one file, or an order asks for too much history. The file "
     "stays on the card and is not sent"},
    {kUploads, "can not open file %s", "text WARN",
     "the card is [read-only](operations.md#a-read-only-card) or failing"},
    {kUploads, "calloc size %d buff error", "text WARN", "no memory; tried again"},
    {kRecalls, "Recall Receive Response:\\n%s", "text INFO",
     "the cloud's orders; usually there is none. If the answer comes in pieces, the first 64 are "
     "logged"},
    {kRecalls, "Recall answer of more than %zu bytes refused", "text WARN",
     "the order is too large. Tell the cloud's operator"},
    {kRecalls, "Recall receive the same seq: %d==%d times:%d, Will recreate file after %d times",
     "text WARN",
     "the cloud repeats an order that was answered. From the third time on it is answered again"},
    {kRecalls, "CreateRecallDataJsonFile %s Success", "text INFO", "the answer is packed"},
    {kRecalls, "CreateRecallDataJsonFile %s failed,errno %d", "text WARN",
     "28: the text did not fit, the card is full. Other numbers are the status of `tar`: 2, the "
     "card is full; 127, there is no `tar`; 0, no memory to start it. It is tried again at the "
     "next check"},
    {kRecalls, "Recall %d has more than %zu bytes or %zu values of a point,judge it send OK",
     "text WARN",
     "the order asks for more than one file can hold. No file is made, and the order counts as "
     "answered. Tell the cloud's operator to order less at once"},
    {kRecalls, "Brennik Create Recall Data File error", "database ERROR",
     "follows two lines after the cause. Without one: the clock is beyond the calendar"},
    {kLogs, "Open %s failed", "stdout",
     "the log file of the day cannot be opened: the service is not root, or a link or directory "
     "has its name. Records wait in memory"},
    {kLogs, "Open database(%s) failed: %s", "stdout",
     "the log database cannot be opened. **Workers that write to it stop.** If it could not be "
     "made, they stop without a message. Make room in `/tmp` and restart the service"},
    {kLogs, "SQL error: %s", "stdout",
     "its table is missing or damaged, or [`/tmp` was "
     "full](operations.md#a-captive-portal-and-a-full-tmp). Delete `Cloudlog.db`; it is made "
     "again"},
    {kLogs, "Delete Date from %s failed. %s", "stdout",
     "old rows could not be deleted. Delete `Cloudlog.db`; it is made again"},
    {kNever, "There is only %dB free space in sdcard", "database FATAL",
     "nothing asks for the free space: use `df`"},
    {kNever, "Brennik Get AlarmData error", "database ERROR",
     "an event database that cannot be read is skipped without a message: query it yourself"},
    {kNever, "Brennik Create AlarmData File error", "database ERROR",
     "packing has its own messages"},
    {kNever, "Failed to set joinable state for File creating thread, error: %s", "database FATAL",
     "every thread is joinable"},
    {kNever, "Interval_info pointer is null", "text ERROR",
     "the start always passes an interval record"},
    {kNever, "SysConfigXml document is null", "text ERROR",
     "the start ends earlier if a file cannot be read"},
    {kNever, "SysConfigXml document,Empty document.", "text ERROR",
     "an empty file counts as malformed"},
    {kNever, "parse SN Document failed", "text ERROR",
     "the start ends earlier if a file cannot be read"},
    {kNever, "parse SN Document failed,empty document.", "text ERROR",
     "an empty file counts as malformed"},
    {kNever, "[LoadChannelParamFromXml]: Xml document is null", "text ERROR",
     "the start ends earlier if a file cannot be read"},
    {kNever, "[LoadChannelParamFromXml]: Empty document.", "text ERROR",
     "an empty file counts as malformed"},
    {kNever, "[LoadDevPointAttr]: empty document", "text ERROR",
     "an empty file counts as malformed"},
    {kNever, "Can not find Device %04x's Attr", "stdout", "nothing looks for a device"},
    {kNever, "Can not open file %s", "text WARN", "nothing reads a data file that way"},
};

}  // namespace

std::span<const Message> MessagesOfUploads() {
  return kUploadMessages;
}

}  // namespace status
