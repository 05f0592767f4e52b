// Times as text, in the forms that files and logs use, and back.
#pragma once

#include <ctime>
#include <optional>
#include <string>

namespace util {

// The local time of a Unix time, in the time zone that the machine has now. Nothing when it cannot
// be converted. Any thread may call it.
std::optional<std::tm> LocalTime(std::time_t when);

// Asks the system for its time zone, which takes a system call.
void UpdateZone();

// LocalTime in the zone of the last update, for many times in a row. Any thread may update the zone
// meanwhile.
std::optional<std::tm> TimeInZone(std::time_t when);

// 14 digits, "YYYYMMDDhhmmss", of a year from 0 on: the stamp in data-file names and the ageing.
std::string Stamp(const std::tm& time);

// "YYYY-MM-DD hh:mm:ss": the time mark inside data files, of a year from 0 on.
std::string TimeMark(const std::tm& time);

// "YYYY-MM-DD" and "hh:mm:ss": the two time fields of a log record.
std::string DateText(const std::tm& time);
std::string ClockText(const std::tm& time);

// Read "YYYY-MM-DD" and "hh:mm:ss" into the members of `time`, as sscanf reads "%4d-%02d-%02d" and
// "%02d:%02d:%02d". The first field that is no number, and all after it, are 0.
void ReadDate(const char* text, std::tm* time);
void ReadClock(const char* text, std::tm* time);

// The broken-down time of a time mark, read in the same way.
std::tm ReadTimeMark(const char* text);

// The Unix time of a local time. The time zone decides whether it is daylight saving time.
std::time_t UnixTime(std::tm time);

}  // namespace util
