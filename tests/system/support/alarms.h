// Alarm events on their way: written as the acquisition side would, and as the cloud received them.
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "cloud/simulator.h"

namespace test {

// `count` events of the plant's discharge pressure, one a second from `first` on.
std::vector<AlarmEvent> AlarmEvents(std::time_t first, int count);
// "2024-03-07 12:03:00" of each.
std::vector<std::string> TimesOf(const std::vector<AlarmEvent>& events);

// The column `upload` of the events of the month that `when` falls into, in their order.
std::vector<int> TakenFlags(std::time_t when);

// The alarm-data files that the cloud has accepted, in order of arrival.
std::vector<cloud::Exchange> AlarmUploads(const cloud::Simulator& cloud);
// "alarmTime" of each alarm of a document, in its order.
std::vector<std::string> AlarmTimes(const std::string& document);
// The same of all files, in the order of their names.
std::vector<std::string> SentAlarmTimes(const std::vector<cloud::Exchange>& uploads);

}  // namespace test
