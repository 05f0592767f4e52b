// What brennik-status says, beside what the outside witness says.
#pragma once

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
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

// How the two verdicts stand to each other.
struct AgreementSight {
  std::string disagreement;  // what to say about one that lasts; empty: there is none
  std::string note;          // why they cannot be compared; empty: they can
  std::time_t since = 0;     // since when they differ, gateway time; 0: they do not
  long patience = 0;         // gateway seconds after which a difference is a disagreement
};

// What a code of brennik-status is about.
Topic TopicOf(std::string_view code);

// Whether both agree: both say that all is normal, or the witness names what brennik-status names
// first. They look at different moments and have different thresholds, so a disagreement counts
// when it lasts: longer than `patience` gateway seconds. On a folder brennik-status always says
// that nothing is mounted, and looks no further. One thread.
class Agreement {
 public:
  AgreementSight Compare(const StatusSight& status, const Witness& witness, std::time_t now,
                         long patience, bool isFolderCard);

 private:
  std::optional<std::time_t> m_since;
};

}  // namespace console
