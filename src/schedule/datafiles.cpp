#include "schedule/datafiles.h"

#include "historydata/datatree.h"
#include "historydata/historydata.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

std::string DirectoryOf(const char* root, std::time_t when) {
  return DayDirectory(root, util::LocalTime(when).value_or(std::tm{}).tm_mday);
}

void RecordPackedFiles(std::int32_t fileType, const std::vector<std::string>& files) {
  std::vector<History_Data_Para> rows;
  rows.reserve(files.size());
  for (const auto& file : files) {
    History_Data_Para& row = rows.emplace_back();
    row.filetype = fileType;
    // sizeof counts the terminator, which stands for the slash.
    util::CopyText(row.filename, file.substr(sizeof(paths::kDataFiles)));
  }
  GetCHistoryDataInstance().SaveHistoryData(&rows);
}
