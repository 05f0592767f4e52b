#include "judge/messagetable.h"

namespace status {
namespace {

constexpr Message kStart[] = {
    {"Brennik Start running", "database INFO",
     "the process has started. If there are many: [what ends it](operations.md#what-ends-it)"},
    {"no sd card, please check if insert the sd card", "database ERROR",
     "`/dev/mmcblk0p1` is missing. The process ends after 30 s"},
    {"Brennik Init failed", "text ERROR",
     "the configuration cannot be used; the lines before say why. The process ends after 10 s"},
    {"parsed %s failed", "text ERROR", "`sys.xml` is missing, malformed or refused"},
    {"Parse sys.xml failed", "text ERROR", "follows the line before"},
    {"SysConfigXml document,root is not sysConfig.", "text ERROR",
     "the wrong file or a misspelt root. The service runs but is switched **off**"},
    {"parse Document %s failed", "text ERROR", "`sn.xml` is missing, malformed or refused"},
    {"parse SN Document failed,wrong type,root node is not snConfig", "text ERROR",
     "the wrong file in its place"},
    {"parse SN Document failed,no usable model or sn", "text ERROR",
     "`model` or `sn` is missing, or `sn` is empty"},
    {"Parse sn.xml failed", "text ERROR", "follows one of the three before"},
    {"Document %s parsed failed.", "text ERROR",
     "`Channel-template.xml` is missing, malformed or refused"},
    {"[LoadChannelParamFromXml]: Root node is not 'ChannelConfig'", "text ERROR",
     "the wrong file in its place"},
    {"Parse Channel-template.xml failed", "text ERROR", "follows one of the two before"},
    {"[LoadDevPointAttr]: parsed Parse failed", "text ERROR",
     "a device file is missing, malformed or refused: its device has no points. Standard error "
     "names the file and the reason"},
    {"[LoadDevPointAttr]:  wrong type, root node != DevConfig", "text ERROR",
     "the same, for a file with another root"},
    {"%s: %s", "stderr",
     "a configuration file was refused: its line and the reason, see "
     "[configuration](operations.md#configuration)"},
    {"%s is not exist", "stdout", "`main-version.conf` is missing; harmless"},
    {"Brennik is Set on", "text INFO", "switched on"},
    {"Brennik is Set off", "text INFO",
     "`checked` is 0 or missing. The service runs without work, as configured"},
    {"realdata timeinv = %d,alarm timeinv = %d,heartbeat timeinv = %d,checkfail timeinv = "
     "%d,recall timeinv = %d",
     "text INFO", "the intervals in force, in seconds. A worker with less than 1 is off"},
    {"Failed to create new thread, error: %s", "database FATAL",
     "there is no memory for a thread. This worker and the later ones do not run. Restart the "
     "gateway"},
};

constexpr Message kLogin[] = {
    {"curl_easy_perform() failed when post: %s,httpcode =%ld", "text WARN",
     "a login, address check or recall check failed. 0: no answer, check network, `cloudip`, "
     "`port`. Other codes: a wrong answer, check `Dir` and the server"},
    {"answer with more than %zu bytes of headers broken off", "text WARN",
     "the answer does not come from the cloud, or something between changes it. Check proxies and "
     "portals"},
    {"Auth Receive Response:\\n%s", "text INFO", "the cloud's answer to the login"},
    {"Authorize recv:%s ,missing Member", "text WARN",
     "an answer without `data`, `status` or `message`: tell the cloud's operator"},
    {"Authorize missing seqStatus Member", "text WARN", "the same, without `seqStatus`"},
    {"Post Authorize Info failed", "text WARN",
     "the login failed and is tried again in 60 s. Nothing is sent until then. If there is an "
     "answer: is the serial number registered?"},
    {"Post Authorize Info Successfully", "text INFO", "the login succeeded; once after each start"},
    {"Skip Address Receive Response:\\n%s", "text INFO",
     "the answer to the address check, every ten minutes"},
    {"SkipAddress recv:%s ,missing Member", "text WARN",
     "an answer without `data`, `status` or `message`; the address stays"},
    {"SkipAddress missing realIpAddress Member", "text WARN", "the same, without `realIpAddress`"},
    {"real IP has become %s", "text INFO",
     "uploads and recall checks go to this address from now on; at the start it is the configured "
     "one. A restart ends a redirect"},
    {"answer with a member missing or of the wrong type (%s):%s", "text WARN",
     "the cloud's answer lacks a member or has one of the wrong type. Tell the cloud's operator"},
};

}  // namespace

std::span<const Message> StartMessages() {
  return kStart;
}

std::span<const Message> LoginMessages() {
  return kLogin;
}

}  // namespace status
