#include "console/main/parts.h"

#include <chrono>

#include "console/main/gateway.h"
#include "console/main/gatewayactions.h"
#include "console/main/sources.h"

namespace console {

Parts::Parts(Clock& clock, Processes& processes, const Options& options)
    : m_clock(clock),
      m_processes(processes),
      m_uploads(BenchPaths(options.folder).cloudIndex, BenchPaths(options.folder).cloudControl,
                [&clock] { return clock.Now(); }),
      m_actions(MakeActions(processes, clock, options)),
      m_faults(*m_actions),
      m_watcher(SourcesOf(clock, processes, m_uploads, m_faults, options)) {}

void Parts::AddRoutes(Router& router) {
  m_uploads.AddRoutes(router);
  m_faults.AddRoutes(router);
  m_watcher.AddRoutes(router);
}

void Parts::WriteState(JsonWriter& json) {
  m_watcher.WriteState(json);
  m_faults.WriteState(json);
  m_uploads.WriteState(json);
}

void Parts::Look() {
  m_watcher.Look();
  m_faults.Look(SeenByFaults());
}

std::string Parts::Lasting(const std::string& path, const std::string& json) const {
  return m_faults.Lasting(path, json);
}

void Parts::EndFaults() {
  m_faults.AllOff();
}

long Parts::Accepted(const std::string& endpoint) {
  return static_cast<long>(m_uploads.Tally().Endpoints()[endpoint].accepted);
}

Seen Parts::SeenByFaults() {
  const ProcessState service = m_processes.State("service");
  Seen seen;
  seen.now = m_clock.Now();
  seen.elapsed = m_clock.Elapsed();
  seen.real =
      std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  seen.serviceRuns = service.running;
  seen.serviceRestarts = service.restarts;
  TakeSight(m_watcher.See(), &seen);
  TakeTally(m_uploads.Tally(), &seen);
  return seen;
}

}  // namespace console
