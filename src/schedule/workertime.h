// The workers' clock. Cycles fall on boundaries: multiples of the interval, counted from the epoch.
#pragma once

#include <cstdint>
#include <ctime>

// Sleeps to the next boundary; a whole interval when now is one.
void SleepToBoundary(std::int32_t intervalSeconds);

// Gives the boundary nearest to now, and sleeps to it first when it lies ahead. An exact half goes
// to the one ahead.
std::time_t AwaitNearestBoundary(std::int32_t intervalSeconds);

// Sleeps the second between a cycle that failed, or found nothing, and the sleep to the boundary.
void PauseOneSecond();
