// What the judge says.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace status {

// How bad it is; the numbers are the exit status of monitoring plugins.
enum class Level { kOk = 0, kWarning = 1, kCritical = 2, kUnknown = 3 };

// "OK", "WARNING", "CRITICAL", "UNKNOWN".
const char* LevelName(Level level);

// One thing that is wrong.
struct Finding {
  std::string code;  // stable, see codes.h: "BRN-CARD-MISSING"
  Level level = Level::kWarning;
  std::string text;                  // one sentence, without a full stop at its end
  std::optional<std::time_t> since;  // since when
  std::string sinceReason;           // why that is unknown
  std::string evidence;              // file and line, or query, or command
  std::string remedy;                // a command, or what to do
  std::string anchor;                // of the manual: "operations.md#a-full-card"
};

enum class LinkState { kGood, kNoted, kBroken, kNotJudged };

// One link of the road from the card to the cloud.
struct Link {
  std::string name;  // "card", "mount", "free space", …
  LinkState state = LinkState::kNotJudged;
  std::string text;  // what was found, or "not judged, because …"
};

struct Verdict {
  Level level = Level::kUnknown;
  std::string text;  // one line
  std::vector<Link> road;
  std::vector<Finding> findings;  // the cause first
};

}  // namespace status
