#include "console/main/sources.h"

#include <chrono>

#include "console/bench/child.h"

namespace console {
namespace {

constexpr std::chrono::seconds kStatusEndsWithin{20};

// What brennik-status says of the gateway now, on the gateway's clock.
StatusRun RunStatus(const Clock& clock, const std::string& build) {
  Child child({build + "/status/brennik-status", "--json"}, clock.Environment());
  const auto deadline = std::chrono::steady_clock::now() + kStatusEndsWithin;
  const auto left = [=] {
    return std::chrono::duration_cast<std::chrono::milliseconds>(deadline -
                                                                 std::chrono::steady_clock::now());
  };
  StatusRun run;
  while (const auto line = child.ReadLine(left())) run.json += *line + "\n";
  const auto end = child.Await(std::max(left(), std::chrono::milliseconds(0)));
  child.TakeLines([&](const std::string& line) { run.json += line + "\n"; });
  if (end && end->signal == 0) run.exit = end->status;
  return run;
}

std::vector<ProcessSight> ProcessesOf(const Processes& processes) {
  std::vector<ProcessSight> sights;
  for (const ProcessState& state : processes.States()) {
    sights.push_back(
        {.name = state.name, .running = state.running, .since = state.since, .text = state.text});
  }
  return sights;
}

std::vector<Arrival> ArrivalsOf(const CloudIndex& index, long after) {
  std::vector<Arrival> arrivals;
  for (const IndexedUpload& upload : index.ArrivalsAfter(after)) {
    arrivals.push_back({.id = static_cast<long>(upload.id),
                        .kind = upload.kind,
                        .name = upload.name,
                        .accepted = upload.accepted,
                        .time = upload.time,
                        .points = static_cast<int>(upload.points),
                        .verdict = upload.verdict});
  }
  return arrivals;
}

std::vector<FaultBand> BandsOf(const Faults& faults, std::time_t from, std::time_t to) {
  std::vector<FaultBand> bands;
  for (const Faults::Band& band : faults.Bands(from, to)) {
    bands.push_back({.title = band.title, .from = band.from, .to = band.to});
  }
  return bands;
}

std::vector<AlarmMark> MarksOf(Alarms& alarms, std::uint32_t dataId, std::time_t from,
                               std::time_t to) {
  std::vector<AlarmMark> marks;
  for (const AlarmSight& sight : alarms.Between(dataId, from, to)) {
    marks.push_back({.time = sight.time, .text = sight.text, .raised = sight.raised});
  }
  return marks;
}

FileCounts CountsOf(const Counts& counts) {
  return {.produced = counts.produced,
          .accepted = counts.accepted,
          .pending = counts.pending,
          .aged = counts.aged,
          .judgedSent = counts.judgedSent,
          .lost = counts.lost,
          .deliveredTwice = counts.deliveredTwice,
          .lostRecorded = counts.lostRecorded};
}

}  // namespace

WatchSources SourcesOf(const Clock& clock, const Processes& processes, Uploads& uploads,
                       const Faults& faults, const Options& options) {
  WatchSources sources;
  sources.now = [&clock] { return clock.Now(); };
  sources.arrivals = [&uploads](long after) { return ArrivalsOf(uploads.Index(), after); };
  sources.document = [&uploads](long id) { return uploads.Index().DocumentOf(id); };
  sources.runStatus = [&clock, build = options.build] { return RunStatus(clock, build); };
  sources.processes = [&processes] { return ProcessesOf(processes); };
  sources.faults = [&faults](std::time_t from, std::time_t to) {
    return BandsOf(faults, from, to);
  };
  sources.alarms = [&uploads](std::uint32_t dataId, std::time_t from, std::time_t to) {
    return MarksOf(uploads.AlarmEvents(), dataId, from, to);
  };
  return sources;
}

void TakeSight(const Sight& sight, Seen* seen) {
  seen->total = CountsOf(sight.total);
  seen->kinds = {{"realdata", CountsOf(sight.realData)},
                 {"alarmdata", CountsOf(sight.alarmData)},
                 {"calldata", CountsOf(sight.callData)}};
  seen->verdictCode = sight.statusCode;
  seen->logged = sight.logged;
}

void TakeTally(CloudTally& tally, Seen* seen) {
  for (const auto& [name, endpoint] : tally.Endpoints()) {
    seen->exchanges[name] = {.accepted = static_cast<long>(endpoint.accepted),
                             .refused = static_cast<long>(endpoint.refused),
                             .disturbed = static_cast<long>(endpoint.disturbed),
                             .address = endpoint.latestAddress,
                             .accepting = endpoint.latestAccepted};
  }
}

}  // namespace console
