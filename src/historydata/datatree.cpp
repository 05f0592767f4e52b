#include "historydata/datatree.h"

#include "util/directory.h"
#include "util/paths.h"

namespace {

constexpr int kDaysOfMonth = 31;
constexpr std::size_t kPathLimit = util::kPathBytes - 1;

}  // namespace

std::string DayDirectory(std::string_view root, int day) {
  return std::string(root) + "/" + std::to_string(day);
}

int MakeDirectories(const char* path) {
  return util::MakeDirectories(path, kPathLimit, kPathLimit);
}

void MakeDayDirectories() {
  for (int day = 1; day <= kDaysOfMonth; ++day) {
    MakeDirectories(DayDirectory(paths::kRealData, day).c_str());
    MakeDirectories(DayDirectory(paths::kAlarmData, day).c_str());
  }
}
