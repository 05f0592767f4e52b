// What stands between libcurl's bytes and the answer parsers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

// A terminated copy of exactly the bytes that an answer callback received.
std::string ReceivedText(const char* data, std::size_t size, std::size_t count);

// Runs a parser over an answer. The parser throws for a member of the wrong type, and for a missing
// one that it does not look for first: then a WARN line tells the answer and the result is -1.
// Nothing is thrown further, least of all through libcurl.
int ParseGuarded(const std::string& answer, const std::function<int()>& parse);

// Sets a frame's success flag through the pointer that an answer callback receives; the flag need
// not be aligned.
void SetSuccessFlag(void* flag, std::int32_t value);

// What an answer callback hands back to libcurl for a verdict of 0 or -1.
inline constexpr std::size_t kVerdictAccepted = 0;
inline constexpr auto kVerdictRejected = static_cast<std::size_t>(-1);
