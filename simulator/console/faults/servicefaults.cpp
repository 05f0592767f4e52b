// The service or the whole gateway ends without notice.
#include "console/faults/fault.h"

namespace console {

namespace {

constexpr long kShortSeconds = 60;

std::vector<Expectation> ComesBack() {
  return {LogsAfter("The service logs in.", "Post Authorize Info Successfully"),
          ANewFileIsAccepted(), NothingIsLost()};
}

Fault KillService() {
  Fault fault{.name = "kill-service",
              .group = "service",
              .title = "Kill the service",
              .text =
                  "SIGKILL ends the service and the tar that it may run. Its supervisor starts it "
                  "again within 2 s. "
                  "The values of the cycle under way are lost, no recorded file is.",
              .seconds = kShortSeconds};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"service"}; };
  fault.needs = {"login", "uploads", "card", "ledger", "values", "clock"};
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    actions.Kill("service");
    return [](Actions&) {};
  };
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{
        {.text = "The supervisor starts the service again.",
         .check =
             [](const Judged& judged) {
               return judged.now.serviceRestarts > judged.begun.serviceRestarts;
             }},
        LogsDuring("The service logs in.", "Post Authorize Info Successfully"),
        ANewFileIsAccepted(),
        NothingIsLost()};
  };
  return fault;
}

// The service starts last: its login is to come after the fault.
void PowerOn(Actions& actions) {
  actions.Start("acquisition");
  RequireAcquisition(actions);
  actions.Start("service");
}

Fault PowerCut() {
  Fault fault{.name = "power-cut",
              .group = "service",
              .title = "Power cut",
              .text =
                  "Service and acquisition side are killed at once and start again at the end. The "
                  "files of the cycle under way are lost. In "
                  "the sandbox the "
                  "kernel goes on, so data that were not synced are not lost; scripts/faults "
                  "powercuts tries that.",
              .seconds = kShortSeconds};
  fault.claims = [](const FaultParams&) {
    return std::set<std::string>{"service", "values", "alarms", "acquisition"};
  };
  fault.needs = {"login", "uploads", "card", "ledger", "clock"};
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    for (const char* process : {"service", "acquisition"}) {
      actions.Kill(process);
      actions.Stop(process);  // so that nobody starts it again
    }
    return PowerOn;
  };
  fault.expectations = [](const FaultParams&) {
    std::vector<Expectation> all = {
        {.text = "The service does not run.",
         .check = [](const Judged& judged) { return !judged.now.serviceRuns; }},
        StatusSays("BRN-PROCESS-DOWN")};
    for (const Expectation& each : ComesBack()) all.push_back(each);
    return all;
  };
  return fault;
}

}  // namespace

std::vector<Fault> ServiceFaults() {
  return {KillService(), PowerCut()};
}

}  // namespace console
