// The workers' clock: cycles fall on multiples of the interval, counted from the epoch.
#pragma once

#include <cstdint>
#include <ctime>

// Sleeps to the next boundary; a whole interval when now is one.
void SleepToBoundary(std::int32_t intervalSeconds);

// Day of the month in local time: the directory of a file stamped `when`.
int DayOfMonth(std::time_t when);
