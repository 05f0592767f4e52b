// The configuration as the service would load it, and what is wrong with it.
#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "collect/place.h"
#include "config/channelrecords.h"
#include "config/sysrecords.h"

namespace status {

// What one fault of the configuration costs.
enum class Cost {
  kStart,  // the service does not start, or sends nothing
  kPart,   // a device, a point or a setting is not what the author meant
};

struct ConfigFault {
  Cost cost;
  std::string code;  // "BRN-CONFIG-…"
  std::string file;  // the gateway's own path
  long line;         // 0: unknown
  std::string text;  // one sentence
};

// The service's own objects, loaded.
struct LoadedConfiguration;

struct Configuration {
  bool starts = false;  // the service would start with it
  bool isOn = false;    // and would work: `checked` is not 0
  ST_CLOUDSERVER_CONFIG_ATTR cloud{};
  std::string serial;
  const MAP_POINT_ATTR* points = nullptr;  // all points, by DataId; null without a usable template
  const MAP_GROUP_ATTR* groups = nullptr;  // the same by channel and device
  const MAP_DEV_ATTR* devices = nullptr;
  std::vector<ConfigFault> faults;  // everything at once, the worst first
  std::vector<std::string> files;   // the gateway's own paths of all files that belong to it
  std::time_t newestChange = 0;     // the newest modification of these files; 0: none is there
  std::shared_ptr<LoadedConfiguration> loaded;  // owns what the pointers above lead to
};

// Loads the configuration with the service's own loaders. They log nothing, pause nowhere and print
// nothing here. A file that this user may not read is a fault of its own: nothing is known of it,
// so `starts` does not depend on it.
Configuration LoadConfiguration(const Place& place);

}  // namespace status
