#include "judge/messagetable.h"

namespace status {
namespace {

constexpr Message kSnapshots[] = {
    {"CreateRealDataJsonFile %s Success", "text INFO",
     "a snapshot is packed and will be recorded next"},
    {"Brennik Get RealData error", "database ERROR",
     "there are no live values: the acquisition side does not run, publishes nothing, or its "
     "segment is inconsistent. This cycle is lost"},
    {"CreateRealDataJsonFile %s Error, can't find id: %08x", "text INFO",
     "this point is configured but not published. No file is made until configuration and "
     "acquisition side agree"},
    {"CreateRealDataJsonFile %s failed,errno %d", "text WARN",
     "28: the text did not fit, the card is full. Other numbers are the status of `tar`: 2, the "
     "card is full; 127, there is no `tar`; 0, no memory to start it. It is tried three times"},
    {"try %d times,but CreateRealDataJsonFile %s failed", "text WARN",
     "given up; this cycle is lost. A complete `.dat` stays on the card"},
    {"ledger: %s fails, %zu rows wait in memory: %s", "text WARN",
     "recording or removing old rows fails, with the reason: a [full "
     "card](operations.md#a-full-card) or [another program's lock](operations.md#the-ledger). It "
     "is logged once. The rows that wait are recorded when that is over, if the service still "
     "runs"},
    {"ledger: %zu of the oldest rows in memory are given up", "text WARN",
     "more than 10,000 rows wait. These files are never sent and stay on the card"},
    {"ledger: recording and ageing succeed again", "text INFO",
     "the failure is over; the rows that waited are recorded"},
    {"Brennik Create RealData File error", "database ERROR",
     "follows the line before. Without one: the clock is beyond the calendar"},
};

constexpr Message kAlarms[] = {
    {"CreateAlarmDataJsonFile %s Success", "text INFO", "up to 20 events are packed"},
    {"CreateAlarmDataJsonFile %s failed,errno %d", "text WARN", "as for snapshots"},
    {"try %d times,but CreateAlarmDataJsonFile %s failed", "text WARN",
     "given up. After errno 28 the next cycle tries these events again. Otherwise keep the `.dat`: "
     "it holds events that are marked as taken and do not come again"},
    {"%zu alarm events are given up, the card was full for days", "text WARN",
     "events that waited in memory are four days old now. They are lost"},
    {"CreateAlarmDataJsonFile in %s failed, no local time", "text WARN",
     "the clock is beyond the calendar. These events are lost. Set the clock"},
    {"Can not find DataId %08x's Attr", "stdout",
     "an alarm of a point that is not configured. It is sent with the name of the event before it"},
};

constexpr Message kRecalls[] = {
    {"Recall Receive Response:\\n%s", "text INFO",
     "the cloud's orders; usually there is none. If the answer comes in pieces, the first 64 are "
     "logged"},
    {"Recall answer of more than %zu bytes refused", "text WARN",
     "the order is too large. Tell the cloud's operator"},
    {"Recall receive the same seq: %d==%d times:%d, Will recreate file after %d times", "text WARN",
     "the cloud repeats an order that was answered. From the third time on it is answered again"},
    {"CreateRecallDataJsonFile %s Success", "text INFO", "the answer is packed"},
    {"CreateRecallDataJsonFile %s failed,errno %d", "text WARN",
     "as for snapshots; tried again at the next check"},
    {"Recall %d has more than %zu bytes or %zu values of a point,judge it send OK", "text WARN",
     "the order asks for more than one file can hold. No file is made, and the order counts as "
     "answered. Tell the cloud's operator to order less at once"},
    {"Brennik Create Recall Data File error", "database ERROR",
     "follows two lines after the cause. Without one: the clock is beyond the calendar"},
};

}  // namespace

std::span<const Message> SnapshotsMessages() {
  return kSnapshots;
}

std::span<const Message> AlarmsMessages() {
  return kAlarms;
}

std::span<const Message> RecallsMessages() {
  return kRecalls;
}

}  // namespace status
