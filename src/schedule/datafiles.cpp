#include "schedule/datafiles.h"

#include "util/text.h"

namespace {

constexpr std::size_t kDirectoryBytes = 256;

}  // namespace

std::string DayDirectory(const char* root, int day) {
  char directory[kDirectoryBytes];
  util::PrintText(directory, sizeof(directory), "%s/%d", root, day);
  return directory;
}

std::vector<History_Data_Para> PendingRows(std::int32_t fileType, const char* folder, int day,
                                           const std::vector<std::string>& files) {
  std::vector<History_Data_Para> rows;
  rows.reserve(files.size());
  for (const auto& file : files) {
    History_Data_Para& row = rows.emplace_back();
    row.filetype = fileType;
    const std::string name(util::BaseName(file));
    util::PrintText(row.filename, sizeof(row.filename), "%s/%d/%s", folder, day, name.c_str());
  }
  return rows;
}
