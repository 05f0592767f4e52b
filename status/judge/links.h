// The links of the road, in its order. Each looks at the facts and says what it has found.
#pragma once

#include <optional>
#include <string>

#include "judge/road.h"
#include "judge/verdict.h"

namespace status {

// How often files are made and sent, in seconds.
struct Intervals {
  long realData;  // below 1: off
  long fail;
};
// Those in force, or those of the configuration, or the service's defaults.
Intervals IntervalsOf(const Facts& facts);

// What the links judge by.
struct Judging {
  const Facts& facts;
  Thresholds thresholds;  // those in force
  Results results;
  Road& road;

  bool IsRunning() const { return facts.process && *facts.process != 0; }
  // Whether the service has started a moment ago.
  bool IsWithinGrace() const {
    return facts.logs.started && facts.now - facts.logs.started->time < thresholds.graceSeconds;
  }
};

// On the gateway (gatewaylinks.cpp).
void JudgeCard(Judging& judging, const std::string& link);
void JudgeMount(Judging& judging, const std::string& link);
void JudgeSpace(Judging& judging, const std::string& link);
void JudgeConfiguration(Judging& judging, const std::string& link);
void JudgeProcess(Judging& judging, const std::string& link);
void JudgeSwitch(Judging& judging, const std::string& link);
void JudgeSegment(Judging& judging, const std::string& link);

// From the packed file to the cloud (filelinks.cpp).
void JudgePacked(Judging& judging, const std::string& link);
void JudgeLedger(Judging& judging, const std::string& link);
void JudgeLogin(Judging& judging, const std::string& link);
void JudgeAddress(Judging& judging, const std::string& link);
void JudgeAccepted(Judging& judging, const std::string& link);

// The time and the place of a record, if there is one.
std::optional<std::time_t> TimeOf(const std::optional<Evidence>& evidence);
std::string WhereOf(const std::optional<Evidence>& evidence);

}  // namespace status
