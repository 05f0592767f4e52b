// Alarm events as the acquisition side records them and as the cloud receives them.
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "cloud/simulator.h"

namespace test {

// `count` events of the plant's discharge pressure, one a second from `first` on.
std::vector<AlarmEvent> AlarmEvents(std::time_t first, int count);
// "2024-03-07 12:03:00" of each event.
std::vector<std::string> TimesOf(const std::vector<AlarmEvent>& events);
// The column `upload` of all events of the month that `when` falls into.
std::vector<int> TakenFlags(std::time_t when);
// "alarmTime" of every alarm in the files that the cloud has accepted, in the order of the files'
// names.
std::vector<std::string> SentAlarmTimes(const cloud::Simulator& cloud);

}  // namespace test
