// The faults of a booted gateway.
#pragma once

#include <memory>
#include <string>

#include "console/bench/clock.h"
#include "console/bench/processes.h"
#include "console/faults/benchactions.h"
#include "console/main/options.h"

namespace console {

// As on the bench, but the card is a real one: its device leaves the slot while it is mounted.
class GatewayActions : public BenchActions {
 public:
  using BenchActions::BenchActions;

  void PullCard() override;
  void PutCard() override;
  std::string WhyNot(const std::string& fault) override;
};

// What the place of this run can do. Processes and clock must outlive the object.
std::unique_ptr<Actions> MakeActions(Processes& processes, Clock& clock, const Options& options);

}  // namespace console
