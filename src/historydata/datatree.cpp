#include "historydata/datatree.h"

#include "util/directory.h"
#include "util/paths.h"

namespace {

constexpr int kDaysOfMonth = 31;

void MakeDayDirectory(std::string_view root, int day) {
  constexpr std::size_t kPathLimit = util::kPathBytes - 1;
  util::MakeDirectories(DayDirectory(root, day).c_str(), kPathLimit, kPathLimit);
}

}  // namespace

std::string DayDirectory(std::string_view root, int day) {
  return std::string(root) + "/" + std::to_string(day);
}

void MakeDayDirectories() {
  for (int day = 1; day <= kDaysOfMonth; ++day) {
    MakeDayDirectory(paths::kRealData, day);
    MakeDayDirectory(paths::kAlarmData, day);
  }
}
