// Times and durations for people and machines.
#pragma once

#include <ctime>
#include <string>

namespace status {

// "45 s", "2 min", "3 h 20 min", "4 days": for people. A negative one begins with "-".
std::string Duration(long seconds);
// "2026-11-22 04:00:10", local time. A time that has no date is "@" and Unix seconds.
std::string LocalText(std::time_t when);
// "2026-11-22T04:00:10+01:00": RFC 3339 with offset. Empty for a time that it cannot express.
std::string Rfc3339(std::time_t when);

}  // namespace status
