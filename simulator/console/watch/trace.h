// One file's way from the snapshot to its acceptance.
#pragma once

#include <ctime>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "console/watch/account.h"
#include "console/watch/logring.h"
#include "console/watch/sending.h"
#include "console/web/router.h"

namespace console {

struct Span {
  const char* id;     // "snapshot", "pack", "recorded", "wait", "upload", "accepted"
  const char* title;  // for people
  std::time_t from = 0;
  std::optional<std::time_t> to;  // none: it lasts
  std::string text;
  bool good = true;
};

// A time in which a fault was active.
struct FaultBand {
  std::string title;
  std::time_t from = 0;
  std::optional<std::time_t> to;  // none: it still is
};
using FaultBands = std::function<std::vector<FaultBand>(std::time_t from, std::time_t to)>;

// What is known of a file. All times are gateway times.
struct TraceFacts {
  FileKey key;
  SeenFile file;
  std::vector<Arrival> arrivals;     // of this file, the oldest first
  std::vector<KeptRecord> records;   // that name it, the oldest first
  std::optional<Transfer> transfer;  // under way; none: it is not being sent
  std::time_t now = 0;
};

std::vector<Span> SpansOf(const TraceFacts& facts);
Reply ReplyTrace(const TraceFacts& facts, const FaultBands& bands);

}  // namespace console
