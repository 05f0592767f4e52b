#include "console/main/parts.h"

#include <chrono>

#include "console/bench/child.h"

namespace console {
namespace {

constexpr std::chrono::seconds kStatusEndsWithin{20};

// What brennik-status says of the gateway now, on the gateway's clock.
StatusRun RunStatus(const Clock& clock, const std::string& build) {
  Child child({build + "/status/brennik-status", "--json"}, clock.Environment());
  StatusRun run;
  const auto deadline = std::chrono::steady_clock::now() + kStatusEndsWithin;
  while (const auto line = child.ReadLine(std::chrono::duration_cast<std::chrono::milliseconds>(
             deadline - std::chrono::steady_clock::now()))) {
    run.json += *line + "\n";
  }
  if (const auto end = child.Await(std::chrono::seconds(1)); end && end->signal == 0) {
    run.exit = end->status;
  }
  child.TakeLines([&](const std::string& line) { run.json += line; });
  return run;
}

std::vector<ProcessSight> Sights(const Processes& processes) {
  std::vector<ProcessSight> sights;
  for (const ProcessState& state : processes.States()) {
    sights.push_back(
        {.name = state.name, .running = state.running, .since = state.since, .text = state.text});
  }
  return sights;
}

WatchSources Sources(const Clock& clock, const Processes& processes, const Options& options) {
  WatchSources sources;
  sources.now = [&clock] { return clock.Now(); };
  sources.runStatus = [&clock, build = options.build] { return RunStatus(clock, build); };
  sources.processes = [&processes] { return Sights(processes); };
  return sources;
}

}  // namespace

Parts::Parts(Clock& clock, Processes& processes, const Options& options)
    : m_watcher(Sources(clock, processes, options)) {}

void Parts::AddRoutes(Router& router) {
  m_watcher.AddRoutes(router);
}

void Parts::WriteState(JsonWriter& json) const {
  m_watcher.WriteState(json);
}

void Parts::Look() {
  m_watcher.Look();
}

}  // namespace console
