// The check of a configuration before a restart: everything that is wrong with it at once, the
// values that the service makes of it, what differs from the running service, and whether a
// snapshot can be packed and sent.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "collect/configuration.h"
#include "collect/facts.h"
#include "collect/place.h"
#include "judge/codes.h"
#include "judge/finding.h"

namespace status {

// One value of the configuration.
struct ConfigValue {
  std::string name;     // the attribute: "FailInterval"
  std::string written;  // as it stands in the file; empty when it is left out
  bool isWritten = false;
  std::string inForce;  // what the service makes of it
  std::string note;     // "not used: …", "off: …", or empty
  long line = 0;        // of its element; 0: unknown
};

// One snapshot of all points.
struct Snapshot {
  std::size_t channels = 0;
  std::size_t devices = 0;
  std::size_t points = 0;        // without those of the channel that is left out
  double packingSeconds = 0;     // how long the service packs it
  bool hasLiveValues = false;    // the size is that of the values published now
  std::size_t archiveBytes = 0;  // 0: unknown
};

struct ConfigCheck {
  std::vector<ConfigFault> faults;  // of the loaders and of every check, the worst first
  std::vector<ConfigValue> values;  // of sys.xml and sn.xml
  bool isCompared = false;          // with a running service
  std::optional<Evidence> started;  // its start
  Snapshot snapshot;
  Level level = Level::kOk;  // critical: the service would not start, or would send nothing
  std::string text;          // the verdict in one line
};

// Checks a loaded configuration. `running` tells what the logs say about the service that runs, and
// `segment` what is published; each is null when there is nothing to compare with.
ConfigCheck CheckConfiguration(const Place& place, const Configuration& configuration,
                               const LogFacts* running, const Segment* segment);

// The codes of faults of the configuration: "BRN-CONFIG-…".
std::span<const Code> ConfigCodes();

}  // namespace status
