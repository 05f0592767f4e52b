// The gateway's clock is wrong, or runs at another speed.
#include <cmath>

#include "console/faults/fault.h"
#include "util/timetext.h"

namespace console {

namespace {

constexpr long kStepSeconds = 240;
constexpr long kSpeedSeconds = 120;
constexpr long kMostSpeed = 60;
constexpr double kSpeedTolerance = 0.25;
constexpr double kLeastMeasuredSeconds = 3;  // to measure a speed

std::string StampOf(std::time_t time) {
  const auto local = util::LocalTime(time);
  return local ? util::Stamp(*local) : std::string();
}

// The newest files are of the new time when their stamps are beyond its middle.
bool HasFileBeyond(const Seen& seen, std::time_t time) {
  const auto found = seen.exchanges.find("realdata");
  return found != seen.exchanges.end() && found->second.accepting > "S" + StampOf(time);
}

Expectation StatusSeesTheFuture(Phase phase) {
  Expectation expectation = StatusSays("BRN-CLOCK-BACK");
  expectation.text =
      "brennik-status says BRN-CLOCK-BACK, because there are files with stamps of the future.";
  expectation.phase = phase;
  return expectation;
}

std::vector<Expectation> StepExpectations(long seconds) {
  if (seconds < 0)
    return {StatusSeesTheFuture(Phase::kDuring), ANewFileIsAccepted(), NothingIsLost()};
  return {{.text = "The cloud accepts a file with a stamp of the new time.",
           .check =
               [seconds](const Judged& judged) {
                 return HasFileBeyond(judged.now, judged.begun.now + seconds / 2);
               }},
          StatusSeesTheFuture(Phase::kAfter),
          ANewFileIsAccepted(),
          NothingIsLost()};
}

Fault StepClock() {
  Fault fault{.name = "step-clock",
              .group = "clock",
              .title = "Step the clock",
              .text =
                  "The gateway's clock is set to another time, and at the end back again. The "
                  "cycles that are "
                  "jumped over have no file. When a time comes again, its files get names that "
                  "were there already; "
                  "those that the cloud has accepted are not sent again.",
              .params = {{.name = "seconds",
                          .title = "Seconds ahead",
                          .kind = "choice",
                          .choices = {"3600", "-3600", "86400", "-86400"},
                          .standard = "3600"}},
              .seconds = kStepSeconds};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"clock"}; };
  fault.needs = {"login", "uploads", "service", "card", "ledger", "values", "alarms", "speed"};
  fault.begin = [](Actions& actions, const FaultParams& params) -> Undo {
    const long seconds = NumberOf(params, "seconds");
    actions.Step(seconds);
    return [seconds](Actions& bench) { bench.Step(-seconds); };
  };
  fault.expectations = [](const FaultParams& params) {
    return StepExpectations(NumberOf(params, "seconds"));
  };
  fault.atRandom = false;  // later files of the same names would spoil what other faults expect
  return fault;
}

bool RunsAt(double factor, const Seen& now, const Seen& since) {
  const double real = now.real - since.real;
  if (real < kLeastMeasuredSeconds) return false;
  return std::abs((now.elapsed - since.elapsed) / real - factor) <= factor * kSpeedTolerance;
}

Fault Speed() {
  Fault fault{
      .name = "speed",
      .group = "clock",
      .title = "Speed",
      .text = "The gateway's clock runs at another speed. Waits for the network keep the real one.",
      .params = {{.name = "factor",
                  .title = "Times as fast",
                  .min = 1,
                  .max = kMostSpeed,
                  .standard = "30"}},
      .seconds = kSpeedSeconds};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"speed"}; };
  fault.needs = {"login", "uploads", "service", "card", "ledger", "values"};
  fault.begin = [](Actions& actions, const FaultParams& params) -> Undo {
    const double before = actions.Speed();
    actions.SetSpeed(static_cast<double>(NumberOf(params, "factor")));
    return [before](Actions& bench) { bench.SetSpeed(before); };
  };
  fault.expectations = [](const FaultParams& params) {
    const auto factor = static_cast<double>(NumberOf(params, "factor"));
    return std::vector<Expectation>{
        {.text =
             "The gateway's clock runs " + params.at("factor") + " times as fast as the real one.",
         .check =
             [factor](const Judged& judged) { return RunsAt(factor, judged.now, judged.begun); }},
        ANewFileIsAccepted(),
        NothingIsLost()};
  };
  return fault;
}

}  // namespace

std::vector<Fault> ClockFaults() {
  return {StepClock(), Speed()};
}

}  // namespace console
