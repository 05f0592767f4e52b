// When messages were logged, in the service's own time.
#pragma once

#include <string>
#include <vector>

namespace test {

// The times of day, "12:05:00", of all records whose message begins with `beginning`, oldest first.
std::vector<std::string> TextLogTimes(const std::string& beginning);
std::vector<std::string> DatabaseLogTimes(const std::string& beginning);

// The bytes of a day file of the text log: DayFile("0307").
std::string DayFile(const std::string& monthAndDay);

}  // namespace test
