#include "judge/messagetable.h"

namespace status {
namespace {

constexpr Message kUploads[] = {
    {"start Send realdata %s to %s", "text INFO", "a snapshot is sent"},
    {"start Send alarmdata %s to %s", "text INFO", "an alarm file is sent"},
    {"start Send Recalldata %s to %s", "text INFO", "an answer to a recall is sent"},
    {"start Send file %s to %s", "text INFO", "its transfer begins"},
    {"UPloadFile recv message:%s", "text INFO",
     "the cloud's answer; only `\"status\":0` accepts the file"},
    {"UPloadFile recv error format message:%s", "text WARN",
     "the answer is no JSON object with `status`: it may be the page of a proxy, or an answer in "
     "two pieces"},
    {"Send file %s finish", "text INFO",
     "transferred with HTTP 200 or 201. The cloud's answer says whether it accepts the file"},
    {"send file %s failed: %s,httpcode =%ld", "text WARN",
     "0: no answer within 90 s, check the network. Other codes are the server's status"},
    {"Send realdata %s to %s successfully", "text INFO", "accepted or judged sent"},
    {"Send Alarmdata %s to %s successfully", "text INFO", "the same"},
    {"Send Recalldata %s to %s successfully", "text INFO", "the same"},
    {"Send realdata %s to %s failed", "text WARN",
     "the file stays pending and the round ends. The next round tries it again"},
    {"Send Alarmdata %s to %s failed", "text WARN", "the same"},
    {"Send Recalldata %s to %s failed", "text WARN",
     "it is built and sent again after the next check"},
    {"Can not find File %s when send files,judge it send OK", "text WARN",
     "somebody deleted the file; its row counts as accepted"},
    {"file %s size is 0 ,error,do not send it,judge it send OK", "text WARN",
     "the file has 0 bytes because the card was full, **or 40,960 bytes or more** (next line). Its "
     "row counts as accepted"},
    {"file %s has %lld bytes,the largest that is sent has %lld", "text WARN",
     "there are too many points for one file, or an order asks for too much history. The file "
     "stays on the card and is not sent"},
    {"can not open file %s", "text WARN",
     "the card is [read-only](operations.md#a-read-only-card) or failing"},
    {"calloc size %d buff error", "text WARN", "no memory; tried again"},
};

}  // namespace

std::span<const Message> UploadsMessages() {
  return kUploads;
}

}  // namespace status
