// The messages from the start to the finished file.
#include "judge/messagetable.h"

namespace status {
namespace {

constexpr char kStart[] = "Start and configuration";
constexpr char kLogin[] = "Login and address";
constexpr char kSnapshots[] = "Snapshots";
constexpr char kAlarms[] = "Alarms";

constexpr Message kFileMessages[] = {
    {kStart, "Brennik Start running", "database INFO",
     "the process has started. If there are many: [what ends it](operations.md#what-ends-it)"},
    {kStart, "no sd card, please check if insert the sd card", "database ERROR",
     "`/dev/mmcblk0p1` is missing. The process ends after 30 s"},
    {kStart, "Brennik Init failed", "text ERROR",
     "the configuration cannot be used; the lines before say why. The process ends after 10 s"},
    {kStart, "parsed %s failed", "text ERROR", "`sys.xml` is missing, malformed or refused"},
    {kStart, "Parse sys.xml failed", "text ERROR",
     "`sys.xml` cannot be used; the line before says why"},
    {kStart, "SysConfigXml document,root is not sysConfig.", "text ERROR",
     "the wrong file or a misspelt root. The service runs but is switched **off**"},
    {kStart, "parse Document %s failed", "text ERROR", "`sn.xml` is missing, malformed or refused"},
    {kStart, "parse SN Document failed,wrong type,root node is not snConfig", "text ERROR",
     "the wrong file in its place"},
    {kStart, "parse SN Document failed,no usable model or sn", "text ERROR",
     "`model` or `sn` is missing, or `sn` is empty"},
    {kStart, "Parse sn.xml failed", "text ERROR",
     "`sn.xml` cannot be used; the line before says why"},
    {kStart, "Document %s parsed failed.", "text ERROR",
     "`Channel-template.xml` is missing, malformed or refused"},
    {kStart, "[LoadChannelParamFromXml]: Root node is not 'ChannelConfig'", "text ERROR",
     "the wrong file in its place"},
    {kStart, "Parse Channel-template.xml failed", "text ERROR",
     "`Channel-template.xml` cannot be used; the line before says why"},
    {kStart, "[LoadDevPointAttr]: parsed Parse failed", "text ERROR",
     "a device file is missing, malformed or refused: its device has no points. Standard error "
     "names the file and the reason"},
    {kStart, "[LoadDevPointAttr]:  wrong type, root node != DevConfig", "text ERROR",
     "a device file has another root: its device has no points. The log does not name the file"},
    {kStart, "%s: %s", "stderr",
     "a configuration file was refused: its line and the reason, see "
     "[configuration](operations.md#configuration)"},
    {kStart, "%s is not exist", "stdout", "`main-version.conf` is missing; harmless"},
    {kStart, "Brennik is Set on", "text INFO", "switched on"},
    {kStart, "Brennik is Set off", "text INFO",
     "`checked` is 0 or missing. The service runs without work, as configured"},
    {kStart,
     "realdata timeinv = %d,alarm timeinv = %d,heartbeat timeinv = %d,checkfail timeinv = "
     "%d,recall timeinv = %d",
     "text INFO", "the intervals in force, in seconds. A worker with less than 1 is off"},
    {kStart, "Failed to create new thread, error: %s", "database FATAL",
     "there is no memory for a thread. This worker and the later ones do not run. Restart the "
     "gateway"},
    {kLogin, "curl_easy_perform() failed when post: %s,httpcode =%ld", "text WARN",
     "a login, address check or recall check failed. 0: no answer, check network, `cloudip`, "
     "`port`. Other codes: a wrong answer, check `Dir` and the server"},
    {kLogin, "answer with more than %zu bytes of headers broken off", "text WARN",
     "the answer does not come from the cloud, or something between changes it. Check proxies and "
     "portals"},
    {kLogin, "Auth Receive Response:\\n%s", "text INFO", "the cloud's answer to the login"},
    {kLogin, "Authorize recv:%s ,missing Member", "text WARN",
     "an answer without `data`, `status` or `message`: tell the cloud's operator"},
    {kLogin, "Authorize missing seqStatus Member", "text WARN",
     "an answer without `seqStatus`: tell the cloud's operator"},
    {kLogin, "Post Authorize Info failed", "text WARN",
     "the login failed and is tried again in 60 s. Nothing is sent until then. If there is an "
     "answer: is the serial number registered?"},
    {kLogin, "Post Authorize Info Successfully", "text INFO",
     "the login succeeded; once after each start"},
    {kLogin, "Skip Address Receive Response:\\n%s", "text INFO",
     "the answer to the address check, every ten minutes"},
    {kLogin, "SkipAddress recv:%s ,missing Member", "text WARN",
     "an answer without `data`, `status` or `message`; the address stays"},
    {kLogin, "SkipAddress missing realIpAddress Member", "text WARN",
     "an answer without `realIpAddress`; the address stays"},
    {kLogin, "real IP has become %s", "text INFO",
     "uploads and recall checks go to this address from now on; at the start it is the configured "
     "one. A restart ends a redirect"},
    {kLogin, "answer with a member missing or of the wrong type (%s):%s", "text WARN",
     "the cloud's answer lacks a member or has one of the wrong type. Tell the cloud's operator"},
    {kSnapshots, "CreateRealDataJsonFile %s Success", "text INFO",
     "a snapshot is packed and will be recorded next"},
    {kSnapshots, "Brennik Get RealData error", "database ERROR",
     "there are no live values: the acquisition side does not run, publishes nothing, or its "
     "segment is inconsistent. This cycle is lost"},
    {kSnapshots, "CreateRealDataJsonFile %s Error, can't find id: %08x", "text INFO",
     "this point is configured but not published. No file is made until configuration and "
     "acquisition side agree"},
    {kSnapshots, "CreateRealDataJsonFile %s failed,errno %d", "text WARN",
     "28: the text did not fit, the card is full. Other numbers are the status of `tar`: 2, the "
     "card is full; 127, there is no `tar`; 0, no memory to start it. It is tried three times"},
    {kSnapshots, "try %d times,but CreateRealDataJsonFile %s failed", "text WARN",
     "given up; this cycle is lost. A complete `.dat` stays on the card"},
    {kSnapshots, "ledger: %s fails, %zu rows wait in memory: %s", "text WARN",
     "recording or removing old rows fails, with the reason: a [full "
     "card](operations.md#a-full-card) or [another program's lock](operations.md#the-ledger). It "
     "is logged once. The rows that wait are recorded when that is over, if the service still "
     "runs"},
    {kSnapshots, "ledger: %zu of the oldest rows in memory are given up", "text WARN",
     "more than 10,000 rows wait. These files are never sent and stay on the card"},
    {kSnapshots, "ledger: recording and ageing succeed again", "text INFO",
     "the failure is over; the rows that waited are recorded"},
    {kSnapshots, "Brennik Create RealData File error", "database ERROR",
     "the snapshot of this cycle could not be made; the line before says why. Without one: the "
     "clock is beyond the calendar"},
    {kAlarms, "CreateAlarmDataJsonFile %s Success", "text INFO", "up to 20 events are packed"},
    {kAlarms, "CreateAlarmDataJsonFile %s failed,errno %d", "text WARN",
     "28: the text did not fit, the card is full. Other numbers are the status of `tar`: 2, the "
     "card is full; 127, there is no `tar`; 0, no memory to start it. It is tried three times"},
    {kAlarms, "try %d times,but CreateAlarmDataJsonFile %s failed", "text WARN",
     "given up. After errno 28 the next cycle tries these events again. Otherwise keep the `.dat`: "
     "it holds events that are marked as taken and do not come again"},
    {kAlarms, "%zu alarm events are given up, the card was full for days", "text WARN",
     "events that waited in memory are four days old now. They are lost"},
    {kAlarms, "CreateAlarmDataJsonFile in %s failed, no local time", "text WARN",
     "the clock is beyond the calendar. These events are lost. Set the clock"},
    {kAlarms, "Can not find DataId %08x's Attr", "stdout",
     "an alarm of a point that is not configured. It is sent with the name of the event before it "
     "in its file"},
};

}  // namespace

std::span<const Message> MessagesOfFiles() {
  return kFileMessages;
}

}  // namespace status
