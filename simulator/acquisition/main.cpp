// The acquisition side on a desk, as a program: publishes a plant until it is told to stop.
#include <poll.h>
#include <sys/signalfd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <utility>

#include "acquisition/options.h"
#include "acquisition/plant.h"
#include "acquisition/publisher.h"
#include "acquisition/recorder.h"
#include "util/file.h"
#include "util/text.h"

namespace {

constexpr int kBadCommandLine = 2;

void PrintError(const std::string& text) {
  std::fprintf(stderr, "acquisition-simulator: %s\n", text.c_str());
}

// The signals that end the program, as something to wait for. They are blocked from here on, in
// this thread and in those that it starts.
util::Descriptor StopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return util::Descriptor(signalfd(-1, &signals, SFD_CLOEXEC));
}

// False when a signal came before the time was up.
bool Pause(const util::Descriptor& stopSignals, std::chrono::milliseconds period) {
  pollfd waiting{stopSignals.Get(), POLLIN, 0};
  return poll(&waiting, 1, static_cast<int>(period.count())) == 0;
}

// "AI 12, DI 3": the records by type, without the types that do not occur.
std::string CountsByType(const std::vector<SegmentPoint>& points) {
  std::array<int, kPointTypes> counts{};
  int others = 0;
  for (const SegmentPoint& point : points) {
    const auto type = TypeOf(point.dataId);
    ++(type ? counts[static_cast<std::size_t>(*type)] : others);
  }
  std::string text;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] == 0) continue;
    const std::string name(PointTypeName(static_cast<PointType>(i)));
    text += util::Format("%s%s %d", text.empty() ? "" : ", ", name.c_str(), counts[i]);
  }
  if (others > 0) text += util::Format("%sother %d", text.empty() ? "" : ", ", others);
  return text;
}

std::string Summary(const Plant& plant, const Options& options) {
  if (options.mode == PublishMode::kAbsent) return "publishing no segment";
  const auto points = PublishedPoints(plant, options.mode, 0);
  const std::string counts = points.empty() ? "" : " (" + CountsByType(points) + ")";
  return util::Format("publishing %zu records%s under key 0x%x, every %lld ms", points.size(),
                      counts.c_str(), static_cast<unsigned>(kSegmentKey),
                      static_cast<long long>(options.period.count()));
}

// "20 alarm events at once; an alarm event every 60 s; 429 history rows every minute": what will be
// recorded, the parts that do not apply left out.
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

// What it is for: telling of each trouble with the card once, and of its end.
// Threads: one. Owns: the latest trouble.
class TroubleReport {
 public:
  void Tell(const std::string& trouble) {
    if (trouble == m_trouble) return;
    m_trouble = trouble;
    PrintError(trouble.empty() ? "everything is recorded again" : trouble + "; trying on");
  }

 private:
  std::string m_trouble;
};

int Run(const Options& options) {
  auto plant = ReadPlant(options.channelTemplate.c_str());
  if (!plant) {
    PrintError("cannot read a channel template from " + options.channelTemplate);
    return EXIT_FAILURE;
  }
  for (const std::string& path : plant->unreadableDefinitions) {
    PrintError("cannot read a device definition from " + path + "; its device has no points");
  }
  const util::Descriptor stopSignals = StopSignals();
  const std::string summary = Summary(*plant, options);
  Recorder recorder(*plant, options.recording, std::time(nullptr));
  const std::string recordingSummary =
      RecordingSummary(options.recording, recorder.EventsDue(), plant->points.size());
  Publisher publisher(std::move(*plant), options.mode, options.stale);
  TroubleReport report;
  recorder.Follow(std::time(nullptr));
  report.Tell(recorder.Trouble());
  std::printf("%s\n%s\n", summary.c_str(), recordingSummary.c_str());
  std::fflush(stdout);
  while (Pause(stopSignals, options.period)) {
    publisher.Refresh(std::time(nullptr));
    recorder.Follow(std::time(nullptr));
    report.Tell(recorder.Trouble());
  }
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) try {
  std::string error;
  const auto options = ParseOptions({argv + 1, argv + argc}, &error);
  if (!options) {
    PrintError(error + "; --help shows what there is");
    return kBadCommandLine;
  }
  if (options->help) {
    std::fputs(HelpText().c_str(), stdout);
    return EXIT_SUCCESS;
  }
  return Run(*options);
} catch (const std::exception& failure) {
  PrintError(failure.what());
  return EXIT_FAILURE;
}
