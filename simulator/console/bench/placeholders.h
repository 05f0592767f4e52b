// Times in a scenario file that count back from the moment in which they are played.
#pragma once

#include <ctime>
#include <string>

namespace console {

// The text with every "<40 minutes ago>" replaced by that gateway time, "2026-11-22 10:00".
std::string WithTimes(const std::string& text, std::time_t now);
// The reverse, for a recording: every quoted "2026-11-22 10:00" of the last day becomes
// "<40 minutes ago>".
std::string WithoutTimes(const std::string& json, std::time_t now);

}  // namespace console
