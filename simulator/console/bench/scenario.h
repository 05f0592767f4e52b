// Scenario files: what happens on the bench, and what must come of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/bench/condition.h"

namespace console {

// One line of a scenario.
struct Step {
  enum class Kind { kSpeed, kPost, kWait, kExpect, kPause, kShow, kSay };

  int line = 0;  // in the file, from 1
  Kind kind = Kind::kSay;
  std::string text{};                    // say: the text; post: the body; show: the kind of file
  std::string path{};                    // post
  double number = 0;                     // speed; wait and pause: gateway seconds
  std::optional<Condition> condition{};  // wait, expect
};

// A whole file.
struct Scenario {
  std::vector<std::string> acquisition{};  // options of the acquisition side
  std::vector<std::string> cloud{};        // options of the cloud
  std::vector<Step> steps{};
};

// Reads the text of a scenario file, whose form simulator/scenarios/README.md describes. Throws
// std::invalid_argument with the number of the line that makes no sense.
Scenario ParseScenario(const std::string& text);

}  // namespace console
