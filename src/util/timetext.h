// Time as text: the one place where broken-down times become the forms that files and logs use.
#pragma once

#include <ctime>
#include <optional>
#include <string>

namespace util {

// Local broken-down time of a Unix time, in the zone that the machine has at the moment of the
// call; nothing when it cannot be converted. Any thread may call it.
std::optional<std::tm> LocalTime(std::time_t when);

// 14 digits, "YYYYMMDDhhmmss": the stamp in data-file names and in the ledger's ageing cut-off.
std::string Stamp(const std::tm& time);

// "YYYY-MM-DD hh:mm:ss": the time mark inside data files.
std::string TimeMark(const std::tm& time);

// "YYYY-MM-DD" and "hh:mm:ss": the two time fields of a log record.
std::string DateText(const std::tm& time);
std::string ClockText(const std::tm& time);

// Read the fields of "YYYY-MM-DD" and "hh:mm:ss" into their members of `time`, as sscanf reads
// "%4d-%02d-%02d" and "%02d:%02d:%02d": from the first field that is no number on, they count as 0.
void ReadDate(const char* text, std::tm* time);
void ReadClock(const char* text, std::tm* time);

// Broken-down time of a time mark, read like a date, a blank and a clock.
std::tm ReadTimeMark(const char* text);

// Unix time of a local broken-down time, whether in daylight saving or not.
std::time_t UnixTime(std::tm time);

}  // namespace util
