#include "collect/configuration.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "collect/loadwatch.h"
#include "config/channelset.h"
#include "config/snset.h"
#include "config/sysset.h"
#include "http/frames.h"
#include "service/cloudurl.h"
#include "util/paths.h"
#include "util/text.h"

namespace status {

struct LoadedConfiguration {
  CSysSet system;
  CsnSet identity;
  CChannelSet channels;
};

namespace {

// A fault of the file that the code stands for.
struct Role {
  const char* code;
  Cost cost;
  const char* result;  // what a refused file leads to
};

constexpr char kNoStart[] = "the service does not start";

Role RoleOf(const std::string& file) {
  if (file == paths::kSystemFile) return {"BRN-CONFIG-SYSTEM", Cost::kStart, kNoStart};
  if (file == paths::kIdentityFile) return {"BRN-CONFIG-IDENTITY", Cost::kStart, kNoStart};
  if (file == paths::kChannelTemplate) return {"BRN-CONFIG-CHANNELS", Cost::kStart, kNoStart};
  return {"BRN-CONFIG-DEVICE", Cost::kPart, "its devices have no points"};
}

// The text of a fault that ends the start, for a file that was loaded without a reason.
ConfigFault Unusable(const char* file) {
  const Role role = RoleOf(file);
  return {role.cost, role.code, file, 0, util::Format("cannot be used: %s", role.result)};
}

// A system file with another root is no reason for the service not to start.
ConfigFault FaultOf(const Refusal& refusal, bool systemOpened) {
  Role role = RoleOf(refusal.file);
  if (refusal.file == paths::kSystemFile && systemOpened) {
    role.result = "the service is switched off";
  }
  if (refusal.noRights) {
    role = {"BRN-CONFIG-RIGHTS", Cost::kPart, "only a user with root's rights can check it"};
  }
  return {role.cost, role.code, refusal.file, refusal.line,
          util::Format("%s; %s", refusal.reason.c_str(), role.result)};
}

// A loader that failed without a word is a fault too.
void AddUnusable(std::vector<ConfigFault>& faults, const char* file) {
  const auto isOfFile = [file](const ConfigFault& fault) { return fault.file == file; };
  if (std::none_of(faults.begin(), faults.end(), isOfFile)) faults.push_back(Unusable(file));
}

bool IsHidden(const std::vector<ConfigFault>& faults, const char* file) {
  return std::any_of(faults.begin(), faults.end(), [file](const ConfigFault& fault) {
    return fault.file == file && fault.code == "BRN-CONFIG-RIGHTS";
  });
}

void AddSystemFault(std::vector<ConfigFault>& faults, const char* code, const std::string& text) {
  faults.push_back({Cost::kStart, code, paths::kSystemFile, 0, text});
}

// The settings with which the service runs and sends nothing.
void CheckCloud(const ST_CLOUDSERVER_CONFIG_ATTR& cloud, std::vector<ConfigFault>& faults) {
  if (cloud.checked == 0) {
    AddSystemFault(faults, "BRN-CONFIG-OFF",
                   "the cloud service is switched off: `checked` is 0 or missing");
  }
  if (cloud.cloudip[0] == '\0') {
    AddSystemFault(faults, "BRN-CONFIG-CLOUD", "`cloudip` is empty: there is no cloud to send to");
  }
  if (cloud.port == 0) {
    AddSystemFault(faults, "BRN-CONFIG-CLOUD", "`port` is 0: no server can be reached");
  }
  const std::string url =
      util::Format("http://%s:%d%s%s", cloud.cloudip, cloud.port, cloud.Dir, kAlarmDataEndpoint);
  constexpr std::size_t kMost = sizeof(ST_FRAME_FILE_UPLOAD::url) - 1;
  if (url.size() > kMost) {
    AddSystemFault(faults, "BRN-CONFIG-CLOUD",
                   util::Format("the address of an upload has %zu characters and is cut at %zu: "
                                "shorten `cloudip` or `Dir`",
                                url.size(), kMost));
  }
  const std::string path = util::Format("%s/22/S20261122040000.tar.gz", paths::kRealData);
  if (strcasestr(path.c_str(), cloud.filetype) == nullptr) {
    AddSystemFault(faults, "BRN-CONFIG-FILETYPE",
                   util::Format("`FileType` %s is no part of the files' path: real data are not "
                                "sent and count as accepted",
                                cloud.filetype));
  }
}

void AddFiles(Configuration& configuration, const Place& place, const LoadWatch& watch) {
  configuration.files = {paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate,
                         paths::kVersionFile};
  for (const std::string& file : watch.Files()) {
    const auto& files = configuration.files;
    if (std::find(files.begin(), files.begin() + 4, file) == files.begin() + 4) {
      configuration.files.push_back(file);
    }
  }
  for (const std::string& file : configuration.files) {
    struct stat status {};
    if (stat(place.At(file).c_str(), &status) != 0) continue;
    configuration.newestChange = std::max(configuration.newestChange, status.st_mtime);
  }
}

void TakeValues(Configuration& configuration, bool hasChannels) {
  LoadedConfiguration& loaded = *configuration.loaded;
  configuration.cloud = *loaded.system.GetCloudConfigAttr();
  configuration.serial = loaded.identity.GetSn();
  if (!hasChannels) return;
  MAP_POINT_ATTR* points = nullptr;
  MAP_GROUP_ATTR* groups = nullptr;
  MAP_DEV_ATTR* devices = nullptr;
  loaded.channels.GetAttr(&points);
  loaded.channels.GetAttr(&groups);
  loaded.channels.GetAttr(&devices);
  configuration.points = points;
  configuration.groups = groups;
  configuration.devices = devices;
}

}  // namespace

Configuration LoadConfiguration(const Place& place) {
  Configuration configuration;
  configuration.loaded = std::make_shared<LoadedConfiguration>();
  LoadedConfiguration& loaded = *configuration.loaded;
  auto& faults = configuration.faults;

  LoadWatch watch(place);
  const bool systemOpened = loaded.system.Open(paths::kSystemFile) == 0;
  const bool systemLoaded = loaded.system.IsOpen();
  const bool identityOpened = loaded.identity.Open(paths::kIdentityFile) == 0;
  const bool channelsOpened = loaded.channels.Open(paths::kChannelTemplate) == 0;
  for (const Refusal& refusal : watch.Refusals()) faults.push_back(FaultOf(refusal, systemOpened));
  loaded.system.Close();
  loaded.identity.Close();
  loaded.channels.Close();

  if (!systemLoaded) AddUnusable(faults, paths::kSystemFile);
  if (!identityOpened) AddUnusable(faults, paths::kIdentityFile);
  if (!channelsOpened) AddUnusable(faults, paths::kChannelTemplate);
  if (watch.TookTooLong()) {
    faults.push_back({Cost::kPart, "BRN-CONFIG-DEVICE", paths::kChannelTemplate, 0,
                      "reading the device files takes too long; the last ones were not read"});
  }
  if (systemLoaded) CheckCloud(*loaded.system.GetCloudConfigAttr(), faults);
  const bool hidesSystem = IsHidden(faults, paths::kSystemFile);
  configuration.starts = (systemOpened || hidesSystem) &&
                         (identityOpened || IsHidden(faults, paths::kIdentityFile)) &&
                         (channelsOpened || IsHidden(faults, paths::kChannelTemplate));
  TakeValues(configuration, channelsOpened);
  configuration.isOn = hidesSystem || configuration.cloud.checked != 0;
  AddFiles(configuration, place, watch);
  std::stable_sort(faults.begin(), faults.end(),
                   [](const ConfigFault& a, const ConfigFault& b) { return a.cost < b.cost; });
  return configuration;
}

}  // namespace status
