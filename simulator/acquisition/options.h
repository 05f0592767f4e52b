// Owns the command line of the acquisition simulator.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "acquisition/publisher.h"
#include "acquisition/recorder.h"
#include "acquisition/segment.h"
#include "util/paths.h"

inline constexpr std::chrono::milliseconds kLongestPeriod = std::chrono::hours(1);
inline constexpr std::int64_t kLongestEventInterval = 86'400;  // seconds
inline constexpr std::int64_t kLargestBurst = 1000;            // events
inline constexpr std::int64_t kLongestHistory = 10'080;        // minutes before the start, a week
inline constexpr std::int64_t kLargestDistance = 1440;         // minutes between two faults

struct Options {
  std::string channelTemplate = paths::kChannelTemplate;
  std::chrono::milliseconds period{1000};  // between two refreshes, 1 to kLongestPeriod
  PublishMode mode = PublishMode::kAll;
  StaleSegment stale = StaleSegment::kTakeOver;
  RecordingPlan recording;
  bool help = false;
};

// What the help prints.
std::string HelpText();

// Reads the arguments that follow the program's name; a value follows its option as the next
// argument or after "=". Nothing when they make no sense: then `error` says why.
std::optional<Options> ParseOptions(const std::vector<std::string_view>& arguments,
                                    std::string* error);
