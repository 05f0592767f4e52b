#include "console/main/parts.h"

#include <chrono>
#include <mutex>
#include <utility>

#include "console/main/gateway.h"
#include "console/main/gatewayactions.h"
#include "console/main/sources.h"
#include "util/paths.h"

namespace console {
namespace {

constexpr std::chrono::seconds kTidyEvery{10};

}  // namespace

Parts::Parts(Clock& clock, Processes& processes, const EventHub& events, const Options& options)
    : m_clock(clock),
      m_processes(processes),
      m_uploads({.index = BenchPaths(options.folder).cloudIndex,
                 .files = kUploads,
                 .history = paths::kDemandHistory},
                BenchPaths(options.folder).cloudControl, [&clock] { return clock.Now(); }),
      m_actions(MakeActions(processes, clock, options)),
      m_faults(*m_actions),
      m_watcher(SourcesOf(clock, processes, m_uploads, m_faults, events, options)),
      m_faultThread([this](const std::stop_token& stop) { FollowFaults(stop); }) {}

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
  Seen seen = SeenByFaults();
  {
    const std::lock_guard lock(m_seenMutex);
    m_seen = std::move(seen);
  }
  m_seenChanged.notify_one();
  TidySometimes();
}

void Parts::FollowFaults(const std::stop_token& stop) {
  std::unique_lock lock(m_seenMutex);
  while (m_seenChanged.wait(lock, stop, [this] { return m_seen.has_value(); })) {
    const Seen seen = *std::exchange(m_seen, std::nullopt);
    lock.unlock();
    m_faults.Look(seen);
    lock.lock();
  }
}

void Parts::TidySometimes() {
  const auto now = std::chrono::steady_clock::now();
  if (now < m_nextTidying) return;
  m_nextTidying = now + kTidyEvery;
  m_uploads.Tidy();
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
