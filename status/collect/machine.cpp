#include "collect/machine.h"

#include <dirent.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "datasource/realdata.h"
#include "util/directory.h"
#include "util/file.h"
#include "util/paths.h"
#include "util/text.h"

namespace status {
namespace {

constexpr char kNoCard[] = "a copy has no card";
constexpr char kNoProcesses[] = "a copy has no processes";
constexpr char kNoSegment[] = "a copy has no shared memory";
constexpr char kNotMounted[] = "nothing is mounted";

constexpr std::string_view kServiceName = "brennik";
constexpr std::size_t kMountPointField = 4;  // of a line of mountinfo, counted from 0
constexpr std::size_t kMountsBytes = 262'144;
constexpr std::size_t kStatBytes = 128;  // number, name and state of a process stand first

// The start of a file of /proc, whose size nobody knows before. Nothing when it cannot be read.
std::optional<std::string> StartOf(const std::string& path, std::size_t bytes) {
  const util::File file(std::fopen(path.c_str(), "re"));
  if (!file) return std::nullopt;
  std::string start(bytes, '\0');
  start.resize(std::fread(start.data(), 1, bytes, file.get()));
  return start;
}

// The field of a line whose fields stand between single blanks, or an empty text.
std::string_view Field(std::string_view line, std::size_t index) {
  for (; index > 0; --index) {
    const auto blank = line.find(' ');
    if (blank == std::string_view::npos) return {};
    line.remove_prefix(blank + 1);
  }
  return line.substr(0, line.find(' '));
}

// A path without blanks stands in the list as it is.
Fact<bool> IsMounted(std::string_view path) {
  constexpr char kMounts[] = "/proc/self/mountinfo";
  const auto mounts = StartOf(kMounts, kMountsBytes);
  if (!mounts) return Unknown<bool>(std::string(kMounts) + ": " + std::strerror(errno));
  std::string_view rest = *mounts;
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    if (Field(line, kMountPointField) == path) return Known(true);
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  }
  return Known(false);
}

Space SpaceOf(const struct statvfs& system) {
  return {.freeBytes = std::uint64_t{system.f_bavail} * system.f_frsize,
          .totalBytes = std::uint64_t{system.f_blocks} * system.f_frsize,
          .freeInodes = system.f_favail,
          .totalInodes = system.f_files};
}

void LookAtMount(const std::string& path, Card* card) {
  std::string reason = kNotMounted;
  if (!card->mounted) reason = card->mounted.reason;
  if (card->mounted && *card->mounted) {
    struct statvfs system {};
    if (statvfs(path.c_str(), &system) == 0) {
      card->readOnly = Known((system.f_flag & ST_RDONLY) != 0);
      card->space = Known(SpaceOf(system));
      return;
    }
    reason = path + ": " + std::strerror(errno);
  }
  card->readOnly = Unknown<bool>(reason);
  card->space = Unknown<Space>(reason);
}

// "PID (NAME) STATE …" of /proc/PID/stat. A name may hold anything, brackets included.
bool IsServiceAlive(std::string_view stat) {
  const auto begin = stat.find('(');
  const auto end = stat.rfind(')');
  if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) return false;
  if (stat.substr(begin + 1, end - begin - 1) != kServiceName) return false;
  const char state = end + 2 < stat.size() ? stat[end + 2] : 'X';
  return state != 'Z' && state != 'X';
}

std::string StatOf(const std::string& process) {
  return StartOf("/proc/" + process + "/stat", kStatBytes).value_or("");
}

// Why the service's reader got nothing.
std::string SegmentTrouble(int id) {
  const void* address = shmat(id, nullptr, 0);
  if (reinterpret_cast<std::intptr_t>(address) != -1) {
    shmdt(address);
    return "the live-value segment is empty, or shorter than its count of records";
  }
  if (errno != EACCES) return std::string("the live-value segment: ") + std::strerror(errno);
  return "no right to attach the live-value segment; sudo brennik-status can";
}

}  // namespace

Card LookAtCard(const Place& place) {
  if (!place.IsLive()) {
    return {Unknown<bool>(kNoCard), Unknown<bool>(kNoCard), Unknown<bool>(kNoCard),
            Unknown<Space>(kNoCard)};
  }
  std::string path = paths::kCardMount;
  path.pop_back();  // its slash
  Card card;
  card.device = Known(util::Exists(paths::kCardDevice));
  card.mounted = IsMounted(path);
  LookAtMount(path, &card);
  return card;
}

Fact<pid_t> FindService(const Place& place) {
  if (!place.IsLive()) return Unknown<pid_t>(kNoProcesses);
  const util::Directory processes(opendir("/proc"));
  if (!processes) return Unknown<pid_t>(std::string("/proc: ") + std::strerror(errno));
  while (const dirent* entry = readdir(processes.get())) {  // of each process, not of each thread
    if (entry->d_name[0] < '1' || entry->d_name[0] > '9') continue;
    if (IsServiceAlive(StatOf(entry->d_name))) {
      return Known(pid_t{util::Decimal(entry->d_name)});
    }
  }
  // There is always a first process. Who cannot see it sees only his own.
  if (StatOf("1").empty()) {
    return Unknown<pid_t>("no right to see other users' processes; sudo brennik-status can");
  }
  return Known(pid_t{0});
}

Segment LookAtSegment(const Place& place) {
  using Values = std::map<std::uint32_t, double>;
  if (!place.IsLive()) return {Unknown<bool>(kNoSegment), Unknown<Values>(kNoSegment)};
  const int id = shmget(kLiveValueKey, 0, 0);
  if (id == -1 && errno != ENOENT) {
    const std::string reason = std::string("the live-value segment: ") + std::strerror(errno);
    return {Unknown<bool>(reason), Unknown<Values>(reason)};
  }
  if (id == -1) return {Known(false), Unknown<Values>("there is no live-value segment")};
  Values values;
  if (GetCRealDataInstance().GetRealData(&values) == 0) {
    return {Known(true), Known(std::move(values))};
  }
  return {Known(true), Unknown<Values>(SegmentTrouble(id))};
}

}  // namespace status
