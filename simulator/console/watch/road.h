// The road of a value, stage by stage, and the workers on it.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "console/watch/account.h"
#include "console/watch/scene.h"

namespace console {

struct Stage {
  const char* id;     // "acquisition", "file", "ledger", "upload", "cloud"
  const char* title;  // for people
  const char* state;  // "good", "waiting", "broken", "off"
  long count;
  const char* unit;  // "points", "files"
  std::string text;  // one sentence without a full stop
};

struct Login {
  bool isDone = false;
  std::optional<std::time_t> since;
  std::string text;
};

struct Worker {
  const char* id;  // "realdata", "alarms", "upload", "recall-check", "address-check"
  const char* title;
  long intervalSeconds;             // below 1: off
  std::optional<std::time_t> next;  // boundary; none: off, not running, or unknown
};

struct RoadSight {
  std::vector<Stage> stages;
  Login login;
  std::string address;  // host and port in use; empty: unknown
  std::optional<std::time_t> heartbeat;
  std::vector<Worker> workers;
};

RoadSight RoadOf(const Account& account, const Scene& scene);

}  // namespace console
