#include "main/filename.h"

#include <string_view>

#include "collect/ledger.h"
#include "historydata/datatree.h"
#include "util/directory.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

namespace status {
namespace {

constexpr std::string_view kArchiveEnd = ".tar.gz";
constexpr std::string_view kTextEnd = ".dat";

std::string WithoutEnd(std::string name) {
  for (const std::string_view end : {kArchiveEnd, kTextEnd}) {
    if (name.ends_with(end)) return name.substr(0, name.size() - end.size());
  }
  return name;
}

}  // namespace

// Any other stem could be a part of many records.
std::string DataFileName::InRecords() const {
  constexpr std::size_t kStemLength = 15;
  if (stem.size() == kStemLength && StampOf(base)) return stem;
  return stem.empty() ? "" : base;
}

const char* DataFileName::Kind() const {
  switch (stem.empty() ? '\0' : stem.front()) {
    case 'S':
      return "live values";
    case 'T':
      return "alarms";
    case 'R':
      return "recalled history";
    default:
      return "unknown";
  }
}

std::string DataFileName::Archive(const std::string& ledgerName) const {
  if (!ledgerName.empty()) return std::string(paths::kDataFiles) + "/" + ledgerName;
  if (IsRecall()) return std::string(paths::kCallData) + "/" + base;
  const char* root = stem.starts_with('T') ? paths::kAlarmData : paths::kRealData;
  const std::optional<std::time_t> stamp = StampOf(base);
  const std::tm day = util::LocalTime(stamp.value_or(0)).value_or(std::tm{});
  return DayDirectory(root, day.tm_mday) + "/" + base;
}

DataFileName ReadDataFileName(const std::string& name) {
  DataFileName file;
  file.stem = WithoutEnd(std::string(util::BaseName(name)));
  file.base = file.stem + std::string(kArchiveEnd);
  const bool isPath = name.find('/') != std::string::npos && name.ends_with(kArchiveEnd);
  if (isPath && util::IsRegularFile(name.c_str())) file.path = name;
  return file;
}

}  // namespace status
