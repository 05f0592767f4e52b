// The tree of data files: below realdata and below alarmdata, one directory for each day of the
// month. A file goes into the directory of its stamp's day.
#pragma once

#include <string>
#include <string_view>

// The directory of a day below `root`, which is paths::kRealData or paths::kAlarmData.
std::string DayDirectory(std::string_view root, int day);

// Makes every missing directory along `path`, mode 0755, as CHistoryData::Mkdirs does.
int MakeDirectories(const char* path);

// Makes the directories of all days, day by day: real data, then alarms. Those that are there stay
// as they are; one that cannot be made does not keep the others from being made. Any thread.
void MakeDayDirectories();
