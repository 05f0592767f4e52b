// Plays a scenario.
#pragma once

#include <chrono>
#include <ctime>
#include <functional>
#include <string>

#include "console/bench/scenario.h"
#include "console/web/router.h"

namespace console {

// What the player of a scenario works with.
struct PlayTools {
  std::function<Reply(const std::string& path, const std::string& json)> post;
  std::function<std::string()> state;  // the JSON text of /api/state
  std::function<std::time_t()> now;    // gateway time
  std::function<double()> elapsed;     // gateway seconds; a step of the clock does not count
  std::function<void(const std::string& text)> say;
  std::function<void(const std::string& kind)> show;  // shows the newest accepted file
  // Waits; false when the scenario is to be given up.
  std::function<bool(std::chrono::milliseconds)> pause;
};

// Plays the steps one after the other. False at the first one that fails, after a line that says
// which and why, and when it is given up.
bool Play(const Scenario& scenario, const PlayTools& tools);

}  // namespace console
