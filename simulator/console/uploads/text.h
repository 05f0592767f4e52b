// Texts from outside, made safe for JSON, for a terminal and for a file name.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "console/web/router.h"
#include "console/web/utf8.h"

namespace console {

// A member with a text that may hold anything.
void WriteMember(JsonWriter& json, const char* key, std::string_view text);
void WriteMember(JsonWriter& json, const char* key, std::int64_t number);
void WriteMember(JsonWriter& json, const char* key, std::optional<std::int64_t> number);

// One word for a POSIX shell with $'…', which keeps control characters away from the terminal.
std::string ShellWord(std::string_view text);

// A name under which a browser may save: letters, digits, dot, dash and underscore, 80 at most.
std::string SafeFileName(std::string_view name, const std::string& otherwise);

// The local time of 14 digits; nothing for any other text.
std::optional<std::time_t> TimeOfStamp(const std::string& digits);

// A whole number as a query parameter has it; nothing for any other text.
std::optional<std::int64_t> NumberIn(const std::string& text);

}  // namespace console
