#include "console/main/gateway.h"

#include <utime.h>

#include <csignal>
#include <filesystem>
#include <iomanip>
#include <sstream>

#include "collect/machine.h"
#include "console/bench/placeholders.h"
#include "util/paths.h"

namespace console {
namespace {

namespace fs = std::filesystem;

constexpr char kConfiguration[] = "/tessel/Config";
constexpr char kOrder[] =
    "7:1/1:0001,0002@<40 minutes ago>:00..<10 minutes ago>:00;"
    "2/11:0001@<40 minutes ago>:00..<10 minutes ago>:00+1";  // the first check may be too early

// The configuration is older than the service's start, also on the gateway's clock.
void MakeOlder(const std::string& folder) {
  constexpr std::time_t kAge = 86400;
  const std::time_t written = std::time(nullptr) - kAge;
  const utimbuf times{.actime = written, .modtime = written};
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    utime(entry.path().c_str(), &times);
  }
}

using Words = std::vector<std::string>;

Words AcquisitionWords(const Options& options, const Scenario& scenario) {
  if (!options.scenario.empty()) return scenario.acquisition;
  return {"--event-interval=60", "--history-minutes=60"};
}

Words CloudWords(const Options& options, const Scenario& scenario) {
  if (!options.scenario.empty()) return scenario.cloud;
  return {"--order", kOrder};
}

// Double quotes hold a word with spaces together.
std::string StartLine(const std::string& verb, const Words& words) {
  if (words.empty()) return {};
  std::ostringstream line;
  line << verb;
  for (const std::string& word : words) {
    line << ' ';
    const bool isPlain = !word.empty() && word.find_first_of(" \t\"\\") == std::string::npos;
    isPlain ? line << word : line << std::quoted(word);
  }
  return line.str() + "\n";
}

void Append(std::vector<std::string>* command, const std::vector<std::string>& more,
            std::time_t start) {
  for (const std::string& word : more) command->push_back(WithTimes(word, start));
}

// Looks for the service only when it is not where it was: a look at all processes takes a while.
class ServiceFinder {
 public:
  pid_t operator()() {
    if (m_known > 0 && kill(m_known, 0) == 0) return m_known;
    const auto pid = status::FindService(status::Place{});
    m_known = pid ? *pid : 0;
    return m_known;
  }

 private:
  pid_t m_known = 0;
};

Processes::Program ServiceOf(const Options& options) {
  if (options.onGateway) return {.name = "service", .find = ServiceFinder()};
  return {.name = "service", .command = {options.build + "/src/main/brennik"}, .restart = true};
}

}  // namespace

std::time_t StartTime(std::time_t real) {
  return real - real % kHeartSeconds + kHeartSeconds - kLeadSeconds;
}

std::unique_ptr<Clock> MakeClock(const Options& options) {
  if (options.onGateway) return std::make_unique<Clock>();
  return std::make_unique<Clock>(BenchPaths(options.folder).clock, StartTime(std::time(nullptr)),
                                 options.speed);
}

void PrepareGateway(const Options& options) {
  fs::create_directories(options.folder);
  if (options.onGateway) return;
  fs::create_directories(kConfiguration);
  fs::copy(options.plant, kConfiguration,
           fs::copy_options::recursive | fs::copy_options::overwrite_existing);
  MakeOlder(kConfiguration);
}

std::vector<Processes::Program> ProgramsOf(const Options& options, const Scenario& scenario,
                                           std::time_t start) {
  const BenchPaths paths(options.folder);
  std::vector<std::string> acquisition = {options.build +
                                          "/simulator/acquisition/acquisition-simulator"};
  Append(&acquisition, AcquisitionWords(options, scenario), start);
  acquisition.push_back("--control=" + paths.acquisitionControl);
  std::vector<std::string> cloud = {options.build + "/simulator/cloud/cloud-simulator",
                                    "--port=8080",
                                    "--prefix=/cloud",
                                    "--sn=TS20240117",
                                    std::string("--uploads=") + kUploads,
                                    "--index=" + paths.cloudIndex,
                                    "--control=" + paths.cloudControl};
  Append(&cloud, CloudWords(options, scenario), start);
  // On the page a redirect is one of the faults.
  if (options.scenario.empty() && !options.hasPage) cloud.emplace_back("--redirect=127.0.0.2:8080");
  if (options.cycles > 0) cloud.push_back("--exit-after=" + std::to_string(options.cycles));
  return {ServiceOf(options),
          {.name = "acquisition", .command = acquisition},
          {.name = "cloud", .command = cloud}};
}

std::string StartLines(const Options& options, const Scenario& scenario) {
  return StartLine("start", AcquisitionWords(options, scenario)) +
         StartLine("cloud", CloudWords(options, scenario));
}

}  // namespace console
