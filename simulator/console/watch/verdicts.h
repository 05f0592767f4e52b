// What brennik-status says, beside what the outside witness says.
#pragma once

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "console/watch/accounttext.h"

namespace console {

// A run of `brennik-status --json` under the gateway's clock. It may take seconds, but must end by
// itself: the end of the watch waits for it.
struct StatusRun {
  int exit = -1;     // exit status; -1: it did not run or was ended
  std::string json;  // its standard output
};

// What it said.
struct StatusSight {
  int exit = -1;      // of the verdict: 0 OK, 1 warning, 2 critical, 3 unknown; -1: no run
  std::string level;  // "ok", "warning", "critical", "unknown"
  std::string code;   // of the first finding: "BRN-…"; empty: none
  std::string text;   // the verdict in one line
  std::chrono::steady_clock::time_point at{};  // of the run
};

// Reads the output of a run.
StatusSight StatusOf(const StatusRun& run);

// "ok", "warning", "critical", "unknown".
const char* WordOf(status::Level level);

// Runs brennik-status every few seconds of real time on a thread of its own. Any thread.
class StatusWatch {
 public:
  // Without a function nothing is run.
  explicit StatusWatch(std::function<StatusRun()> runStatus);
  // Waits for a run that is under way.
  ~StatusWatch() = default;
  StatusWatch(const StatusWatch&) = delete;
  StatusWatch& operator=(const StatusWatch&) = delete;

  StatusSight Latest() const;

 private:
  void Work(const std::stop_token& stop);

  std::function<StatusRun()> m_runStatus;
  mutable std::mutex m_mutex;  // guards m_latest
  std::condition_variable_any m_stopped;
  StatusSight m_latest;
  std::jthread m_thread;  // last: it uses the others, and is stopped and joined before they go
};

// Whether both agree. They look at different moments and have different thresholds, so a
// disagreement counts when it lasts: longer than `patience` gateway seconds. One thread.
class Agreement {
 public:
  // Returns what to say about a disagreement, or the empty text while they agree.
  std::string Compare(const StatusSight& status, const Witness& witness, std::time_t now,
                      long patience);

 private:
  std::optional<std::time_t> m_since;
};

}  // namespace console
