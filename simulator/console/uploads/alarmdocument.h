// Reads the document of an alarm-data file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace console {

// An event is found in documents and databases by this text: point, local time, flag and value with
// three decimals. "1/3:1123|2026-11-22 10:00:00|1|12.500"
std::string AlarmKey(std::uint32_t dataId, const std::string& timeMark, std::int64_t upFlag,
                     double value);

// The keys of a document's events, in their order. A text that is no such document gives those that
// stand before its fault.
std::vector<std::string> AlarmKeysIn(const std::string& document);

}  // namespace console
