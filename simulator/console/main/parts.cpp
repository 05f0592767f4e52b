#include "console/main/parts.h"

#include <chrono>

#include "console/bench/child.h"
#include "console/main/gateway.h"

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

std::vector<Arrival> ArrivalsFrom(const CloudIndex& index, long afterId) {
  std::vector<Arrival> arrivals;
  for (const IndexedUpload& upload : index.ArrivalsAfter(afterId)) {
    arrivals.push_back({.id = static_cast<long>(upload.id),
                        .kind = upload.kind,
                        .name = upload.name,
                        .accepted = upload.accepted,
                        .time = upload.time,
                        .points = static_cast<int>(upload.points)});
  }
  return arrivals;
}

FileCounts CountsOf(const Counts& counts) {
  return {.produced = counts.produced,
          .accepted = counts.accepted,
          .pending = counts.pending,
          .aged = counts.aged,
          .judgedSent = counts.judgedSent,
          .lost = counts.lost,
          .deliveredTwice = counts.deliveredTwice};
}

WatchSources Sources(const Clock& clock, const Processes& processes, Uploads& uploads,
                     const Faults& faults, const Options& options) {
  WatchSources sources;
  sources.now = [&clock] { return clock.Now(); };
  sources.arrivals = [&uploads](long afterId) { return ArrivalsFrom(uploads.Index(), afterId); };
  sources.document = [&uploads](long id) { return uploads.Index().DocumentOf(id); };
  sources.runStatus = [&clock, build = options.build] { return RunStatus(clock, build); };
  sources.processes = [&processes] { return Sights(processes); };
  sources.faults = [&faults](std::time_t from, std::time_t to) {
    std::vector<FaultBand> bands;
    for (const Faults::Band& band : faults.Bands(from, to)) {
      bands.push_back({.title = band.title, .from = band.from, .to = band.to});
    }
    return bands;
  };
  sources.alarms = [&uploads](std::uint32_t dataId, std::time_t from, std::time_t to) {
    std::vector<AlarmMark> marks;
    for (const AlarmSight& alarm : uploads.AlarmEvents().Between(dataId, from, to)) {
      marks.push_back({.time = alarm.time, .text = alarm.text, .raised = alarm.raised});
    }
    return marks;
  };
  return sources;
}

}  // namespace

Parts::Parts(Clock& clock, Processes& processes, const Options& options)
    : m_clock(clock),
      m_processes(processes),
      m_uploads(BenchPaths(options.folder).cloudIndex, BenchPaths(options.folder).cloudControl,
                [&clock] { return clock.Now(); }),
      m_actions(processes, clock, BenchPaths(options.folder).cloudControl,
                BenchPaths(options.folder).acquisitionControl),
      m_faults(m_actions),
      m_watcher(Sources(clock, processes, m_uploads, m_faults, options)) {}

void Parts::AddRoutes(Router& router) {
  m_uploads.AddRoutes(router);
  m_faults.AddRoutes(router);
  m_watcher.AddRoutes(router);
}

void Parts::WriteState(JsonWriter& json) {
  m_watcher.WriteState(json);
  m_uploads.WriteState(json);
  m_faults.WriteState(json);
}

void Parts::Look() {
  m_uploads.AlarmEvents().Follow();
  m_watcher.Look();
  m_faults.Look(LookForFaults());
}

int Parts::Accepted(const std::string& endpoint) {
  return static_cast<int>(m_uploads.Tally().Endpoints()[endpoint].accepted);
}

Seen Parts::LookForFaults() {
  const Sight sight = m_watcher.See();
  const ProcessState service = m_processes.State("service");
  Seen seen{
      .now = m_clock.Now(),
      .elapsed = m_clock.Elapsed(),
      .real = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
                  .count(),
      .total = CountsOf(sight.total),
      .kinds = {{"realdata", CountsOf(sight.realData)},
                {"alarmdata", CountsOf(sight.alarmData)},
                {"calldata", CountsOf(sight.callData)}},
      .serviceRuns = service.running,
      .serviceRestarts = service.restarts,
      .verdictCode = sight.statusCode,
      .logged = sight.logged};
  for (const auto& [name, tally] : m_uploads.Tally().Endpoints()) {
    seen.exchanges[name] = {.accepted = static_cast<long>(tally.accepted),
                            .refused = static_cast<long>(tally.refused),
                            .disturbed = static_cast<long>(tally.disturbed),
                            .address = tally.latestAddress,
                            .accepting = tally.latestAccepted};
  }
  return seen;
}

}  // namespace console
