// The gateway on the desk: its programs and its configuration.
#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "console/bench/clock.h"
#include "console/bench/processes.h"
#include "console/bench/scenario.h"
#include "console/main/options.h"

namespace console {

// Where the console finds what the simulators give.
struct BenchPaths {
  explicit BenchPaths(const std::string& folder)
      : clock(folder + "/clock"),
        cloudIndex(folder + "/cloud.db"),
        cloudControl(folder + "/cloud.control"),
        acquisitionControl(folder + "/acquisition.control") {}

  std::string clock;         // faketime's timestamp file
  std::string cloudIndex;    // the cloud's index
  std::string cloudControl;  // sockets that take orders
  std::string acquisitionControl;
};

inline constexpr char kUploads[] = "/tmp/cloud";  // what the cloud has accepted

// The service checks for another address whenever its clock passes a multiple of kHeartSeconds.
// The gateway's clock begins kLeadSeconds before one, as near to the real time as possible.
inline constexpr std::time_t kHeartSeconds = 600;
inline constexpr std::time_t kLeadSeconds = 150;
std::time_t StartTime(std::time_t real);

// The gateway's clock.
std::unique_ptr<Clock> MakeClock(const Options& options);

// Copies the configuration to where the service reads it, and makes the folders. The
// booted gateway has its configuration already. Throws std::filesystem::filesystem_error.
void PrepareGateway(const Options& options);

// The three programs, the service first. Without a scenario the acquisition side records and the
// cloud wants everything; a scenario names what it needs. `start` is the time that the gateway's
// clock shows first.
std::vector<Processes::Program> ProgramsOf(const Options& options, const Scenario& scenario,
                                           std::time_t start);

// The same options of acquisition side and cloud as the first lines of a scenario.
std::string StartLines(const Options& options, const Scenario& scenario);

}  // namespace console
