// The simulated acquisition side as a program: publishes and records until it is told to stop.
#include <poll.h>
#include <sys/signalfd.h>

#include <array>
#include <csignal>
#include <ctime>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "acquisition/conduct.h"
#include "acquisition/options.h"
#include "acquisition/plant.h"
#include "acquisition/recorder.h"
#include "acquisition/segment.h"
#include "acquisition/signals.h"
#include "program/commandline.h"
#include "program/control.h"
#include "util/file.h"
#include "util/paths.h"
#include "util/text.h"

namespace {

constexpr char kName[] = "acquisition-simulator";

// False when a signal came before the time was up.
bool Pause(const util::Descriptor& stopSignals, std::chrono::milliseconds period) {
  pollfd waiting{stopSignals.Get(), POLLIN, 0};
  return poll(&waiting, 1, static_cast<int>(period.count())) == 0;
}

Plant RequirePlant() {
  auto plant = ReadPlant(paths::kChannelTemplate);
  if (!plant) {
    throw std::runtime_error(std::string("cannot read a channel template from ") +
                             paths::kChannelTemplate);
  }
  for (const std::string& path : plant->unreadableDefinitions) {
    std::cerr << kName << ": cannot read a device definition from " << path
              << "; its device has no points\n";
  }
  return *plant;
}

std::vector<SegmentPoint> PointsAt(const Plant& plant, std::int64_t unixSeconds) {
  std::vector<SegmentPoint> points;
  for (const auto& [dataId, point] : plant.points) {
    points.push_back({dataId, SignalValue(dataId, unixSeconds)});
  }
  return points;
}

std::vector<std::uint32_t> DataIdsOf(const Plant& plant) {
  std::vector<std::uint32_t> dataIds;
  for (const auto& [dataId, point] : plant.points) dataIds.push_back(dataId);
  return dataIds;
}

// The count comes last. Where records go, a reader may find the last one twice for a moment, but
// finds every point.
void Publish(const std::vector<SegmentPoint>& points, const Trouble& told, Segment& segment) {
  const std::vector<SegmentPoint> published = Published(points, told);
  const auto count = static_cast<std::uint32_t>(told.empty ? 0 : published.size());
  segment.Write(published);
  segment.SetCount(count);
}

// "AI 12, DI 3": how many points there are of each type.
std::string CountsByType(const Plant& plant) {
  std::array<int, kPointTypes> counts{};
  for (const auto& [dataId, point] : plant.points)
    ++counts.at(static_cast<std::size_t>(point.type));
  std::string text;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] == 0) continue;
    const std::string name(PointTypeName(static_cast<PointType>(i)));
    text += (text.empty() ? "" : ", ") + name + " " + std::to_string(counts[i]);
  }
  return text;
}

// "20 alarm events at once; an alarm event every 60 s; 429 history rows every minute": what is
// recorded.
std::string RecordingSummary(const RecordingPlan& plan, std::size_t burst, std::size_t points) {
  std::string text;
  const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : "; ") + part; };
  if (plan.burst > 0) add(util::Format("%zu alarm events at once", burst));
  if (plan.eventInterval > 0) {
    add(util::Format("an alarm event every %lld s", static_cast<long long>(plan.eventInterval)));
  }
  if (plan.history) {
    add(util::Format("%zu history rows every minute, from %lld minutes ago on", points,
                     static_cast<long long>(plan.historyMinutes)));
  }
  return text.empty() ? "recording nothing" : "recording " + text;
}

// Tells of each trouble with the card once, and of its end.
void Tell(const std::string& trouble, std::string* lastTold) {
  if (trouble == *lastTold) return;
  *lastTold = trouble;
  std::cerr << kName << ": "
            << (trouble.empty() ? "everything is recorded again" : trouble + "; trying on") << '\n';
}

int Run(const Options& options) {
  const sigset_t signals = program::BlockEndSignals();
  const util::Descriptor stopSignals(signalfd(-1, &signals, SFD_CLOEXEC));
  const Plant plant = RequirePlant();
  Recorder recorder(plant, options.recording, std::time(nullptr));
  const std::string recording =
      RecordingSummary(options.recording, recorder.EventsDue(), plant.points.size());
  Segment segment(PointsAt(plant, std::time(nullptr)), {}, StaleSegment::kReplace);
  std::string trouble;
  recorder.Follow(std::time(nullptr));
  Tell(recorder.Trouble(), &trouble);
  std::cout << util::Format("publishing %zu records (%s) under key 0x%x, every %lld ms\n",
                            plant.points.size(), CountsByType(plant).c_str(),
                            static_cast<unsigned>(kSegmentKey),
                            static_cast<long long>(options.period.count()))
            << recording << std::endl;
  Conduct conduct(DataIdsOf(plant));
  std::optional<program::ControlServer> control;
  if (!options.controlSocket.empty()) {
    control.emplace(options.controlSocket,
                    [&](const auto& order, auto& answer) { conduct.CarryOut(order, answer); });
  }
  while (Pause(stopSignals, options.period)) {
    const std::time_t now = std::time(nullptr);
    recorder.Burst(conduct.TakeBurst(), now);
    const Trouble told = conduct.Current();
    if (told.paused) continue;
    Publish(PointsAt(plant, now), told, segment);
    recorder.Follow(now);
    Tell(recorder.Trouble(), &trouble);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  return program::Run(kName, [=] {
    const Options options = ParseOptions(argc, argv);
    if (!options.help) return Run(options);
    std::cout << HelpText();
    return 0;
  });
}
