#include "judge/configcheck.h"

#include <sys/stat.h>

#include <algorithm>

#include "http/http.h"
#include "judge/archivesize.h"
#include "judge/configparts.h"
#include "packfile/realdatadocument.h"
#include "util/paths.h"
#include "util/text.h"

namespace status {
namespace {

constexpr std::size_t kMostFaults = 100;
constexpr double kDeviceSeconds = 0.1;  // the service's pauses while it packs
constexpr double kChannelSeconds = 0.5;
constexpr double kArchiveSeconds = 1;
constexpr double kCloseToLimit = 0.95;

// Files that changed after the start.
void CheckChanges(const Place& place, const Configuration& configuration, const Evidence& started,
                  FaultList& faults) {
  for (const std::string& file : configuration.files) {
    struct stat status {};
    if (stat(place.At(file).c_str(), &status) != 0 || status.st_mtime <= started.time) continue;
    faults.Add(Cost::kPart, "BRN-CONFIG-RESTART", file, 0,
               "changed after the service's start: restart needed");
  }
}

void CheckRunning(const Place& place, const Configuration& configuration, const LogFacts& running,
                  FaultList& faults) {
  if (running.started) CheckChanges(place, configuration, *running.started, faults);
  if (running.isOn && *running.isOn != configuration.isOn) {
    faults.Add(Cost::kPart, "BRN-CONFIG-RESTART", paths::kSystemFile, 0,
               util::Format("the running service is switched %s: restart needed",
                            *running.isOn ? "on" : "off"));
  }
  if (!running.intervals || !configuration.isOn || (running.isOn && !*running.isOn)) return;
  const struct {
    const char* name;
    long running;
    long configured;
  } kIntervals[] = {
      {"RealDataInv", running.intervals->realDataInv, configuration.cloud.RealDataInv},
      {"AlarmDataInv", running.intervals->alarmDataInv, configuration.cloud.AlarmDataInv},
      {"FailInterval", running.intervals->checkFailInv, configuration.cloud.CheckFailInv},
      {"RecallInterval", running.intervals->recallInv, configuration.cloud.RecallInv}};
  for (const auto& interval : kIntervals) {
    if (interval.running == interval.configured) continue;
    faults.Add(Cost::kPart, "BRN-CONFIG-RESTART", paths::kSystemFile, 0,
               util::Format("%s is %ld in the running service and %ld here: restart needed",
                            interval.name, interval.running, interval.configured));
  }
}

Snapshot CountSnapshot(const MAP_GROUP_ATTR& groups) {
  Snapshot snapshot;
  snapshot.channels = groups.size();
  for (const auto& [channel, devices] : groups) {
    if (channel == kChannelLeftOut) continue;
    snapshot.devices += devices.size();
    for (const auto& [device, points] : devices) snapshot.points += points.size();
  }
  snapshot.packingSeconds = kDeviceSeconds * static_cast<double>(snapshot.devices) +
                            kChannelSeconds * static_cast<double>(snapshot.channels) +
                            kArchiveSeconds;
  return snapshot;
}

void CheckTime(const Snapshot& snapshot, long interval, FaultList& faults) {
  if (interval < 1 || snapshot.packingSeconds * 2 <= static_cast<double>(interval)) return;
  const bool isTooLong = snapshot.packingSeconds > static_cast<double>(interval);
  faults.Add(isTooLong ? Cost::kStart : Cost::kPart, "BRN-CONFIG-TIME", paths::kSystemFile, 0,
             util::Format("packing a snapshot takes %.1f s, %s of the %ld s of RealDataInv",
                          snapshot.packingSeconds,
                          isTooLong ? "more than the whole" : "more than half", interval));
}

void CheckSize(const Configuration& configuration, const std::map<std::uint32_t, double>* published,
               const Snapshot& snapshot, FaultList& faults) {
  const auto limit = static_cast<std::size_t>(kFileLimitBytes) - 1;
  if (snapshot.archiveBytes > limit) {
    faults.Add(Cost::kStart, "BRN-CONFIG-SIZE", paths::kChannelTemplate, 0,
               util::Format("the archive of %zu points has about %zu bytes, and one of more than "
                            "%zu is not sent and counts as accepted; about %zu points fit",
                            snapshot.points, snapshot.archiveBytes, limit,
                            PointsThatFit(configuration, published)));
  } else if (static_cast<double>(snapshot.archiveBytes) >
             kCloseToLimit * static_cast<double>(limit)) {
    faults.Add(Cost::kPart, "BRN-CONFIG-SIZE", paths::kChannelTemplate, 0,
               util::Format("the archive of %zu points has about %zu bytes, close to the %zu that "
                            "are sent; other values may make it larger",
                            snapshot.points, snapshot.archiveBytes, limit));
  }
}

// Points that are configured and not published stop every snapshot.
void CheckPublished(const Configuration& configuration,
                    const std::map<std::uint32_t, double>& published, FaultList& faults) {
  constexpr std::size_t kMostNamed = 5;
  std::size_t count = 0;
  std::string named;
  for (const auto& [channel, devices] : *configuration.groups) {
    if (channel == kChannelLeftOut) continue;
    for (const auto& [device, points] : devices) {
      for (const auto& [dataId, point] : points) {
        if (published.contains(dataId)) continue;
        if (++count > kMostNamed) continue;
        named += util::Format("%s%08x (%s)", count == 1 ? "" : ", ", dataId, point.Name);
      }
    }
  }
  if (count == 0) return;
  faults.Add(Cost::kStart, "BRN-SEGMENT-UNPUBLISHED", paths::kChannelTemplate, 0,
             util::Format("%zu configured point%s not published and stop%s every snapshot: %s%s",
                          count, count == 1 ? " is" : "s are", count == 1 ? "s" : "", named.c_str(),
                          count > kMostNamed ? ", …" : ""));
}

void CheckSnapshot(const Configuration& configuration, const Segment* segment, Snapshot& snapshot,
                   FaultList& faults) {
  if (configuration.groups == nullptr) return;
  snapshot = CountSnapshot(*configuration.groups);
  const std::map<std::uint32_t, double>* published = nullptr;
  if (segment != nullptr && segment->values) published = &*segment->values;
  snapshot.hasLiveValues = published != nullptr;
  snapshot.archiveBytes = ArchiveBytes(configuration, published);
  if (snapshot.points == 0) {
    faults.Add(Cost::kPart, "BRN-CONFIG-POINT", paths::kChannelTemplate, 0,
               "no point is configured: the snapshots are empty");
  }
  CheckTime(snapshot, configuration.cloud.RealDataInv, faults);
  CheckSize(configuration, published, snapshot, faults);
  if (published != nullptr) CheckPublished(configuration, *published, faults);
}

void Conclude(const Configuration& configuration, ConfigCheck& check) {
  std::stable_sort(check.faults.begin(), check.faults.end(),
                   [](const ConfigFault& a, const ConfigFault& b) { return a.cost < b.cost; });
  const auto isWorst = [](const ConfigFault& fault) { return fault.cost == Cost::kStart; };
  const auto worst = std::count_if(check.faults.begin(), check.faults.end(), isWorst);
  if (!configuration.starts || worst > 0) {
    check.level = Level::kCritical;
    check.text = configuration.starts ? "the service would start, but would not send what it should"
                                      : "the service would not start";
  } else if (!check.faults.empty()) {
    check.level = Level::kWarning;
    check.text = "the service would start and send; see the warnings above";
  } else {
    check.text = "the service would start and send";
  }
}

}  // namespace

void FaultList::Add(Cost cost, const char* code, const std::string& file, long line,
                    std::string text) {
  if (m_faults.size() >= kMostFaults && cost != Cost::kStart) {
    ++m_leftOut;
    return;
  }
  m_faults.push_back({cost, code, file, line, std::move(text)});
}

std::vector<ConfigFault> FaultList::Take() {
  if (m_leftOut > 0) {
    m_faults.push_back({Cost::kPart, "BRN-CONFIG-VALUE", paths::kChannelTemplate, 0,
                        util::Format("%zu more faults are not listed", m_leftOut)});
  }
  return std::move(m_faults);
}

ConfigCheck CheckConfiguration(const Place& place, const Configuration& configuration,
                               const LogFacts* running, const Segment* segment) {
  ConfigCheck check;
  FaultList faults;
  check.values = ReadValues(place, configuration, faults);
  if (running != nullptr) {
    check.isCompared = true;
    check.started = running->started;
    CheckRunning(place, configuration, *running, faults);
  }
  CheckSnapshot(configuration, segment, check.snapshot, faults);
  CheckChannels(place, configuration, faults);
  check.faults = configuration.faults;
  for (ConfigFault& fault : faults.Take()) check.faults.push_back(std::move(fault));
  Conclude(configuration, check);
  return check;
}

}  // namespace status
